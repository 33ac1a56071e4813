// What faults are injected into: a scenario works like a program that checks
// the results of what it calls.

#pragma once

#include <string>

struct ut_Scenario
{
    const char *name;

    // Returns whether all went well; false when a call has reported that it
    // failed. Throws std::bad_alloc, or calls utWrong().
    bool (*run)();

    // Whether an interrupted or short transfer may be reported as a failure,
    // rather than be continued.
    bool mayGiveUp;

    // Whether each run leaves memory, because the library does when it is
    // unloaded: what is made on first use is never destroyed.
    bool leavesMemory;
};

extern const ut_Scenario theScenarios[];
extern const unsigned theScenarioCount;

// That of texts and arrays, which has a source of its own.
bool utObjects();

// Ends the process: the result is neither right nor a reported failure.
[[noreturn]] void utWrong(const char *what);

inline void
utExpect(bool isRight, const char *what)
{
    if (!isRight)
        utWrong(what);
}

// A server sends the reply to each request. The folder, which ends in a slash,
// is for files.
extern int theServerPort;
extern std::string theReply;
extern std::string theFolder;
