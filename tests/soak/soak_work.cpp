// What scripts/soak has processes do very often:
//
//     soak_work jobs | log
//
// Reads orders, lines of a seed and a count, and answers each with a line:
// "done", or what went wrong.

#include "UT/UT_ErrorLog.h"
#include "UT/UT_Thread.h"
#include "UT/UT_ThreadSet.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <random>
#include <string>
#include <thread>

#include <malloc.h>
#include <pthread.h>

using std::to_string;

static const std::string theSuccess = "done";

// ---- Jobs

// What became of jobs.
static std::atomic<int> theBegun;
static std::atomic<int> theFinished;
static std::atomic<int> theCutShort;

// Counts one job, also when its worker is killed.
static void *
utCountedJob(void *)
{
    struct ut_Count
    {
        ~ut_Count() { ++(isFinished ? theFinished : theCutShort); }
        bool isFinished = false;
    } job;
    ++theBegun;
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
    theBegun = theFinished = theCutShort = 0;
    int kills = 0;
    for (int given = 0; given < count;)
    {
        UT_ThreadFarm farm(4);
        for (const int end = std::min(count, given + 1000); given < end;
             ++given)
        {
            UT_Thread *const worker = farm.nextThread(nullptr, /*block=*/1);
            if (!worker->startThread(utCountedJob, nullptr))
                return "a job has not started";
            if (random() % 50)
                continue;
            worker->killThread();
            ++kills;
        }
    }
    if (theBegun != theFinished + theCutShort)
        return "a job is neither finished nor cut short";
    if (count - theFinished > kills)
        return to_string(count - theFinished) + " jobs lost by " +
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

int
main(int argc, char **argv)
{
    const bool isLog = argc > 1 && argv[1] == std::string("log");
    unsigned seed = 0;
    int count = 0;
    while (std::cin >> seed >> count)
    {
        const std::string answer = (isLog ? utLog : utRunJobs)(seed, count);
        malloc_trim(0); // what is left is in use
        std::cout << answer << std::endl;
    }
}
