// The component as its users see it: the interface that script calls, then the
// module as the component manager uses it.

#include "ut_ComponentSlots.h"
#include "ut_LoopbackServer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

using namespace std::string_literals;
using Server = ut_LoopbackServer;

// The platform's allocator.
static bool theMemoryIsGone;

extern "C" __attribute__((visibility("default"))) void *
NS_Alloc(size_t size)
{
    return theMemoryIsGone ? nullptr : malloc(size);
}

extern "C" uint32_t NSGetModule(void *manager, void *location, void **result);

namespace
{

// A component manager that is its own registrar and keeps its last call.
struct ut_StandInManager final
{
    virtual uint32_t query(const char *iid, void **result)
    {
        EXPECT_TRUE(utIsID(iid, theRegistrarID));
        *result = this;
        addRef();
        return UT_OK;
    }
    virtual uint32_t addRef() { return ++references; }
    virtual uint32_t release() { return --references; }
    virtual void unused3() {}
    virtual void unused4() {}
    virtual void unused5() {}
    virtual void unused6() {}
    virtual uint32_t registerLocation(
        const char *cid, const char *name, const char *contract,
        const char *location, const char *loader, const char *type)
    {
        lastCall = std::string(cid, 16);
        for (const char *word : {name, contract, location, loader, type})
            lastCall += std::string(" ") + word;
        return answer;
    }
    virtual uint32_t unregisterLocation(const char *cid, const char *location)
    {
        lastCall = std::string(cid, 16) + " " + location;
        return answer;
    }

    uint32_t references = 0; // taken and not given back
    uint32_t answer = UT_OK;
    std::string lastCall;
};

// The module, its factory and two instances, of which one is asked and the
// other one changes what both share.
class Component : public ::testing::Test
{
protected:
    Component()
    {
        EXPECT_EQ(UT_OK, NSGetModule(nullptr, nullptr, &module));
        EXPECT_EQ(UT_OK, classObject(theClassID, theFactoryID, &factory));
        EXPECT_EQ(UT_OK, create(nullptr, theConnectionID, &object));
        EXPECT_EQ(UT_OK, create(nullptr, theSupportsID, &other));
    }
    ~Component() override
    {
        for (void *each : {other, object, factory, module})
            EXPECT_EQ(0U, utCall(each, UT_RELEASE));
        EXPECT_EQ(0U, manager.references);
    }

    uint32_t classObject(const char *cid, const char *iid, void **result)
    {
        return utCall(module, 3, &manager, cid, iid, result);
    }
    uint32_t create(void *outer, const char *iid, void **result)
    {
        return utCall(factory, 3, outer, iid, result);
    }

    // A face, without a reference, or null.
    static void *query(void *asked, const char *iid)
    {
        void *face = &face;
        const uint32_t code = utCall(asked, UT_QUERY, iid, &face);
        EXPECT_EQ(face ? UT_OK : UT_NO_INTERFACE, code);
        if (face)
            utCall(face, UT_RELEASE);
        return face;
    }

    // The text that a method hands out.
    template <class... Arguments>
    static std::string get(void *from, size_t slot, Arguments... arguments)
    {
        char *text = nullptr;
        EXPECT_EQ(UT_OK, utCall(from, slot, arguments..., &text));
        const std::string copy(text ? text : "(null)");
        free(text);
        return copy;
    }

    ut_StandInManager manager;
    void *module = nullptr;
    void *factory = nullptr;
    void *object = nullptr;
    void *other = nullptr;
};

} // namespace

TEST_F(Component, RequestsAreEnvelopesThatEndInANul)
{
    Server server({Server::echo()});
    // Ports are taken modulo 65535.
    utCall(other, UT_SET_PORT, server.port() + 65535);
    // Nothing is sent for a null result.
    for (size_t slot : {UT_RUN, UT_RUN_EXPRESSION})
        EXPECT_EQ(UT_NULL_POINTER, utCall(object, slot, "x", nullptr));
    const std::string head = "<?xml version=\"1.0\"?>\n<";
    const std::string several = head + "vscript><![CDATA[a]]]]><![CDATA[>]]]]>"
                                       "<![CDATA[> x]]]]></vscript>\n";
    EXPECT_EQ(
        head + "vscript><![CDATA[]]></vscript>\n",
        get(object, UT_RUN, static_cast<const char *>(nullptr)));
    EXPECT_EQ(several, get(object, UT_RUN, "a]]>]]> x]]"));
    EXPECT_EQ(several + '\0', server.request(1));
    EXPECT_EQ(
        head + "python_expression><![CDATA[y]]></python_expression>\n",
        get(object, UT_RUN_EXPRESSION, "y"));
    EXPECT_EQ(UT_OK, utCall(object, UT_RUN_STATEMENTS, "z"));
    EXPECT_EQ(
        head + "python_statements><![CDATA[z]]></python_statements>\n\0"s,
        server.request(3));
}

TEST_F(Component, TheStashIsOnePrivateCopy)
{
    EXPECT_EQ("", get(object, UT_GET_STASHED));
    char text[] = "first\xff";
    EXPECT_EQ(UT_OK, utCall(other, UT_STASH, &text[0]));
    text[0] = 'F';
    char *mine = nullptr;
    EXPECT_EQ(UT_OK, utCall(object, UT_GET_STASHED, &mine));
    mine[0] = 'F';
    free(mine);
    EXPECT_EQ("first\xff", get(object, UT_GET_STASHED));
    // Deliberate: a copy that fails is null, and no failure.
    theMemoryIsGone = true;
    EXPECT_EQ("(null)", get(object, UT_GET_STASHED));
    theMemoryIsGone = false;
    EXPECT_EQ(UT_OK, utCall(other, UT_STASH, nullptr));
    EXPECT_EQ("", get(object, UT_GET_STASHED));
    // Deliberate: a null result is not refused.
    EXPECT_DEATH(utCall(object, UT_GET_STASHED, nullptr), "");
}

TEST_F(Component, ObjectsAnswerForTheirInterfacesOnly)
{
    void *const info = query(factory, theClassInfoID);
    const struct
    {
        const char *what;
        void *asked;
        const char *iid;
        void *face;
    } cases[] = {
        {"the module as itself",        module,  theSupportsID,   module },
        {"the module as a module",      module,  theModuleID,     module },
        {"the module as a factory",     module,  theFactoryID,    nullptr},
        {"the factory as a module",     factory, theModuleID,     nullptr},
        {"the class info as itself",    info,    theSupportsID,   factory},
        {"the class info as a factory", info,    theFactoryID,    factory},
        {"the object as itself",        object,  theSupportsID,   object },
        {"the object as a connection",  object,  theConnectionID, object },
        {"the object's class info",     object,  theClassInfoID,  info   },
        {"the object as a factory",     object,  theFactoryID,    nullptr},
    };
    for (const auto &row : cases)
        EXPECT_EQ(row.face, query(row.asked, row.iid)) << row.what;
}

TEST_F(Component, RefusalsLeaveANullResult)
{
    void *faces[] = {object, object, object, object};
    EXPECT_EQ(UT_NO_AGGREGATION, create(module, theConnectionID, &faces[0]));
    EXPECT_EQ(UT_NO_INTERFACE, create(nullptr, theModuleID, &faces[1]));
    EXPECT_EQ(
        UT_NOT_REGISTERED, classObject(theModuleID, theFactoryID, &faces[2]));
    EXPECT_EQ(UT_NO_INTERFACE, classObject(theClassID, theModuleID, &faces[3]));
    for (const void *const face : faces)
        EXPECT_EQ(nullptr, face);
    // Deliberate: the answer is no, and the question failed.
    int32_t answer = 77;
    EXPECT_EQ(UT_FAILURE, utCall(module, /*CanUnload*/ 6, &manager, &answer));
    EXPECT_EQ(0, answer);
}

TEST_F(Component, ClassInfoReportsTheRecord)
{
    void *const info = query(factory, theClassInfoID);
    uint32_t number = 77;
    void **array = nullptr;
    EXPECT_EQ(UT_OK, utCall(info, /*GetInterfaces*/ 3, &number, &array));
    EXPECT_EQ(1U, number);
    EXPECT_TRUE(utIsID(array[0], theConnectionID));
    free(array[0]);
    free(array);
    // Deliberate: a list that there is no memory for ends the process.
    EXPECT_DEATH(
        {
            theMemoryIsGone = true;
            utCall(info, /*GetInterfaces*/ 3, &number, &array);
        },
        "");
    void *helper = info;
    EXPECT_EQ(UT_OK, utCall(info, /*GetHelperForLanguage*/ 4, 2, &helper));
    EXPECT_EQ(nullptr, helper);
    EXPECT_EQ(
        "@norvex.com/valdrinconnection;1", get(info, /*GetContractID*/ 5));
    EXPECT_EQ(
        "Valdrin Connection Component", get(info, /*GetClassDescription*/ 6));
    void *cid = nullptr;
    EXPECT_EQ(UT_OK, utCall(info, /*GetClassID*/ 7, &cid));
    EXPECT_TRUE(utIsID(cid, theClassID));
    free(cid);
    EXPECT_EQ(UT_OK, utCall(info, /*GetImplementationLanguage*/ 8, &number));
    EXPECT_EQ(1U, number);
    EXPECT_EQ(UT_OK, utCall(info, /*GetFlags*/ 9, &number));
    EXPECT_EQ(0U, number);
    char inPlace[16] = {};
    EXPECT_EQ(UT_OK, utCall(info, /*GetClassIDNoAlloc*/ 10, &inPlace[0]));
    EXPECT_TRUE(utIsID(inPlace, theClassID));
}

// Deliberate: each request makes a factory, and the class info ends with any.
TEST_F(Component, AnyFactorysDeathTakesTheClassInfo)
{
    void *younger = nullptr;
    EXPECT_EQ(UT_OK, classObject(theClassID, theFactoryID, &younger));
    EXPECT_NE(factory, younger);
    EXPECT_EQ(0U, utCall(std::exchange(factory, younger), UT_RELEASE));
    EXPECT_EQ(nullptr, query(object, theClassInfoID));
}

TEST_F(Component, TheRegistrarHasTheLastWordOnRegistration)
{
    // Slot 4 is RegisterSelf(), 5 is UnregisterSelf().
    const std::string cid = theClassID;
    EXPECT_EQ(UT_OK, utCall(module, 4, &manager, "here.so", "loader", "type"));
    EXPECT_EQ(
        cid + " Valdrin Connection Component @norvex.com/valdrinconnection;1 "
              "here.so loader type",
        manager.lastCall);
    manager.answer = UT_FAILURE;
    EXPECT_EQ(UT_FAILURE, utCall(module, 4, &manager, "", "", ""));
    // It has none on the way back.
    EXPECT_EQ(UT_OK, utCall(module, 5, &manager, "here.so", "loader"));
    EXPECT_EQ(cid + " here.so", manager.lastCall);
}
