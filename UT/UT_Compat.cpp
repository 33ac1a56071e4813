#include "UT_Compat.h"

#include "SYS/SYS_Processor.h"
#include "SYS/SYS_Types.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/sysinfo.h>

int
sysmp(int command, ...)
{
    if (command != 0)
        return 0;
    int count = get_nprocs_conf();
    if (count == 0)
        count = parse_cpuinfo_for_nprocs();
    return count ? count : 1;
}

int
sproc(void (*)(void *), unsigned, void *)
{
    return 0;
}

int
usconfig(int, int)
{
    return 0;
}

int
msgctl(int id, int command)
{
    msqid_ds scratch = {};
    return ::msgctl(id, command, &scratch);
}

int
gettimeofday(timeval *tv)
{
    struct timezone scratch;
    return ::gettimeofday(tv, &scratch);
}

char *
cftime(char *buf, char *, long *clock)
{
    // A long and a time_t may differ in width.
    const time_t seconds = *clock;
    tm parts;
    char text[26]; // as asctime_r() requires
    buf[0] = '\0';
    tzset();
    if (!localtime_r(&seconds, &parts) || parts.tm_year > INT_MAX - 1900)
        return buf;
    // asctime_r() has room for a year of four digits: it writes what is before.
    const int year = parts.tm_year + 1900;
    parts.tm_year = 0;
    if (asctime_r(&parts, text))
        sprintf(buf, "%.20s%d", text, year);
    return buf;
}

int
fp_class_f(float x)
{
    // By its bits, so that no compiler option about floats can change it.
    uint32 bits;
    static_assert(sizeof(bits) == sizeof(x));
    memcpy(&bits, &x, sizeof(bits));
    const int positive = bits >> 31 ? 0 : 1;
    const uint32 magnitude = bits & 0x7fffffff;
    const uint32 infinity = 0x7f800000;
    if (magnitude > infinity)
        return 0;
    if (magnitude == infinity)
        return 2 + positive;
    if (magnitude == 0)
        return 8 + positive;
    return 4 + positive;
}
