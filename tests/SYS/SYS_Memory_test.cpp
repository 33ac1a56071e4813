#include "SYS/SYS_Memory.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(SYS_Memory, PrintsByteCounts)
{
    static const struct
    {
        long long bytes;
        int width;
        const char *text;
    } theCases[] = {
        {512,                   0, "0.50 KB"         },
        {1048575,               0, "1024.00 KB"      },
        {1048576,               8, "    1.00 MB"     },
        {1073741823,            0, "1024.00 MB"      },
        {-1000000000000,        6, " -0.01 B "       },
        {9223372036854775807LL, 0, "8589934592.00 GB"},
    };
    for (const auto &row : theCases)
    {
        char text[24];
        SYSprintMemory(text, row.bytes, row.width);
        EXPECT_STREQ(row.text, text) << row.bytes << " in " << row.width;
    }
}

TEST(SYS_Memory, ProcessGrowsByWhatItTakes)
{
    const unsigned before = getProcMemUsage();
    const unsigned size = 64 << 20;
    void *volatile block = malloc(size); // which the compiler cannot leave out
    EXPECT_GE(getProcMemUsage() - before, size);
    free(block);
}
