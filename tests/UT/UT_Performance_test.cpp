#include "UT/UT_Performance.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

static std::string
utReport(const UT_Performance &monitor)
{
    UT_WorkBuffer out;
    monitor.report(out);
    return out.buffer();
}

// A line for each event: its name with the indent, and its count.
static std::vector<std::string>
utCounts(const UT_Performance &monitor)
{
    std::vector<std::string> counts;
    std::istringstream in(utReport(monitor));
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line))
    {
        const size_t end = line.find_first_of(' ', line.find_first_not_of(' '));
        counts.push_back(
            line.substr(0, end) + ' ' + std::to_string(atoi(&line[end])));
    }
    return counts;
}

using ut_Counts = std::vector<std::string>;

TEST(UT_Performance, ReportsShareTheTimeOfTheOutermost)
{
    ASSERT_EQ(nullptr, UT_Performance::getMonitor());
    UT_Performance &monitor = UT_Performance::makeMonitor();
    EXPECT_EQ(&monitor, UT_Performance::getMonitor());
    EXPECT_EQ(&monitor, &UT_Performance::makeMonitor());
    monitor.logMessage("too early", 1, 1.0, 0);
    monitor.setRecording(true);
    monitor.logMessage("load", 4, 0.5, 0);
    monitor.logMessage("draw", 1, 1.25, 1);
    monitor.logMessage("load", 1, 0.25, 0);
    monitor.logMessage("Error: twice\nand more", 2, -1.0, 0);
    monitor.logMessage(nullptr, 2, -1.0, 0);
    EXPECT_EQ(
        "Event                                        Count      Total s"
        "      Mean ms   Share\n"
        "load                                             5     0.750000"
        "   150.000000   37.5%\n"
        "draw                                             1     1.250000"
        "  1250.000000   62.5%\n"
        "Error: twice                                     2            -"
        "            -       -\n",
        utReport(monitor));
    monitor.clear();
    EXPECT_EQ(ut_Counts(), utCounts(monitor));
}

TEST(UT_Performance, EventsNestAndEndOnce)
{
    UT_PerformanceEvent tooEarly("too early");
    UT_Performance &monitor = UT_Performance::makeMonitor();
    monitor.setRecording(true);
    const unsigned cook = monitor.startEvent("cook");
    for (int i = 0; i < 3; ++i)
    {
        UT_PerformanceEvent load("load");
        UT_PerformanceEvent parse("parse");
        monitor.logMessage("inside", 1, -1.0, 1);
        monitor.logMessage("outside", 1, -1.0, 0);
    }
    const unsigned left = monitor.startEvent("left");
    monitor.endEvent(cook); // and what is left open in it
    monitor.endEvent(left);
    monitor.endEvent(cook);
    monitor.endEvent(0);
    // Other threads pass unnoticed.
    std::thread([&] { EXPECT_EQ(0u, monitor.startEvent("elsewhere")); }).join();
    const ut_Counts expected = {"cook 1",         "  load 3", "    parse 3",
                                "      inside 3", "  left 1", "outside 3"};
    EXPECT_EQ(expected, utCounts(monitor));

    // Switched off, nothing is open; and there are so many at most.
    monitor.clear();
    unsigned first = monitor.startEvent("deep");
    while (monitor.startEvent("deep"))
        ;
    monitor.setRecording(false);
    EXPECT_EQ(0u, monitor.startEvent("off"));
    monitor.setRecording(true);
    monitor.endEvent(first);
    EXPECT_EQ(200u, utCounts(monitor).size());
}

TEST(UT_Performance, FramesHaveNoGapBetweenThem)
{
    UT_Performance &monitor = UT_Performance::makeMonitor();
    monitor.markFrame();
    monitor.setRecording(true);
    monitor.markFrame();
    EXPECT_EQ(std::string::npos, utReport(monitor).find("frames"));
    for (int i = 0; i < 3; ++i)
        monitor.markFrame();
    const std::string report = utReport(monitor);
    double total, mean, quickest, slowest;
    ASSERT_EQ(
        4, sscanf(
               strchr(report.c_str(), '\n'),
               "\n3 frames in %lf s: %lf ms each (%lf to %lf)", &total, &mean,
               &quickest, &slowest));
    EXPECT_LE(quickest, mean);
    EXPECT_LE(mean, slowest);
}
