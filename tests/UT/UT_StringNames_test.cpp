#include "UT/UT_String.h"
#include "ut_NumberedOrder.h"

#include <gtest/gtest.h>

static int
utSign(int value)
{
    return (value > 0) - (value < 0);
}

// All texts over the alphabet of up to `length` bytes.
static std::vector<std::string>
utAllTexts(const std::string &alphabet, size_t length)
{
    std::vector<std::string> texts = {""};
    for (size_t i = 0; i < texts.size() && texts[i].size() < length; ++i)
        for (const char byte : alphabet)
            texts.push_back(texts[i] + byte);
    return texts;
}

TEST(UT_StringNames, NumberedOrdersAreThoseOfTheParts)
{
    const auto texts = utAllTexts("01.a\xE9", 4);
    std::vector<std::vector<int>> keys;
    std::vector<std::vector<int>> fileKeys;
    for (const std::string &text : texts)
    {
        keys.push_back(utNumberedKey(text));
        fileKeys.push_back(utNumberedKey(text, /*dot=*/-1000));
    }
    for (size_t i = 0; i < texts.size(); ++i)
        for (size_t j = 0; j < texts.size(); ++j)
        {
            const char *const a = texts[i].c_str();
            const char *const b = texts[j].c_str();
            ASSERT_EQ(
                (keys[i] > keys[j]) - (keys[i] < keys[j]),
                utSign(UT_String::compareNumberedString(a, b)))
                << a << " and " << b;
            ASSERT_EQ(
                (fileKeys[i] > fileKeys[j]) - (fileKeys[i] < fileKeys[j]),
                utSign(UT_String::qsortCmpNumberedFilename(&a, &b)))
                << a << " and " << b;
        }
}

TEST(UT_StringNames, NumberedComparisonsGiveDifferences)
{
    static const struct
    {
        const char *a;
        const char *b;
        int result;
    } theCases[] = {
        {"a2",                   "a10",                  -8        },
        {"frame0010",            "frame9",               1         },
        {"a01b2",                "a1b10",                -8        },
        {"2147483647",           "000",                  2147483647},
        {"2147483648",           "2147483647",           1         },
        {"4294967296",           "0",                    1         },
        {"0",                    "18446744073709551616", -1        },
        {"90000000000000000001", "90000000000000000002", -1        },
        {"0-99",                 "00-98",                1         },
        {"b",                    "a9",                   1         },
        {"a\xE9",                "a",                    -0x17     }, // signed
        {nullptr,                "",                     -1        },
        {nullptr,                nullptr,                0         },
    };
    for (const auto &row : theCases)
    {
        EXPECT_EQ(row.result, UT_String::compareNumberedString(row.a, row.b));
        EXPECT_EQ(
            -row.result, UT_String::qsortCmpNumberedString(&row.b, &row.a));
    }
}
