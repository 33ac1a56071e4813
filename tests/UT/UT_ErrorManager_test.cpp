#include "UT/UT_ErrorManager.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

static const auto theMessage = UT_ERROR_MESSAGE;
static const auto theWarning = UT_ERROR_WARNING;
static const auto theError = UT_ERROR_ERROR;
static const auto theFatal = UT_ERROR_FATAL;

struct ut_Entry
{
    UT_ErrorSeverity severity;
    const char *text;
};
using ut_Entries = std::vector<ut_Entry>;

class UT_ErrorManagerTest : public testing::Test
{
protected:
    void add(UT_ErrorManager &manager, const ut_Entry &entry) const
    {
        manager.append(
            new UT_Error(myType.c_str(), 0, entry.text, entry.severity));
    }
    void fill(UT_ErrorManager &manager, const ut_Entries &entries) const
    {
        for (const ut_Entry &entry : entries)
            add(manager, entry);
    }

    // All texts, one after the other.
    static std::string textsOf(const UT_ErrorManager &manager)
    {
        std::string texts;
        for (int i = 0; i < manager.entries(); ++i)
            texts += manager.getError(i)->getErrorString();
        return texts;
    }

private:
    const ut_TempDir myDir;
    const std::string myType = myDir.write("texts", "0 %s");
};

TEST_F(UT_ErrorManagerTest, AFullOneTakesOnlyWorseErrors)
{
    UT_ErrorManager manager;
    fill(manager, ut_Entries(40, {theWarning, "w"}));
    add(manager, {theWarning, "not worse"});
    add(manager, {theError, "e"});
    add(manager, {theError, "as bad as the last"});
    add(manager, {theFatal, "f"});
    EXPECT_EQ(std::string(40, 'w') + "ef", textsOf(manager));
    EXPECT_EQ(theFatal, manager.getSeverity());

    // Deliberate: "worse" is meant of the severity as it was last determined.
    const std::unique_ptr<UT_Error> removed(manager.getError(41));
    EXPECT_EQ(41, manager.removeError(41));
    EXPECT_EQ(-1, manager.removeError(41));
    add(manager, {theFatal, "no worse than the removed one"});
    EXPECT_EQ(std::string(40, 'w') + "e", textsOf(manager));
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
         "Fatal error: d"},
        {"a filter leaves empty lines",
         {{theError, "a"}, {theWarning, "b"}, {theError, "c"}},
         theError,      2,
         "Error:       a\n"
         "\n"
         "Error:       c"},
        {"the lowest severities have no label",
         {{UT_ERROR_NONE, "a"}, {theMessage, "b"}, {UT_ERROR_PROMPT, "c"}},
         theMessage,    1,
         "\n"
         "b\n"           },
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
    }
}

static const ut_Entries theStock = {
    {theWarning, "a"},
    {theError,   "b"},
    {theFatal,   "c"},
    {theError,   "b"},
    {theWarning, "e"},
};

// Of the stock, to a manager that has one error.
static const struct
{
    const char *what;
    int first, last;
    UT_ErrorSeverity filter;
    int count;          // as returned
    const char *left;   // when they are moved
    const char *stolen; // with the one that was there
    bool isUntouched;   // the thief: not even its read flag changes
} theThefts[] = {
    {"all",                 -7, -7, UT_ERROR_NONE, 5, "",      "mabcbe", false},
    {"some to the last",    1,  99, theError,      2, "ace",   "mbb",    false},
    {"one from the middle", 2,  2,  UT_ERROR_NONE, 1, "abbe",  "mc",     false},
    {"none",                0,  4,  theMessage,    0, "abcbe", "m",      false},
    {"none just past them", 5,  0,  UT_ERROR_NONE, 0, "abcbe", "m",      false},
    {"none so far",         6,  0,  UT_ERROR_NONE, 0, "abcbe", "m",      true },
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
            add(to, {theMessage, "m"});
            to.setReadFlag(1);
            EXPECT_EQ(
                row.count,
                to.stealErrors(from, row.first, row.last, row.filter, isCopy));
            EXPECT_EQ(row.stolen, textsOf(to));
            EXPECT_EQ(row.isUntouched, to.getReadFlag());
            const bool isMoved = !isCopy && row.count > 0;
            EXPECT_EQ(isMoved ? row.left : "abcbe", textsOf(from));
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
    add(manager, {theError, ""}); // no text to compare
    add(manager, {theError, ""});
    add(manager, {theMessage, "b"});
    // Deliberate: what is taken out is not deleted, and no flag changes.
    const std::unique_ptr<UT_Error> second(manager.getError(3));
    const std::unique_ptr<UT_Error> third(manager.getError(7));
    manager.pruneDuplicates();
    EXPECT_EQ("abce", textsOf(manager));
    EXPECT_EQ(6, manager.entries());
    EXPECT_EQ(theError, manager.getError(1)->getSeverity());
    EXPECT_FALSE(manager.getNeedScan());
}

TEST_F(UT_ErrorManagerTest, OutputFailsByErrno)
{
    UTpopErrorManager(); // there is none
    UTpushErrorManager();
    errno = EACCES;
    EXPECT_TRUE(UTcheckOutStream(std::cout, "write", "/a"));
    for (const int failure : {EIO, EMFILE, ENOSPC, EROFS, ETIMEDOUT})
    {
        errno = failure;
        EXPECT_FALSE(UTcheckOutStream(std::cout, "write", "/a")) << failure;
    }
    EXPECT_STREQ(
        "write <Input/output error> /a",
        UTgetErrorManager()->getError(0)->getErrorString());
    EXPECT_EQ(0, UTfindError("Common", UT_CE_FILE_ERROR));
    EXPECT_EQ(-1, UTfindError(nullptr, UT_CE_FILE_ERROR));
    UTpopErrorManager();
    EXPECT_EQ(0, UTgetErrorManager()->entries());
}
