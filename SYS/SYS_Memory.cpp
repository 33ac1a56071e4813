#include "SYS_Memory.h"

#include "SYS_MemoryImpl.h"
#include "SYS_Types.h"

#include "UT/UT_CancelImpl.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

static void
printFraction(char *buffer, float value, const char *unit, int width)
{
    const double wide = double(value);
    if (width < 1)
        sprintf(buffer, "%.2f %s", wide, unit);
    else
        sprintf(buffer, "%*.2f %s", width, wide, unit);
}

void
SYSprintMemory(char *buffer, long long bytes, int width)
{
    const float value = float(bytes);
    // Deliberate: any negative count looks like this.
    if (bytes < 0)
        printFraction(buffer, -0.01f, "B ", width);
    else if (bytes >= 1LL << 30)
        printFraction(buffer, value * 0x1p-30f, "GB", width);
    else if (bytes >= 1LL << 20)
        printFraction(buffer, value * 0x1p-20f, "MB", width);
    else
        printFraction(buffer, value * 0x1p-10f, "KB", width);
}

// The bytes in a line like "VmData:\t    1234 kB"; false for others.
static bool
utReadsVmData(const char *line, unsigned &bytes)
{
    static const char theLabel[] = "VmData:";
    if (strncmp(line, theLabel, sizeof(theLabel) - 1) != 0)
        return false;
    const char *const number = line + sizeof(theLabel) - 1;
    char *end;
    const unsigned long kilobytes = strtoul(number, &end, 0);
    if (end == number || strncmp(end, " kB", 3) != 0)
        return false;
    bytes = static_cast<unsigned>(kilobytes * 1024);
    return true;
}

unsigned
getProcMemUsage()
{
    char text[256];
    snprintf(text, sizeof(text), "/proc/%d/status", int(getpid()));
    bool found = false;
    unsigned bytes = 0;
    const ut_CancelGuard guard;
    if (FILE *file = fopen(text, "re"))
    {
        // A long line comes in several pieces.
        bool isLineStart = true;
        while (!found && fgets(text, sizeof(text), file))
        {
            found = isLineStart && utReadsVmData(text, bytes);
            isLineStart = strchr(text, '\n');
        }
        fclose(file);
    }
    if (found)
        return bytes;
    const ut_HeapInfo heap = utHeapInfo();
    return static_cast<unsigned>(heap.uordblks + heap.usmblks);
}

long long
intToBigMem(int size)
{
    return size;
}

long long
intToBigMem(unsigned size)
{
    return size;
}
