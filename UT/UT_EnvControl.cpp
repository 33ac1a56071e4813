#include "UT_EnvControl.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

static const struct
{
    UT_IntControl id;
    const char *name;
    int32 defaultValue;
    int32 minimum;
    int32 maximum;
    const char *formerName;
} theIntLookups[] = {
    {UT_VALDRIN_MAXTHREADS, "VALDRIN_MAXTHREADS", -1, -1, 100, nullptr},
    {UT_INT_CONTROL_COUNT,  nullptr,              0,  0,  0,   nullptr},
};

std::atomic<UT_EnvControl *> UT_EnvControl::theControl(nullptr);

UT_EnvControl &
UT_EnvControl::getControl()
{
    UT_EnvControl *control = theControl.load(std::memory_order_acquire);
    if (control)
        return *control;
    // The first to be ready stays; another thread may have come first.
    UT_EnvControl *created = new UT_EnvControl;
    if (theControl.compare_exchange_strong(control, created))
        return *created;
    delete created;
    return *control;
}

UT_EnvControl::UT_EnvControl()
{
    setDefaults();
    loadEnvironment();
}

void
UT_EnvControl::setDefaults()
{
    std::fill(std::begin(myInts), std::end(myInts), 0);
    for (const auto *row = theIntLookups; row->name; ++row)
        myInts[row->id] = row->defaultValue;
}

void
UT_EnvControl::loadEnvironment()
{
    for (const auto *row = theIntLookups; row->name; ++row)
    {
        const char *value = getenv(row->name);
        if (!value)
            continue;
        const long number = strtol(value, nullptr, 10);
        myInts[row->id] =
            int32(std::clamp<long>(number, row->minimum, row->maximum));
    }
}
