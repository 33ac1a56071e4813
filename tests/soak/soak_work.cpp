// What scripts/soak has processes do very often:
//
//     soak_work jobs | log | settings
//
// Reads orders, lines of a seed and a count, and answers each with a line:
// "done", or what went wrong.

#include "UT/UT_Env.h"
#include "UT/UT_EnvControl.h"
#include "UT/UT_ErrorLog.h"
#include "UT/UT_Thread.h"
#include "UT/UT_ThreadSet.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>

#include <malloc.h>
#include <pthread.h>

using std::to_string;

static const std::string theSuccess = "done";

// ---- Jobs

namespace
{

// What became of jobs.
struct ut_Tally
{
    std::atomic<int> begun{0};
    std::atomic<int> finished{0};
    std::atomic<int> cutShort{0};
};

// Counts one job, also when its worker is killed.
class ut_JobCount
{
public:
    explicit ut_JobCount(ut_Tally &tally) : myTally(tally) { ++myTally.begun; }
    ~ut_JobCount() { ++(isFinished ? myTally.finished : myTally.cutShort); }
    ut_JobCount(const ut_JobCount &) = delete;
    ut_JobCount &operator=(const ut_JobCount &) = delete;

    bool isFinished = false;

private:
    ut_Tally &myTally;
};

} // namespace

static void *
utCountedJob(void *tally)
{
    ut_JobCount job(*static_cast<ut_Tally *>(tally));
    for (int i = 0; i < 100; ++i)
        pthread_testcancel();
    job.isFinished = true;
    return nullptr;
}

// Gives `count` jobs to farms, a new one for each thousand, and kills every
// fiftieth worker right after it got its job.
static std::string
utRunJobs(unsigned seed, int count)
{
    std::mt19937 random(seed);
    ut_Tally tally;
    int kills = 0;
    for (int given = 0; given < count;)
    {
        UT_ThreadFarm farm(4);
        for (const int end = std::min(count, given + 1000); given < end;
             ++given)
        {
            UT_Thread *const worker = farm.nextThread(nullptr, /*block=*/1);
            if (!worker->startThread(utCountedJob, &tally))
                return "a job has not started";
            if (random() % 50)
                continue;
            worker->killThread();
            ++kills;
        }
    }
    if (tally.begun != tally.finished + tally.cutShort)
        return "a job is neither finished nor cut short";
    if (count - tally.finished > kills)
        return to_string(count - tally.finished) + " jobs lost by " +
               to_string(kills) + " kills";
    return theSuccess;
}

// ---- The log

// Adds `count` lines, which all differ, to the log that the environment names.
// Before the last one the log may forget the others.
static std::string
utLog(unsigned seed, int count)
{
    for (int i = 0; i < count; ++i)
    {
        if (i == count - 1)
            std::this_thread::sleep_for(std::chrono::seconds(4));
        const std::string text = to_string(seed) + "." + to_string(i) + " " +
                                 std::string(size_t(i % 50), 'x');
        UT_Error error(
            "Common", UT_CE_FILE_ERROR, text.c_str(), UT_ERROR_ERROR);
        UTgetErrorLog()->logError(&error);
    }
    return theSuccess;
}

// ---- Settings

static void
utSetLines(const std::string &number)
{
    ValdrinSetenv("VALDRIN_CONSOLE_LINES", number.c_str());
    UT_EnvControl::varChanged("VALDRIN_CONSOLE_LINES");
}

// Makes `count` changes, of two settings and a hundred other variables, and
// compares all of these each time with a plain map.
static std::string
utChangeSettings(unsigned seed, int count)
{
    std::mt19937 random(seed);
    std::map<std::string, std::string> expected = {
        {"VRS",                   "first"},
        {"VALDRIN_CONSOLE_LINES", "100"  }
    };
    UT_EnvControl::setStringVar(UT_VRS, "first");
    utSetLines("100");
    for (int i = 0; i < count; ++i)
    {
        const std::string name = "SOAK_" + to_string(random() % 100);
        const std::string text(1 + random() % 200, char('a' + random() % 26));
        const std::string number = to_string(100 + random() % 1000);
        switch (random() % 4)
        {
        case 0:
            UT_EnvControl::setStringVar(UT_VRS, text.c_str());
            expected["VRS"] = text;
            break;
        case 1:
            utSetLines(number);
            expected["VALDRIN_CONSOLE_LINES"] = number;
            break;
        case 2:
            ValdrinSetenv(name.c_str(), text.c_str());
            expected[name] = text;
            break;
        default:
            ValdrinUnsetenv(name.c_str());
            expected.erase(name);
            break;
        }
        for (const auto &[key, value] : expected)
        {
            const char *const found = getenv(key.c_str());
            if (!found || found != value)
                return "wrong value of " + key;
        }
        if (UT_EnvControl::getString(UT_VRS) != expected["VRS"])
            return "wrong text";
        const int lines = UT_EnvControl::getInt(UT_VALDRIN_CONSOLE_LINES);
        if (to_string(lines) != expected["VALDRIN_CONSOLE_LINES"])
            return "wrong number";
    }
    return theSuccess;
}

static const std::map<std::string, std::string (*)(unsigned, int)> theKinds = {
    {"jobs",     utRunJobs       },
    {"log",      utLog           },
    {"settings", utChangeSettings},
};

int
main(int argc, char **argv)
{
    const auto kind = theKinds.find(argc > 1 ? argv[1] : "");
    if (kind == theKinds.end())
        return 2;
    unsigned seed = 0;
    int count = 0;
    while (std::cin >> seed >> count)
    {
        const std::string answer = kind->second(seed, count);
        malloc_trim(0); // what is left is in use
        std::cout << answer << std::endl;
    }
}
