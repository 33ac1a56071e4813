#include "UT/UT_ErrorManager.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// An error as these tests write it down: its severity and its text.
using ut_Entry = std::pair<UT_ErrorSeverity, std::string>;
using ut_Entries = std::vector<ut_Entry>;

static const auto theMessage = UT_ERROR_MESSAGE;
static const auto theWarning = UT_ERROR_WARNING;
static const auto theError = UT_ERROR_ERROR;
static const auto theFatal = UT_ERROR_FATAL;

class UT_ErrorManagerTest : public testing::Test
{
protected:
    void add(UT_ErrorManager &manager, const ut_Entry &entry) const
    {
        manager.append(
            new UT_Error(myType.c_str(), 0, entry.second.c_str(), entry.first));
    }
    void fill(UT_ErrorManager &manager, const ut_Entries &entries) const
    {
        for (const ut_Entry &entry : entries)
            add(manager, entry);
    }

    static ut_Entries entriesOf(const UT_ErrorManager &manager)
    {
        ut_Entries entries;
        for (int i = 0; i < manager.entries(); ++i)
            entries.push_back(
                {manager.getError(i)->getSeverity(),
                 manager.getError(i)->getErrorString()});
        return entries;
    }

private:
    const ut_TempDir myDir;
    const std::string myType = myDir.write("texts", "0 %s");
};

TEST_F(UT_ErrorManagerTest, AFullOneTakesOnlyWorseErrors)
{
    UT_ErrorManager manager;
    ut_Entries expected(40, {theWarning, "one of 40"});
    fill(manager, expected);
    add(manager, {theWarning, "not worse"});
    add(manager, {theMessage, "better"});
    EXPECT_EQ(expected, entriesOf(manager));

    add(manager, {theError, "worse"});
    add(manager, {theError, "as bad as the last"});
    add(manager, {theFatal, "the worst"});
    add(manager, {theFatal, "as bad again"});
    expected.push_back({theError, "worse"});
    expected.push_back({theFatal, "the worst"});
    EXPECT_EQ(expected, entriesOf(manager));
    EXPECT_EQ(theFatal, manager.getSeverity());

    // Deliberate: "worse" is meant of the severity as it was last determined.
    const std::unique_ptr<UT_Error> removed(manager.getError(41));
    EXPECT_EQ(41, manager.removeError(41));
    EXPECT_EQ(-1, manager.removeError(41));
    expected.pop_back();
    add(manager, {theFatal, "no worse than the removed one"});
    EXPECT_EQ(expected, entriesOf(manager));
    EXPECT_EQ(theError, manager.getSeverity());
}

// Deliberate: a skipped error leaves its line, and counts as the one before.
TEST_F(UT_ErrorManagerTest, ListsAllErrorsOrThoseOfOneSeverity)
{
    static const struct
    {
        const char *what;
        ut_Entries errors;
        UT_ErrorSeverity filter;
        int count;
        const char *list;
    } theLists[] = {
        {"one label for errors of one severity in a row",
         {{theWarning, "a"}, {theError, "b"}, {theError, "c"}, {theFatal, "d"}},
         UT_ERROR_NONE, 4,
         "Warning:     a\n"
         "Error:       b\n"
         "             c\n"
         "Fatal error: d"  },
        {"a filter leaves empty lines",
         {{theError, "a"}, {theWarning, "b"}, {theError, "c"}},
         theError,      2,
         "Error:       a\n"
         "\n"
         "Error:       c"  },
        {"a skipped error takes the label",
         {{theError, "a"}, {theWarning, "b"}, {theWarning, "c"}},
         theWarning,    2,
         "\n"
         "Warning:     b\n"
         "             c"  },
        {"worse ones than the filter's are skipped too",
         {{theMessage, "a"}, {theWarning, "b"}, {theFatal, "c"}},
         theWarning,    1,
         "\n"
         "Warning:     b\n"},
        {"the lowest severities have no label",
         {{UT_ERROR_NONE, "a"}, {theMessage, "b"}, {UT_ERROR_PROMPT, "c"}},
         theMessage,    1,
         "\n"
         "b\n"             },
    };
    for (const auto &row : theLists)
    {
        UT_ErrorManager manager;
        fill(manager, row.errors);
        UT_String out;
        EXPECT_EQ(
            row.count,
            manager.getErrorMessages(out, row.filter, /*prefixes=*/1))
            << row.what;
        EXPECT_STREQ(row.list, out.buffer()) << row.what;
        EXPECT_EQ(row.errors, entriesOf(manager)) << row.what;
    }
}

// What is stolen from.
static const ut_Entries theStock = {
    {theWarning, "a"},
    {theError,   "b"},
    {theFatal,   "c"},
    {theError,   "b"},
    {theWarning, "e"},
};

// Those of the stock with these texts of one letter.
static ut_Entries
utOfStock(const std::string &texts)
{
    ut_Entries entries;
    for (const char text : texts)
        entries.push_back(*std::find_if(
            theStock.begin(), theStock.end(),
            [&](const ut_Entry &entry)
            { return entry.second == std::string(1, text); }));
    return entries;
}

static const struct
{
    const char *what;
    int first, last;
    UT_ErrorSeverity filter;
    int count;          // as returned
    const char *left;   // of the stock, when they are moved
    const char *stolen; // after the one error that was there
    bool isUntouched;   // the thief: not even its read flag changes
} theThefts[] = {
    {"all",                      -7, -7, UT_ERROR_NONE, 5, "",      "abcbe", false},
    {"a last that is too large", 1,  99, theError,      2, "ace",   "bb",    false},
    {"one from the middle",      2,  2,  UT_ERROR_NONE, 1, "abbe",  "c",     false},
    {"none in the range",        3,  2,  UT_ERROR_NONE, 0, "abcbe", "",      false},
    {"none of the severity",     0,  4,  theMessage,    0, "abcbe", "",      false},
    {"first just past the last", 5,  0,  UT_ERROR_NONE, 0, "abcbe", "",      false},
    {"first far past the last",  6,  0,  UT_ERROR_NONE, 0, "abcbe", "",      true },
};

TEST_F(UT_ErrorManagerTest, StealsAndCopiesErrors)
{
    for (const auto &row : theThefts)
        for (const bool isCopy : {false, true})
        {
            SCOPED_TRACE(
                std::string(row.what) + (isCopy ? ", copied" : ", moved"));
            UT_ErrorManager from, to;
            fill(from, theStock);
            from.setReadFlag(0);
            add(to, {theMessage, "mine"});
            to.setReadFlag(1);
            EXPECT_EQ(
                row.count,
                to.stealErrors(from, row.first, row.last, row.filter, isCopy));

            ut_Entries expected = utOfStock(row.stolen);
            expected.insert(expected.begin(), {theMessage, "mine"});
            EXPECT_EQ(expected, entriesOf(to));
            EXPECT_EQ(row.isUntouched, to.getReadFlag());

            const bool isMoved = !isCopy && row.count > 0;
            EXPECT_EQ(
                isMoved ? utOfStock(row.left) : theStock, entriesOf(from));
            EXPECT_EQ(isMoved, from.getReadFlag());
            EXPECT_EQ(isMoved, from.getNeedScan());
        }
}

TEST_F(UT_ErrorManagerTest, TheTextOfAnAddedErrorCanBeReplaced)
{
    UT_ErrorManager manager;
    manager.addError("type", 1, nullptr);
    EXPECT_EQ(nullptr, manager.getError(0)->getErrorString());
    manager.addError("type", 1, "no file");
    UT_Error *const error = manager.getError(1);
    error->setErrorString(error->getErrorString() + 3); // its own text
    EXPECT_STREQ("file", error->getErrorString());
    error->setErrorString(nullptr);
    EXPECT_EQ(nullptr, error->getErrorString());
}

TEST_F(UT_ErrorManagerTest, TheFirstOfDuplicatesStays)
{
    UT_ErrorManager manager;
    fill(manager, theStock);
    add(manager, {theError, ""}); // nothing to compare
    add(manager, {theError, ""});
    // Deliberate: what is taken out is not deleted, and no flag changes.
    const std::unique_ptr<UT_Error> duplicate(manager.getError(3));
    manager.pruneDuplicates();
    ut_Entries expected = theStock;
    expected.erase(expected.begin() + 3);
    expected.push_back({theError, ""});
    expected.push_back({theError, ""});
    EXPECT_EQ(expected, entriesOf(manager));
    EXPECT_FALSE(manager.getReadFlag());
    EXPECT_FALSE(manager.getNeedScan());
}

TEST_F(UT_ErrorManagerTest, OutputFailsByErrno)
{
    UTpopErrorManager(); // there is none
    UTpushErrorManager();
    std::vector<int> failures;
    for (errno = 0; errno < 140; ++errno)
        if (!UTcheckOutStream(std::cout, "write", "/a"))
            failures.push_back(errno);
    EXPECT_EQ(
        (std::vector<int>{
            EIO, EMFILE, ENOSPC, EROFS, ENOSTR, ENOSR, ETIMEDOUT}),
        failures);
    EXPECT_STREQ(
        "write <Input/output error> /a",
        UTgetErrorManager()->getError(0)->getErrorString());
    EXPECT_EQ(0, UTfindError("Common", UT_CE_FILE_ERROR));
    EXPECT_EQ(-1, UTfindError(nullptr, UT_CE_FILE_ERROR));
    UTpopErrorManager();
    EXPECT_EQ(0, UTgetErrorManager()->entries());
}
