#include "UT_Console.h"

#include "UT_EnvControl.h"

bool UT_Console::theConsoleInitialized = false;
bool UT_Console::theHasTextConsole = false;

void
UT_Console::initConsole()
{
    if (theConsoleInitialized)
        return;
    UT_EnvControl::getControl();
    theConsoleInitialized = true;
}

void
UT_Console::terminateConsole()
{
    theConsoleInitialized = false;
}
