#include "ut_Machine.h"

#include "ut_Features.h"

#include "SYS/SYS_Processor.h"
#include "UT/UT_MachineInfo.h"
#include "host/ut_ComponentHost.h"

#include <cstdio>
#include <cstring>
#include <fstream>

#include <unistd.h>

static const struct
{
    SYS_ProcessorFlag flag;
    const char *name;
} theFlags[] = {
    {SYS_PROCESSOR_MMX,             "MMX"            },
    {SYS_PROCESSOR_INT_SSE,         "integer SSE"    },
    {SYS_PROCESSOR_SSE,             "SSE"            },
    {SYS_PROCESSOR_SSE2,            "SSE2"           },
    {SYS_PROCESSOR_COND_MOVE,       "CMOV"           },
    {SYS_PROCESSOR_FP_COND_MOVE,    "FCMOV"          },
    {SYS_PROCESSOR_HYPER_THREADING, "hyper-threading"},
    {SYS_PROCESSOR_3DNOW,           "3DNow!"         },
};

// The features that the toolkit reports, without those that are disabled.
static std::vector<std::string>
utOlderFeatures(int flags)
{
    std::vector<std::string> names;
    for (const auto &row : theFlags)
        if (flags & row.flag)
            names.push_back(row.name);
    return names;
}

// The names with commas between them, each between `quote`s.
static std::string
utJoined(const std::vector<std::string> &names, const char *quote)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + (quote + name) + quote;
    return text;
}

static std::string
utSize(int64 bytes)
{
    static const char *const theUnits[] = {"KiB", "MiB", "GiB", "TiB"};
    double size = double(bytes) / 1024;
    size_t unit = 0;
    for (; size >= 1024 && unit < 3; ++unit)
        size /= 1024;
    char text[32];
    snprintf(text, sizeof(text), "%.1f %s", size, theUnits[unit]);
    return text;
}

static const char theUnknown[] = "unknown";

static std::string
utFeatureText(const std::vector<std::string> &names)
{
    if (!utKnowsFeatures())
        return theUnknown;
    return names.empty() ? "none" : utJoined(names, "");
}

// What there is of memory or swap.
static std::string
utSizeText(int64 total, int64 unused)
{
    return utSize(total) + ", " + utSize(unused) + " free";
}

static std::string
utForPeople(const UT_MachineInfo &info, bool knowsLoad)
{
    char load[64];
    snprintf(
        load, sizeof(load), "%.0f %% busy",
        100 * (1 - double(info.idleFraction)));
    std::string memory = theUnknown;
    std::string swap = theUnknown;
    if (info.memoryTotal)
    {
        memory = utSizeText(info.memoryTotal, info.memoryFree);
        swap =
            info.swapTotal ? utSizeText(info.swapTotal, info.swapFree) : "none";
    }
    const std::string processors = std::to_string(info.configuredProcessors) +
                                   ", " + std::to_string(info.usedProcessors) +
                                   " to use";
    const std::string program = utSize(info.processData) + " of data, " +
                                utSize(info.heapUsed) + " of " +
                                utSize(info.heapSize) + " of the heap in use";
    const struct
    {
        const char *name;
        std::string text;
    } rows[] = {
        {"System",       info.system + std::string(", ") + info.operatingSystem},
        {"Processors",   processors                                            },
        {"Features",     utFeatureText(utOlderFeatures(info.processorFlags))   },
        {"Newer ones",   utFeatureText(utNewerFeatures())                      },
        {"Load",         knowsLoad ? load : theUnknown                         },
        {"Memory",       memory                                                },
        {"Swap",         swap                                                  },
        {"This program", program                                               },
    };
    std::string text;
    for (const auto &row : rows)
    {
        std::string line = row.name;
        line.resize(14, ' ');
        text += line + row.text + '\n';
    }
    return text;
}

// No text in it needs an escape. What is unknown is null.
static std::string
utForScripts(const UT_MachineInfo &info, bool knowsLoad)
{
    const bool knowsMemory = info.memoryTotal != 0;
    const auto number = [](int64 value) { return std::to_string(value); };
    const auto sizes = [&](int64 total, int64 unused)
    {
        return knowsMemory ? "{\"total\": " + number(total) +
                                 ", \"free\": " + number(unused) + "}"
                           : "null";
    };
    const auto features = [](const std::vector<std::string> &names)
    { return utKnowsFeatures() ? "[" + utJoined(names, "\"") + "]" : "null"; };
    char load[32] = "null";
    if (knowsLoad)
        snprintf(load, sizeof(load), "%.3f", 1 - double(info.idleFraction));
    return std::string("{\n  \"system\": \"") + info.system +
           "\",\n  \"operating_system\": \"" + info.operatingSystem +
           "\",\n  \"processors\": {\"configured\": " +
           number(info.configuredProcessors) +
           ", \"used\": " + number(info.usedProcessors) +
           ", \"features\": " + features(utOlderFeatures(info.processorFlags)) +
           ", \"newer_features\": " + features(utNewerFeatures()) +
           ", \"busy\": " + load +
           "},\n  \"memory\": " + sizes(info.memoryTotal, info.memoryFree) +
           ",\n  \"swap\": " + sizes(info.swapTotal, info.swapFree) +
           ",\n  \"process\": {\"data\": " + number(info.processData) +
           ", \"heap\": " + number(info.heapSize) +
           ", \"heap_used\": " + number(info.heapUsed) + "}\n}\n";
}

// The times of all processors so far, as the system counts them; "" when it
// does not.
static std::string
utProcessorTimes()
{
    std::string line;
    std::ifstream file("/proc/stat");
    std::getline(file, line);
    return line;
}

bool
utDescribeMachine(
    const std::vector<std::string> &libraries, bool asJson, std::string &output,
    std::string &error)
{
    void *const symbol = utFindFunction(libraries, "UTdescribeMachine", error);
    if (!symbol)
        return false;
    decltype(UTdescribeMachine) *describe;
    static_assert(sizeof(describe) == sizeof(symbol));
    memcpy(&describe, &symbol, sizeof(symbol));

    UT_MachineInfo info;
    const std::string before = utProcessorTimes();
    describe(info);
    usleep(200000); // the load is measured between the two calls
    describe(info);
    const bool knowsLoad =
        info.memoryTotal != 0 && utProcessorTimes() != before;
    output =
        asJson ? utForScripts(info, knowsLoad) : utForPeople(info, knowsLoad);
    return true;
}
