#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <string>

TEST(UT_StringModify, ModifiersEditPathsAndWords)
{
    static const struct
    {
        const char *text;
        const char *modifiers;
        int length; // of those that a variable may have
        bool result;
        const char *edited;
    } theCases[] = {
        {"/a/b/c.d",    ":h",             2,  true,  "/a/b"  },
        {"/a/b/c.d",    ":e.x",           2,  true,  "d"     },
        {"/a/b/c.d",    ":t:r:zh",        7,  false, "c"     },
        {"/a.b/c",      ":e",             2,  true,  "/a.b/c"},
        {" a/b\r\n c ", ":gt",            3,  true,  "b c "  },
        {"aaa",         ":as/aa/b",       8,  true,  "ba"    },
        {"aaa",         ":s/a/s/b/c/d/e", 12, true,  "saa"   },
        {"aaa",         ":s//x/:sa:s/a",  13, false, "aaa"   },
        {"Ab\xE9",      ":u",             2,  true,  "AB\xE9"},
        {"AB",          ":au",            3,  true,  "AB"    },
        {"",            ":e",             2,  false, ""      },
    };
    for (const auto &row : theCases)
    {
        const std::string lent = row.text + std::string(row.modifiers);
        SCOPED_TRACE(lent);
        UT_String string(lent.c_str());
        UT_String modifiers(string);
        string.extractModifiers(modifiers);
        EXPECT_STREQ(row.modifiers, modifiers);
        EXPECT_EQ(row.length, UT_String::findModifiers(modifiers));
        EXPECT_EQ(row.result, string.applyModifiers(modifiers));
        EXPECT_STREQ(row.edited, string);
    }
}
