#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

TEST(UT_WorkBufferWord, TokensEndAtOneSeparator)
{
    static const struct
    {
        const char *text;
        const char *separators;
        std::vector<std::string> tokens;
    } theCases[] = {
        {"a b",     " ",    {"a", "b"} },
        {"  a ,,b", " ,",   {"a", "b"} },
        {"a b ",    "",     {"a b "}   },
        {" ,",      " ,",   {}         },
        {"",        " ",    {}         },
        {"x\xff y", "\xff", {"x", " y"}},
    };
    for (const auto &row : theCases)
    {
        UT_WorkBuffer buffer;
        std::vector<std::string> tokens;
        const char *cursor = row.text;
        while (buffer.getNextToken(cursor, row.separators))
            tokens.push_back(buffer.buffer());
        EXPECT_EQ(row.tokens, tokens) << row.text;
        EXPECT_EQ(row.text + strlen(row.text), cursor);
        // The last one stays.
        tokens.insert(tokens.begin(), "");
        EXPECT_EQ(tokens.back(), buffer.buffer());
        // From the buffer's own text, and in vain from a locked one.
        UT_WorkBuffer own;
        own.append(row.text);
        cursor = own.buffer();
        for (const std::string &token : row.tokens)
        {
            EXPECT_TRUE(own.getNextToken(cursor, row.separators));
            EXPECT_EQ(token, own.buffer());
            EXPECT_EQ(int(token.size()), own.length());
        }
        buffer.lock(0, 0);
        const std::string before = buffer.buffer();
        cursor = row.text;
        EXPECT_EQ(
            !row.tokens.empty(), buffer.getNextToken(cursor, row.separators));
        EXPECT_EQ(before, buffer.buffer());
    }
    // One separator only, so the next text may be anything.
    const char *cursor = "a--b";
    UT_WorkBuffer().getNextToken(cursor, "-");
    EXPECT_STREQ("-b", cursor);
}

TEST(UT_WorkBufferWord, CommentsStartOutsideQuotes)
{
    static const struct
    {
        const char *text;
        int length; // -1 when there is no comment
        char start;
    } theCases[] = {
        {"echo \"a#b\" # c", 11, '#'   },
        {"echo \\# c",       -1, '#'   },
        {"a\\\\# c",         3,  '#'   }, // the backslash is escaped itself
        {"'a\\'#' #",        7,  '#'   },
        {"'a\"#' \"b'#\"#",  11, '#'   },
        {"\"open # x",       -1, '#'   },
        {"#",                0,  '#'   },
        {"a\\",              -1, '#'   },
        {"a\\b#",            3,  '#'   },
        {"a'b",              -1, '\''  },
        {"a\\b",             1,  '\\'  },
        {"abc",              -1, '\0'  },
        {"b\xff",            1,  '\xff'},
    };
    for (const auto &row : theCases)
    {
        UT_WorkBuffer buffer;
        buffer.append(row.text);
        EXPECT_EQ(row.length >= 0, buffer.stripComments(row.start)) << row.text;
        std::string expected = row.text;
        if (row.length >= 0)
            expected.resize(size_t(row.length));
        EXPECT_EQ(expected, buffer.buffer());
        EXPECT_EQ(int(expected.size()), buffer.length()) << row.text;
    }
}

TEST(UT_WorkBufferWord, FirstWordsAreAppendedInSpiteOfALock)
{
    UT_WorkBuffer buffer;
    buffer.append("a\0hidden", 8);
    buffer.strcatFirstWord(" \t\r\v\nb\rc");
    EXPECT_STREQ("ab", buffer.buffer());
    EXPECT_EQ(2, buffer.length());
    buffer.lock(0, 0);
    for (const char *none : {static_cast<const char *>(nullptr), "", " \n"})
        buffer.strcatFirstWord(none);
    std::string expected = "ab";
    while (expected.size() < 4000)
    {
        buffer.strcatFirstWord(buffer.buffer() + 1); // its own tail
        expected += expected.substr(1);
        ASSERT_EQ(expected, buffer.buffer());
    }
    EXPECT_EQ(int(expected.size()), buffer.length());
    EXPECT_EQ(8000, buffer.capacity());
}
