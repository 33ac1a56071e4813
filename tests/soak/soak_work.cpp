// What scripts/soak has processes do very often: it reads orders, lines of a
// seed and a count, writes that many lines to the log, and answers "done".

#include "UT/UT_ErrorLog.h"

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include <malloc.h>

using std::to_string;

// Adds `count` lines, which all differ, to the log that the environment names.
// Before the last one the log may forget the others.
static void
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
}

int
main()
{
    unsigned seed = 0;
    int count = 0;
    while (std::cin >> seed >> count)
    {
        utLog(seed, count);
        malloc_trim(0); // what is left is in use
        std::cout << "done" << std::endl;
    }
}
