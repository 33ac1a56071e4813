#include "UT_SysResource.h"

#include "UT_CancelImpl.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

UT_SysResource::UT_SysResource()
    : myMemoryTotal(0), myMemoryFree(0), mySwapTotal(0), mySwapFree(0),
      mySystemDescription(""), myIdleFraction(1)
{
}

// In thousandths. Deliberate: rounding starts at a 21st, not at a half.
static int
utShare(int64 part, int64 total)
{
    return int((part * 1000 + total / 21) / total);
}

void
UT_SysResource::percentages(
    int count, int *shares, const uint32 *now, uint32 *old, uint32 *differences)
{
    int64 total = 0;
    for (int i = 0; i < count; ++i)
    {
        differences[i] = now[i] - old[i];
        old[i] = now[i];
        total += int32(differences[i]);
    }
    if (total == 0)
        total = 1;
    for (int i = 0; i < count; ++i)
        shares[i] = utShare(int32(differences[i]), total);
}

void
UT_SysResource::percentages(
    int count, int *shares, const uint64 *now, uint64 *old, uint64 *differences)
{
    uint64 largest = 0;
    for (int i = 0; i < count; ++i)
    {
        differences[i] = now[i] > old[i] ? now[i] - old[i] : 0;
        old[i] = now[i];
        largest = std::max(largest, differences[i]);
    }
    // What is too large to be multiplied has digits to spare.
    int shift = 0;
    while (largest >> shift > 0xFFFFFFFF)
        ++shift;
    int64 total = 0;
    for (int i = 0; i < count; ++i)
        total += int64(differences[i] >> shift);
    total = std::max(total, int64(1));
    for (int i = 0; i < count; ++i)
        shares[i] = utShare(int64(differences[i] >> shift), total);
}

// Reads the start of a file, at most 4096 bytes of it, into `text`, as a text;
// "" when there is nothing to read.
static void
utReadStart(const char *path, char (&text)[4097])
{
    const ut_CancelGuard guard;
    size_t length = 0;
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file >= 0)
    {
        while (length < sizeof(text) - 1)
        {
            const ssize_t got =
                read(file, text + length, sizeof(text) - 1 - length);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            length += size_t(got);
        }
        close(file);
    }
    text[length] = '\0';
}

static bool
utHasProc()
{
    struct statfs64 system;
    return statfs64("/proc", &system) == 0 &&
           static_cast<long>(system.f_type) == PROC_SUPER_MAGIC;
}

void
UT_SysResource::update(bool memoryOnly)
{
    mySystemDescription = "Linux (little endian)";
    static const bool theHasProc = utHasProc();
    if (!theHasProc)
        return;

    char text[4097];
    utReadStart("/proc/stat", text);
    char *next = text;
    while (*next && !isspace(uint8(*next)))
        ++next;
    // User, nice, system and idle.
    static uint64 theOldTimes[4];
    static uint64 theDifferences[4];
    uint64 times[4];
    int shares[4];
    for (uint64 &time : times)
        time = strtoull(next, &next, 0);
    percentages(4, shares, times, theOldTimes, theDifferences);
    if (!memoryOnly)
        myIdleFraction = float(shares[3]) * 0.001f;

    const struct
    {
        const char *label;
        uint32 &value;
    } rows[] = {
        {"MemTotal:",  myMemoryTotal},
        {"MemFree:",   myMemoryFree },
        {"SwapTotal:", mySwapTotal  },
        {"SwapFree:",  mySwapFree   },
    };
    utReadStart("/proc/meminfo", text);
    for (const char *line = text; *line;)
    {
        for (const auto &row : rows)
        {
            const size_t length = strlen(row.label);
            if (strncmp(line, row.label, length) == 0)
                row.value = uint32(std::min<unsigned long>(
                    strtoul(line + length, nullptr, 0), UINT32_MAX));
        }
        line += strcspn(line, "\n");
        line += *line == '\n';
    }
}
