#include "ut_Features.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>

namespace
{

enum class ut_Register
{
    EAX,
    EBX,
    ECX,
    EDX
};

// What the system must save for a feature: bits of the register XCR0.
enum ut_State : unsigned
{
    NO_STATE = 0,
    AVX_STATE = 0x06,
    AVX512_STATE = 0xe6
};

struct ut_Feature
{
    const char *name;
    unsigned leaf;
    unsigned subleaf;
    ut_Register place;
    int bit;
    ut_State state;
};

} // namespace

static const ut_Feature theFeatures[] = {
    {"SSE3",        1,          0, ut_Register::ECX, 0,  NO_STATE    },
    {"SSSE3",       1,          0, ut_Register::ECX, 9,  NO_STATE    },
    {"SSE4.1",      1,          0, ut_Register::ECX, 19, NO_STATE    },
    {"SSE4.2",      1,          0, ut_Register::ECX, 20, NO_STATE    },
    {"POPCNT",      1,          0, ut_Register::ECX, 23, NO_STATE    },
    {"LZCNT",       0x80000001, 0, ut_Register::ECX, 5,  NO_STATE    },
    {"AES",         1,          0, ut_Register::ECX, 25, NO_STATE    },
    {"PCLMULQDQ",   1,          0, ut_Register::ECX, 1,  NO_STATE    },
    {"AVX",         1,          0, ut_Register::ECX, 28, AVX_STATE   },
    {"F16C",        1,          0, ut_Register::ECX, 29, AVX_STATE   },
    {"FMA",         1,          0, ut_Register::ECX, 12, AVX_STATE   },
    {"BMI1",        7,          0, ut_Register::EBX, 3,  NO_STATE    },
    {"BMI2",        7,          0, ut_Register::EBX, 8,  NO_STATE    },
    {"AVX2",        7,          0, ut_Register::EBX, 5,  AVX_STATE   },
    {"SHA",         7,          0, ut_Register::EBX, 29, NO_STATE    },
    {"AVX-512F",    7,          0, ut_Register::EBX, 16, AVX512_STATE},
    {"AVX-512DQ",   7,          0, ut_Register::EBX, 17, AVX512_STATE},
    {"AVX-512CD",   7,          0, ut_Register::EBX, 28, AVX512_STATE},
    {"AVX-512BW",   7,          0, ut_Register::EBX, 30, AVX512_STATE},
    {"AVX-512VL",   7,          0, ut_Register::EBX, 31, AVX512_STATE},
    {"AVX-512VNNI", 7,          0, ut_Register::ECX, 11, AVX512_STATE},
    {"AVX-512BF16", 7,          1, ut_Register::EAX, 5,  AVX512_STATE},
    {"AVX-512FP16", 7,          0, ut_Register::EDX, 23, AVX512_STATE},
    {"VAES",        7,          0, ut_Register::ECX, 9,  AVX_STATE   },
    {"GFNI",        7,          0, ut_Register::ECX, 8,  NO_STATE    },
    {"AVX-VNNI",    7,          1, ut_Register::EAX, 4,  AVX_STATE   },
};

static bool
utHasBit(unsigned leaf, unsigned subleaf, ut_Register place, int bit)
{
    unsigned values[4] = {};
    if (!__get_cpuid_count(
            leaf, subleaf, &values[0], &values[1], &values[2], &values[3]))
        return false;
    return values[int(place)] >> bit & 1;
}

// The states that the system saves, as in XCR0.
static unsigned
utSavedStates()
{
    static const int theOsxsaveBit = 27;
    if (!utHasBit(1, 0, ut_Register::ECX, theOsxsaveBit))
        return 0;
    unsigned low = 0;
    unsigned high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

bool
utKnowsFeatures()
{
    return true;
}

std::vector<std::string>
utNewerFeatures()
{
    const unsigned saved = utSavedStates();
    std::vector<std::string> names;
    for (const ut_Feature &row : theFeatures)
        if ((saved & row.state) == row.state &&
            utHasBit(row.leaf, row.subleaf, row.place, row.bit))
            names.push_back(row.name);
    return names;
}

#else

bool
utKnowsFeatures()
{
    return false;
}

std::vector<std::string>
utNewerFeatures()
{
    return {};
}

#endif
