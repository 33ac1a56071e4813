#include "UT/UT_ErrorManager.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <memory>

// Errors as a script: a digit for the severity of each and a letter for its
// text. Behind it an asterisk tells that something is new, and a question mark
// that the severity has to be found out.
static void
utFill(UT_ErrorManager &manager, const std::string &script)
{
    static const ut_TempDir theDir;
    static const std::string theType = theDir.write("texts", "0 %s");
    for (size_t i = 0; i < script.size(); i += 2)
        manager.append(new UT_Error(
            theType.c_str(), 0, script.substr(i + 1, 1).c_str(),
            UT_ErrorSeverity(script[i] - '0')));
}
static std::string
utScript(const UT_ErrorManager &manager)
{
    std::string script;
    for (int i = 0; i < manager.entries(); ++i)
        script += std::to_string(manager.getError(i)->getSeverity()) +
                  manager.getError(i)->getErrorString();
    return script + (manager.getReadFlag() ? "" : "*") +
           (manager.getNeedScan() ? "?" : "");
}

TEST(UT_ErrorManager, AFullOneTakesOnlyWorseErrors)
{
    UT_ErrorManager manager;
    std::string full;
    while (full.size() < 80)
        full += "3a";
    utFill(manager, full + "3b1c4d5e4f5g");
    EXPECT_EQ(full + "4d5e*", utScript(manager));
    // The severity is that of before until it is asked for.
    const std::unique_ptr<UT_Error> removed(manager.getError(41));
    EXPECT_EQ(41, manager.removeError(41));
    EXPECT_EQ(-1, manager.removeError(41));
    utFill(manager, "5h");
    EXPECT_EQ(full + "4d*", utScript(manager));
}

// Errors, a filter, and how many match with their list.
static const char *const theListings[][3] = {
    {"3a4b4c",   "0", "3Warning:     a\nError:       b\n             c"},
    {"4a3b4c",   "4", "2Error:       a\n\nError:       c"              },
    {"0a0b1c5d", "5", "1\n\n\nFatal error: d"                          },
};

// First, last and filter; what stays of the errors below, and what "1z" gets.
static const char *const theThefts[][3] = {
    {"-7 -7 0", "?",           "1z3a4b5c4b3e*5"},
    {"1 99 4",  "3a5c3e?",     "1z4b4b*2"      },
    {"5 0 0",   "3a4b5c4b3e*", "1z*0"          },
    {"6 0 0",   "3a4b5c4b3e*", "1z0"           },
};

TEST(UT_ErrorManager, ListsAndMovesErrors)
{
    for (const auto &row : theListings)
    {
        UT_ErrorManager manager;
        utFill(manager, row[0]);
        UT_String out;
        const int count = manager.getErrorMessages(
            out, UT_ErrorSeverity(*row[1] - '0'), /*prefixes=*/1);
        EXPECT_EQ(row[2], std::to_string(count) + out.buffer());
        EXPECT_EQ(row[0], utScript(manager)); // all read
    }
    for (const auto &row : theThefts)
        for (bool copy : {false, true})
        {
            UT_ErrorManager from, to;
            utFill(from, "3a4b5c4b3e");
            utFill(to, "1z");
            to.setReadFlag(1);
            int first, last, filter;
            sscanf(row[0], "%d %d %d", &first, &last, &filter);
            const int count = to.stealErrors(
                from, first, last, UT_ErrorSeverity(filter), copy);
            EXPECT_EQ(row[2], utScript(to) + std::to_string(count));
            EXPECT_EQ(copy ? "3a4b5c4b3e*" : row[1], utScript(from));
            if (!copy || first != 6)
                continue;
            // The first of duplicates stays, and nothing else changes.
            const std::unique_ptr<UT_Error> later(from.getError(3));
            from.pruneDuplicates();
            EXPECT_EQ("3a4b5c3e*", utScript(from));
        }
}

TEST(UT_ErrorManager, OutputFailsByErrno)
{
    setenv("VALDRIN_VERBOSE_ERROR", "1", 1);
    testing::internal::CaptureStderr();
    UTpopErrorManager(); // there is none
    UTpushErrorManager();
    std::string failures;
    for (errno = 0; errno < 140; ++errno)
        if (!UTcheckOutStream(std::cout, "write", "/a"))
            failures += std::to_string(errno) + ' ';
    EXPECT_EQ("5 24 28 30 60 63 110 ", failures);
    EXPECT_STREQ(
        "write <Input/output error> /a",
        UTgetErrorManager()->getError(0)->getErrorString());
    EXPECT_EQ(-1, UTfindError(nullptr, UT_CE_FILE_ERROR));
    UTpopErrorManager();
    EXPECT_EQ("", utScript(*UTgetErrorManager()));
    EXPECT_EQ(
        "Valdrin Save error detected:errno 1 (Operation not permitted) "
        "path(/a) operation(write)\n\rValdrin",
        testing::internal::GetCapturedStderr().substr(0, 96));
}
