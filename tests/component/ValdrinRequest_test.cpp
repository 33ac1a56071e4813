#include "component/ValdrinRequest.h"

#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <string>

// Texts, and how they stand in an envelope.
static const struct
{
    const char *text;
    const char *encoded;
} theCases[] = {
    {"",                 "<![CDATA[]]>"                                 },
    {"echo hi",          "<![CDATA[echo hi]]>"                          },
    {"<&>\"'\n\r\t",     "<![CDATA[<&>\"'\n\r\t]]>"                     },
    {"\x01\x7f\x80\xff", "<![CDATA[\x01\x7f\x80\xff]]>"                 },
    {"]]>",              "<![CDATA[]]]]><![CDATA[>]]>"                  },
    {"a]]>b]]>c",        "<![CDATA[a]]]]><![CDATA[>b]]]]><![CDATA[>c]]>"},
    {"]]>]]>",           "<![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>]]>"   },
    {"]]]>>",            "<![CDATA[]]]]]><![CDATA[>>]]>"                },
    {"x]",               "<![CDATA[x]]]>"                               },
    {"x]]",              "<![CDATA[x]]]]>"                              },
    {"] ]> ]]",          "<![CDATA[] ]> ]]]]>"                          },
    {"<![CDATA[x]]>",    "<![CDATA[<![CDATA[x]]]]><![CDATA[>]]>"        },
};

TEST(ValdrinRequest, EncodingSplitsOnlyTheEndMarks)
{
    UT_WorkBuffer out;
    out.strcat("what was there before");
    for (const auto &row : theCases)
    {
        encodeAsCData(row.text, out);
        EXPECT_EQ(row.encoded, std::string(out.buffer(), size_t(out.length())))
            << row.text;
    }
}

TEST(ValdrinRequest, TheEnvelopeIsOneElement)
{
    UT_WorkBuffer out;
    out.strcat("what was there before");
    for (const auto &row : theCases)
    {
        buildXML(row.text, "some_tag", out);
        EXPECT_EQ(
            "<?xml version=\"1.0\"?>\n<some_tag>" + std::string(row.encoded) +
                "</some_tag>\n",
            std::string(out.buffer(), size_t(out.length())))
            << row.text;
    }
}

// What a parser makes of the sections is what was put in: all texts of up to
// seven of the bytes that matter.
TEST(ValdrinRequest, ParsersGetTheTextBack)
{
    const std::string open = "<![CDATA[";
    UT_WorkBuffer out;
    for (unsigned number = 0; number < 4 * 4 * 4 * 4 * 4 * 4 * 4; ++number)
    {
        std::string text; // the digit 0 stands for no byte
        for (unsigned rest = number; rest; rest /= 4)
            if (rest % 4)
                text += " ]>x"[rest % 4];
        encodeAsCData(text.c_str(), out);
        std::string parsed;
        std::string left = out.buffer();
        while (!left.empty())
        {
            ASSERT_EQ(0U, left.find(open)) << text;
            const size_t close = left.find("]]>", open.size());
            ASSERT_NE(std::string::npos, close) << text;
            parsed.append(left, open.size(), close - open.size());
            left.erase(0, close + 3);
        }
        ASSERT_EQ(text, parsed);
    }
}

TEST(ValdrinRequest, LargeTextsGrowTheEnvelope)
{
    const std::string quiet(5 << 20, 'q');
    std::string splits;
    std::string encoded;
    for (int i = 0; i < 100000; ++i)
    {
        splits += "]]>";
        encoded += "]]]]><![CDATA[>";
    }
    UT_WorkBuffer out;
    buildXML(quiet.c_str(), "t", out);
    EXPECT_TRUE(
        "<?xml version=\"1.0\"?>\n<t><![CDATA[" + quiet + "]]></t>\n" ==
        out.buffer());
    buildXML(splits.c_str(), "t", out);
    EXPECT_TRUE(
        "<?xml version=\"1.0\"?>\n<t><![CDATA[" + encoded + "]]></t>\n" ==
        out.buffer());
}
