#include "UT/UT_Env.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

using ut_Strings = std::vector<std::string>;

static ut_Strings
utTexts(char **entries)
{
    ut_Strings texts;
    for (; entries && *entries; ++entries)
        texts.push_back(*entries);
    return texts;
}

// The environment under a random script of the toolkit's calls, the C
// library's and writes to the array, beside a map from names to values.
class ut_Script
{
public:
    explicit ut_Script(unsigned seed) : myRandom(seed) { clearenv(); }
    ~ut_Script()
    {
        clearenv();
        freeBuffers();
    }

    void step()
    {
        const std::string name = pickName();
        const std::string value(pick(9) * pick(9), char('a' + pick(26)));
        switch (pick(6))
        {
        case 0:
            ValdrinSetenv(name.c_str(), value.c_str());
            myValues[name] = value;
            break;
        case 1:
            ValdrinPutenv((name + "=" + value).c_str());
            myValues[name] = value;
            break;
        case 2:
            ValdrinUnsetenv(name.c_str());
            myValues.erase(name);
            break;
        case 3: // the value of a variable, perhaps its own
            if (const char *other = ValdrinGetenv(pickName().c_str()))
            {
                myValues[name] = other;
                ValdrinSetenv(name.c_str(), other);
            }
            break;
        default:
            meddle(name, value);
            freeBuffers();
            readValues();
        }
    }

    void check()
    {
        for (const std::string &name : names())
        {
            const auto found = myValues.find(name);
            const char *value =
                found == myValues.end() ? nullptr : found->second.c_str();
            EXPECT_STREQ(value, ValdrinGetenv(name.c_str())) << name;
            EXPECT_STREQ(value, getenv(name.c_str())) << name;
        }
        ut_Strings texts;
        for (const auto &variable : myValues)
            texts.push_back(variable.first + "=" + variable.second);
        std::sort(texts.begin(), texts.end());
        EXPECT_EQ(texts, utTexts(ValdrinGetenvlist()));
        EXPECT_EQ(ValdrinGetenvlist(), environ);
    }

    size_t pick(size_t count) { return myRandom() % count; }

private:
    // Neighbours in the order, or such as look it.
    static const ut_Strings &names()
    {
        static const ut_Strings theNames = {
            "A", "A-",      "A1",       "AB",        "A_",         "B",
            "a", "VALDRIN", "VALDRIN_", "VALDRIN_A", "VALDRIN_AB", "VALDRIN_B"};
        return theNames;
    }
    const std::string &pickName() { return names()[pick(names().size())]; }

    // What others do.
    void meddle(const std::string &name, const std::string &value)
    {
        const size_t size = utTexts(environ).size();
        switch (pick(8))
        {
        case 0:
        case 1:
            setenv(name.c_str(), value.c_str(), /*overwrite=*/1);
            break;
        case 2:
        case 3:
            unsetenv(name.c_str());
            break;
        case 4: // the buffer becomes the entry
            myBuffers.push_back(strdup((name + "=" + value).c_str()));
            putenv(myBuffers.back());
            break;
        case 5:
            if (size > 0)
                exchangeEntries(size);
            break;
        case 6: // overwrites a value in its place
            if (char *old = getenv(name.c_str()))
                std::fill(old, old + strlen(old), '=');
            break;
        default: // cuts the array short, seldom
            if (pick(8) == 0)
                clearenv();
            else if (size > 0 && pick(4) == 0)
                environ[pick(size)] = nullptr;
        }
    }

    // Replaces an entry of the table, puts it back, and swaps two others.
    void exchangeEntries(size_t size)
    {
        static char theOther[] = "B0=x";
        char **const table = ValdrinGetenvlist();
        char *const entry = std::exchange(table[pick(size)], theOther);
        ValdrinGetenvlist();
        *std::find(table, table + size, theOther) = entry;
        std::swap(table[pick(size)], table[pick(size)]);
    }

    // The values are what the array says.
    void readValues()
    {
        myValues.clear();
        for (const std::string &entry : utTexts(environ))
        {
            const size_t equals = entry.find('=');
            myValues.emplace(entry.substr(0, equals), entry.substr(equals + 1));
        }
    }

    // A buffer may be freed as soon as it is no longer in the array.
    void freeBuffers()
    {
        char **const end = environ + utTexts(environ).size();
        const auto unused = std::partition(
            myBuffers.begin(), myBuffers.end(),
            [&](char *buffer)
            { return std::find(environ, end, buffer) != end; });
        std::for_each(unused, myBuffers.end(), free);
        myBuffers.erase(unused, myBuffers.end());
    }

    std::mt19937 myRandom;
    std::map<std::string, std::string> myValues;
    std::vector<char *> myBuffers; // given to putenv()
};

TEST(UT_Env, TheTableIsTheEnvironmentWhateverOthersDo)
{
    for (unsigned seed = 0; seed < 40; ++seed)
    {
        ut_Script script(seed);
        for (int step = 0; step < 500; ++step)
        {
            SCOPED_TRACE(
                testing::Message() << "seed " << seed << ", step " << step);
            script.step();
            if (script.pick(3) == 0)
                script.check();
            if (testing::Test::HasFailure())
                return;
        }
    }
}

TEST(UT_Env, ForeignArraysAreSortedAndLoseWhatHasNoValue)
{
    environ = nullptr;
    ValdrinSetenv("A", "/");
    EXPECT_STREQ("/", getenv("A"));

    char second[] = "A=2";
    char noValue[] = "B";
    char first[] = "A=1";
    char *foreign[] = {second, noValue, first, nullptr};
    environ = foreign;
    EXPECT_EQ((ut_Strings{"A=1", "A=2"}), utTexts(ValdrinGetenvlist()));
    // Deliberate: the search looks at the ends first.
    EXPECT_STREQ("1", ValdrinGetenv("A"));
}

TEST(UT_Env, EnvironmentsThatOthersCutShortStayShort)
{
    ValdrinSetenv("A", "");
    clearenv();
    EXPECT_EQ(nullptr, ValdrinGetenv("A"));
    EXPECT_EQ(nullptr, *ValdrinGetenvlist());
    ValdrinUnsetenv("A");

    ValdrinSetenv("A", "");
    environ[1] = environ[0]; // the same entry twice
    ValdrinUnsetenv("A");
    EXPECT_EQ(nullptr, ValdrinGetenv("A"));

    ValdrinSetenv("A", "");
    ValdrinSetenv("B", "");
    environ[0] = nullptr;
    EXPECT_EQ(nullptr, ValdrinGetenv("B"));
}

TEST(UT_Env, NullsAndTextsWithoutAValueAreLeftOut)
{
    clearenv();
    ValdrinPutenv("A=b=c");
    ValdrinPutenv("A");
    ValdrinPutenv(nullptr);
    ValdrinSetenv(nullptr, "x");
    ValdrinSetenv("B", nullptr);
    ValdrinUnsetenv(nullptr);
    EXPECT_EQ(nullptr, ValdrinGetenv(nullptr));
    EXPECT_EQ((ut_Strings{"A=b=c", "B="}), utTexts(ValdrinGetenvlist()));
    EXPECT_STREQ("c", ValdrinGetenv("A=b"));
}

TEST(UT_Env, HighBytesHideNamesFromTheSearch)
{
    clearenv();
    for (const char *name : {"A", "B", "\xc3", "\xc4"})
        ValdrinSetenv(name, "1");
    // The last entry is always looked at.
    EXPECT_STREQ("1", ValdrinGetenv("\xc4"));
    EXPECT_EQ(nullptr, ValdrinGetenv("\xc3"));
    EXPECT_STREQ("1", getenv("\xc3"));
    ValdrinSetenv("\xc3", "2");
    EXPECT_EQ(
        (ut_Strings{"A=1", "B=1", "\xc3=1", "\xc3=2", "\xc4=1"}),
        utTexts(ValdrinGetenvlist()));
    // Names that others continue with such a byte are hidden, too.
    clearenv();
    for (const char *name : {"0", "A", "A\xc3", "A\xc4", "B"})
        ValdrinSetenv(name, "1");
    EXPECT_EQ(nullptr, ValdrinGetenv("A"));
}

TEST(UT_Env, ChildrenInheritTheTable)
{
    for (int i = 0; i < 3000; ++i)
        ValdrinSetenv(("N" + std::to_string(i * 7 % 3000)).c_str(), "x");
    EXPECT_EQ(0, system("test $(env | grep -c '^N[0-9]*=x$') = 3000"));
}

TEST(UT_Env, MissingDirectoriesAreMade)
{
    const ut_TempDir dir;
    const std::string &base = dir.path();
    dir.write("file", "");
    ASSERT_EQ(0, symlink("nowhere", (base + "/link").c_str()));
    umask(022);
    const struct
    {
        const char *path;
        int isMade;
    } cases[] = {
        {"/a/b/c",  1},
        {"/a/b/c",  1},
        {"/d//e/",  1},
        {"/file",   0},
        {"/file/a", 0},
        {"/link",   0},
        {"/link/a", 0},
    };
    for (const auto &row : cases)
    {
        std::string path = base + row.path;
        SCOPED_TRACE(row.path);
        EXPECT_EQ(row.isMade, ValdrinMakeDirectory(path.data(), 0777));
        EXPECT_EQ(base + row.path, path);
        EXPECT_EQ(row.isMade != 0, std::filesystem::is_directory(path));
    }
    struct stat status;
    EXPECT_EQ(0, stat((base + "/a/b").c_str(), &status));
    EXPECT_EQ(0755u, status.st_mode & 07777u);
    // Deliberate: the ones above get the same bits. Only the superuser makes
    // another level in a directory like that.
    std::string deep = base + "/readable/a";
    ValdrinMakeDirectory(deep.data(), 0400);
    EXPECT_EQ(0, stat((base + "/readable").c_str(), &status));
    EXPECT_EQ(0400u, status.st_mode & 07777u);
    char empty[] = "";
    char top[] = "/";
    EXPECT_EQ(0, ValdrinMakeDirectory(nullptr, 0777));
    EXPECT_EQ(0, ValdrinMakeDirectory(empty, 0777));
    EXPECT_EQ(1, ValdrinMakeDirectory(top, 0777));
}
