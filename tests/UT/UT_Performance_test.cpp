#include "UT/UT_Performance.h"

#include "UT/UT_ErrorManager.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

TEST(UT_Performance, ReportsEventsByTheirTime)
{
    UT_Performance &monitor = UT_Performance::makeMonitor();
    monitor.setRecordErrors(true);
    UTaddError("early", 1, "");
    monitor.setRecording(true);
    monitor.logMessage("draw\nall", 4, 0.5, 1);
    monitor.logMessage("load", 1, 0.25, 0);
    monitor.logMessage("draw\nall", 1, 0.25, 0);
    UTaddError("type", 1, "");
    UTaddFatal("untold", 1, "");
    UTaddError(new UT_Error("untold", 1, "", UT_ERROR_ERROR));
    UT_WorkBuffer report;
    monitor.report(report);
    EXPECT_STREQ(
        "draw                                             5     0.750000"
        "   150.000000   75.0%\n"
        "load                                             1     0.250000"
        "   250.000000   25.0%\n"
        "type: unknown error: 1                           1            -"
        "            -       -\n",
        strchr(report.buffer(), '\n') + 1);
}

TEST(UT_Performance, ReportsFramesWithTheirEvents)
{
    UT_Performance &monitor = UT_Performance::makeMonitor();
    monitor.setRecording(true);
    const unsigned cook = monitor.startEvent("cook");
    monitor.markFrame();
    monitor.markFrame();
    UT_PerformanceEvent part("part");
    monitor.endEvent(cook); // and what is left open in it
    std::thread([&] { EXPECT_EQ(0u, monitor.startEvent("else")); }).join();
    while (monitor.startEvent("open")) // so many at most
        monitor.logMessage("levels", 1, -1.0, 0);
    monitor.setRecording(false); // ends all
    monitor.setRecording(true);
    monitor.markFrame(); // the first of this recording
    UT_WorkBuffer report;
    monitor.report(report);
    for (const char *line :
         {"\ncook ", "\n  part ", "\nopen ", "\n  open ",
          "\nlevels                                         200 ",
          "\n1 frames in 0."})
        EXPECT_NE(nullptr, strstr(report.buffer(), line)) << line << "in\n"
                                                          << report.buffer();
}
