#include "ut_ComponentSlots.h"
#include "ut_LoopbackServer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using namespace std::string_literals;

static const char theFailureText[] =
    "ERROR: Could not connect to Valdrin to run command";

namespace
{
// One instance, made as a browser makes it.
class ValdrinConnection : public ::testing::Test
{
protected:
    ValdrinConnection()
    {
        void *module = nullptr;
        EXPECT_EQ(UT_OK, NSGetModule(&myManager, nullptr, &module));
        EXPECT_EQ(
            UT_OK,
            utGetClassObject(module, &myManager, theFactoryID, &myFactory));
        utRelease(module);
        myObject = create();
    }
    ~ValdrinConnection() override
    {
        utRelease(myObject);
        if (myFactory)
            utRelease(myFactory);
    }

    void *create()
    {
        void *object = nullptr;
        EXPECT_EQ(UT_OK, utCreate(myFactory, theConnectionID, &object));
        return object;
    }

    const ut_ConnectionSlots &slots() const
    {
        return utSlots<ut_ConnectionSlots>(myObject);
    }

    // A text that was handed out. Without a platform it comes from malloc().
    static std::string take(char *text)
    {
        EXPECT_NE(nullptr, text);
        std::string copy(text ? text : "(null)");
        free(text);
        return copy;
    }

    std::string run(const char *command)
    {
        char *reply = nullptr;
        EXPECT_EQ(UT_OK, slots().run(myObject, command, &reply));
        return take(reply);
    }

    std::string stash() const
    {
        char *text = nullptr;
        EXPECT_EQ(UT_OK, slots().getStashedString(myObject, &text));
        return take(text);
    }

    ut_StandInManager myManager;
    void *myFactory = nullptr;
    void *myObject = nullptr;
};
} // namespace

static const std::string theDeclaration = "<?xml version=\"1.0\"?>\n";

TEST_F(ValdrinConnection, RequestsAreEnvelopesThatEndInANul)
{
    ut_LoopbackServer server({ut_LoopbackServer::send("4\0"s)});
    slots().setSocketPortNum(myObject, server.port());

    EXPECT_EQ("4", run("echo hi"));
    EXPECT_EQ(
        theDeclaration + "<vscript><![CDATA[echo hi]]></vscript>\n"
                         "\0"s,
        server.request(0));
    EXPECT_EQ(62U, server.request(0).size());

    EXPECT_EQ(UT_OK, slots().runPythonStatements(myObject, "x = '\xe4]]>'\n"));
    EXPECT_EQ(
        theDeclaration + "<python_statements><![CDATA[x = '\xe4]]]]><![CDATA[>'"
                         "\n]]></python_statements>\n\0"s,
        server.request(1));

    char *reply = nullptr;
    EXPECT_EQ(UT_OK, slots().runPythonExpression(myObject, nullptr, &reply));
    EXPECT_EQ("4", take(reply));
    EXPECT_EQ(
        theDeclaration +
            "<python_expression><![CDATA[]]></python_expression>\n\0"s,
        server.request(2));
}

TEST_F(ValdrinConnection, EveryByteButNulTravelsBothWays)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += char(byte);
    ut_LoopbackServer server({ut_LoopbackServer::echo()});
    slots().setSocketPortNum(myObject, server.port());
    EXPECT_EQ(
        theDeclaration + "<vscript><![CDATA[" + all + "]]></vscript>\n",
        run(all.c_str()));
}

TEST_F(ValdrinConnection, TheReplyIsTheTextUpToItsFirstNul)
{
    const std::string large(8 << 20, '\xfe');
    const struct
    {
        const char *what;
        std::string sent;
        std::string handedOut;
    } cases[] = {
        {"no bytes",   "",                ""        },
        {"NUL only",   "\0"s,             ""        },
        {"NUL first",  "\0hidden\0"s,     ""        },
        {"NUL inside", "seen\0hidden\0"s, "seen"    },
        {"no NUL",     "closed",          "closed"  },
        {"newlines",   "a\n\nb\n\0"s,     "a\n\nb\n"},
        {"8 MiB",      large + '\0',      large     },
    };
    for (const auto &row : cases)
    {
        ut_LoopbackServer server(
            {ut_LoopbackServer::send(row.sent), ut_LoopbackServer::close()});
        slots().setSocketPortNum(myObject, server.port());
        EXPECT_TRUE(run("x") == row.handedOut) << row.what;
    }
}

TEST_F(ValdrinConnection, AFailedExchangeIsATextAndNoFailure)
{
    ut_LoopbackPort nobody;
    slots().setSocketPortNum(myObject, nobody.port());
    EXPECT_EQ(theFailureText, run("x"));
    char *reply = nullptr;
    EXPECT_EQ(UT_OK, slots().runPythonExpression(myObject, "x", &reply));
    EXPECT_EQ(theFailureText, take(reply));
    EXPECT_EQ(UT_OK, slots().runPythonStatements(myObject, "x"));

    ut_LoopbackServer crashing(
        {ut_LoopbackServer::send("part of a reply"),
         ut_LoopbackServer::pause(50), ut_LoopbackServer::reset()});
    slots().setSocketPortNum(myObject, crashing.port());
    EXPECT_EQ(theFailureText, run("x"));
}

TEST_F(ValdrinConnection, NothingIsSentForANullResult)
{
    ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
    slots().setSocketPortNum(myObject, server.port());
    EXPECT_EQ(UT_NULL_POINTER, slots().run(myObject, "1", nullptr));
    EXPECT_EQ(
        UT_NULL_POINTER, slots().runPythonExpression(myObject, "2", nullptr));
    EXPECT_EQ("ok", run("3"));
    EXPECT_EQ(
        theDeclaration + "<vscript><![CDATA[3]]></vscript>\n\0"s,
        server.request(0));
}

TEST_F(ValdrinConnection, PortsAreSharedAndMapped)
{
    ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
    void *const other = create();
    for (int port :
         {server.port(), server.port() + 65535, server.port() - 65535,
          server.port() + 10 * 65535})
    {
        EXPECT_EQ(
            UT_OK, utSlots<ut_ConnectionSlots>(other).setSocketPortNum(
                       other, int32_t(port)));
        EXPECT_EQ("ok", run("x")) << port;
    }
    utRelease(other);
}

TEST_F(ValdrinConnection, TheStashIsOnePrivateCopy)
{
    EXPECT_EQ("", stash());
    char text[] = "first";
    EXPECT_EQ(UT_OK, slots().stashString(myObject, text));
    text[0] = 'F';
    EXPECT_EQ("first", stash());

    void *const other = create();
    utSlots<ut_ConnectionSlots>(other).stashString(other, "second\xff");
    utRelease(other);
    EXPECT_EQ("second\xff", stash());

    // What was handed out is the caller's, to change and to stash again.
    char *mine = nullptr;
    slots().getStashedString(myObject, &mine);
    mine[0] = 'S';
    EXPECT_EQ("second\xff", stash());
    slots().stashString(myObject, mine);
    free(mine);
    EXPECT_EQ("Second\xff", stash());

    slots().stashString(myObject, "");
    EXPECT_EQ("", stash());
    slots().stashString(myObject, "again");
    slots().stashString(myObject, nullptr);
    EXPECT_EQ("", stash());
}

TEST_F(ValdrinConnection, ItAnswersForItsInterfacesOnly)
{
    const struct
    {
        const char *what;
        const uint8_t *iid;
        bool isThere;
    } cases[] = {
        {"the interface", theConnectionID, true },
        {"its base",      theSupportsID,   true },
        {"a factory",     theFactoryID,    false},
        {"nothing known", theUnknownID,    false},
    };
    for (const auto &row : cases)
    {
        void *face = &myManager;
        EXPECT_EQ(
            row.isThere ? UT_OK : UT_NO_INTERFACE,
            slots().queryInterface(myObject, row.iid, &face))
            << row.what;
        EXPECT_EQ(row.isThere ? myObject : nullptr, face) << row.what;
    }
    // The two answers added a reference each.
    EXPECT_EQ(2U, slots().release(myObject));
    EXPECT_EQ(1U, slots().release(myObject));
}

TEST_F(ValdrinConnection, ClassInfoIsThereWhileTheFactoryIs)
{
    void *info = nullptr;
    ASSERT_EQ(UT_OK, slots().queryInterface(myObject, theClassInfoID, &info));
    // The reference was taken from the class info's own table.
    EXPECT_EQ(1U, utRelease(info));
    EXPECT_EQ(0U, utRelease(myFactory));
    myFactory = nullptr;
    EXPECT_EQ(
        UT_NO_INTERFACE,
        slots().queryInterface(myObject, theClassInfoID, &info));
    EXPECT_EQ(nullptr, info);
}

static const ut_ConnectionSlots *theOwnSlots;
static int theDestructions;

// A destructor whose members take and drop references.
static void
utVisitAndDestroy(void *object)
{
    ++theDestructions;
    EXPECT_EQ(2U, theOwnSlots->addRef(object));
    EXPECT_EQ(1U, theOwnSlots->release(object));
    theOwnSlots->destroyAndDelete(object);
}

TEST_F(ValdrinConnection, TheLastReleaseDestroysOnce)
{
    void *const object = create();
    theOwnSlots = &utSlots<ut_ConnectionSlots>(object);
    ut_ConnectionSlots visiting = *theOwnSlots;
    visiting.destroyAndDelete = utVisitAndDestroy;
    static_cast<ut_Object<ut_ConnectionSlots> *>(object)->slots = &visiting;
    EXPECT_EQ(2U, visiting.addRef(object));
    EXPECT_EQ(1U, visiting.release(object));
    EXPECT_EQ(0, theDestructions);
    EXPECT_EQ(0U, visiting.release(object));
    EXPECT_EQ(1, theDestructions);
}
