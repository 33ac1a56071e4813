// The component when there is no memory: the browser gets a result code and
// lives on.

#include "ut_ComponentSlots.h"
#include "ut_LoopbackServer.h"
#include "ut_MemoryLimit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

using namespace std::string_literals;
using Server = ut_LoopbackServer;

extern "C" uint32_t NSGetModule(void *manager, void *location, void **result);

static const size_t theMegabyte = 1 << 20;

namespace
{

// A component manager that is its own registrar; no more of it is asked for.
struct ut_Manager final
{
    virtual uint32_t query(const char *, void **result)
    {
        *result = this;
        return UT_OK;
    }
    virtual uint32_t addRef() { return 2; }
    virtual uint32_t release() { return 1; }
};

class ComponentWithoutMemory : public ::testing::Test
{
protected:
    ComponentWithoutMemory()
    {
        EXPECT_EQ(UT_OK, NSGetModule(nullptr, nullptr, &myModule));
        EXPECT_EQ(
            UT_OK, utCall(
                       myModule, /*GetClassObject*/ 3, &myManager, theClassID,
                       theFactoryID, &myFactory));
        EXPECT_EQ(
            UT_OK, utCall(
                       myFactory, /*CreateInstance*/ 3, nullptr,
                       theConnectionID, &object));
    }
    ~ComponentWithoutMemory() override
    {
        for (void *each : {object, myFactory, myModule})
            EXPECT_EQ(0U, utCall(each, UT_RELEASE));
    }

    std::string stashed()
    {
        char *text = nullptr;
        EXPECT_EQ(UT_OK, utCall(object, UT_GET_STASHED, &text));
        const std::string copy(text ? text : "(null)");
        free(text);
        return copy;
    }

    void *object = nullptr;

private:
    ut_Manager myManager;
    void *myModule = nullptr;
    void *myFactory = nullptr;
};

} // namespace

// Calls that need about a megabyte: for their text, or for the reply.
static const struct
{
    const char *what;
    size_t slot;
    bool isTextLarge;
    bool hasResult;
} theLargeCalls[] = {
    {"Run",                           UT_RUN,            true,  true },
    {"RunPythonStatements",           UT_RUN_STATEMENTS, true,  false},
    {"RunPythonExpression",           UT_RUN_EXPRESSION, true,  true },
    {"a large reply",                 UT_RUN,            false, true },
    {"a large reply that is dropped", UT_RUN_STATEMENTS, false, false},
    {"StashString",                   UT_STASH,          true,  false},
};

TEST_F(ComponentWithoutMemory, MethodsReportIt)
{
    const std::string megabyte(theMegabyte, 'x');
    Server server({Server::send(megabyte + '\0')});
    utCall(object, UT_SET_PORT, server.port());
    EXPECT_EQ(UT_OK, utCall(object, UT_STASH, "kept"));
    for (const auto &row : theLargeCalls)
    {
        SCOPED_TRACE(row.what);
        const char *const text = row.isTextLarge ? megabyte.c_str() : "x";
        char *result = nullptr;
        uint32_t code;
        {
            const ut_MemoryLimit limit(SIZE_MAX, theMegabyte / 2);
            code = row.hasResult ? utCall(object, row.slot, text, &result)
                                 : utCall(object, row.slot, text);
        }
        EXPECT_EQ(UT_OUT_OF_MEMORY, code);
        EXPECT_EQ(nullptr, result);
        EXPECT_EQ("kept", stashed());
    }
    // With memory all is well again.
    char *reply = nullptr;
    EXPECT_EQ(UT_OK, utCall(object, UT_RUN, "x", &reply));
    EXPECT_STREQ(megabyte.c_str(), reply);
    free(reply);
}

// Bytes of address space that this process has in use.
static size_t
utAddressSpace()
{
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * size_t(sysconf(_SC_PAGESIZE));
}

TEST_F(ComponentWithoutMemory, RepliesMayExceedTheAddressSpace)
{
    // More than fits, whatever the reply buffer's last size.
    const Server::Step send = Server::send(std::string(theMegabyte, 'x'));
    Server::Script script(200, send);
    script.push_back(Server::send("\0"s));
    Server server(script);
    utCall(object, UT_SET_PORT, server.port());
    const rlimit limit = {utAddressSpace() + 100 * theMegabyte, RLIM_INFINITY};
    ASSERT_EQ(0, setrlimit(RLIMIT_AS, &limit));
    char *result = nullptr;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(UT_OUT_OF_MEMORY, utCall(object, UT_RUN, "x", &result));
    EXPECT_EQ(nullptr, result);
}
