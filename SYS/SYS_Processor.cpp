#include "SYS_Processor.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

static bool
utStartsWith(const char *line, const char *prefix)
{
    return strncmp(line, prefix, strlen(prefix)) == 0;
}

int
parse_cpuinfo_for_nprocs()
{
    return parse_cpuinfo_for_nprocs("/proc/cpuinfo");
}

int
parse_cpuinfo_for_nprocs(const char *path)
{
    FILE *file = path ? fopen(path, "re") : nullptr;
    if (!file)
        return 0;
    int count = 0;
    char *line = nullptr;
    size_t capacity = 0;
    while (getline(&line, &capacity, file) >= 0)
    {
        if (utStartsWith(line, "CPUs probed"))
        {
            count = int(strtol(strchr(line, 'd') + 1, nullptr, 10));
            break;
        }
        if (utStartsWith(line, "processor"))
            ++count;
    }
    free(line);
    fclose(file);
    return count;
}
