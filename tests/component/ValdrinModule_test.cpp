// The module as the component manager uses it: first the one that NSGetModule
// makes, then one made from records that use all that a record can have.

#include "ut_ComponentSlots.h"

#include "component/nsGenericModule.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace
{
class ValdrinModule : public ::testing::Test
{
protected:
    ValdrinModule()
    {
        EXPECT_EQ(UT_OK, NSGetModule(nullptr, nullptr, &myModule));
    }
    ~ValdrinModule() override
    {
        EXPECT_EQ(0U, utRelease(myModule));
        EXPECT_EQ(0, myManager.references);
    }

    const ut_ModuleSlots &slots() const
    {
        return utSlots<ut_ModuleSlots>(myModule);
    }

    uint32_t classObject(const uint8_t *iid, void **result)
    {
        return utGetClassObject(myModule, &myManager, iid, result);
    }

    void *factory()
    {
        void *result = nullptr;
        EXPECT_EQ(UT_OK, classObject(theFactoryID, &result));
        return result;
    }

    // Whether an instance finds class info.
    static bool hasClassInfo(void *object)
    {
        void *info = nullptr;
        const uint32_t code = utQuery(object, theClassInfoID, &info);
        EXPECT_EQ(info ? UT_OK : UT_NO_INTERFACE, code);
        if (info)
            utRelease(info);
        return info != nullptr;
    }

    ut_StandInManager myManager;
    void *myModule = nullptr;
};
} // namespace

// A text in the allocator that serves when there is no platform.
static std::string
utTake(char *text)
{
    std::string copy(text ? text : "(null)");
    free(text);
    return copy;
}

TEST_F(ValdrinModule, TheCallerOwnsTheOneReference)
{
    EXPECT_EQ(2U, slots().addRef(myModule));
    EXPECT_EQ(1U, utRelease(myModule));
    for (const uint8_t *iid : {theSupportsID, theModuleID})
    {
        void *face = nullptr;
        EXPECT_EQ(UT_OK, utQuery(myModule, iid, &face));
        EXPECT_EQ(myModule, face);
        EXPECT_EQ(1U, utRelease(face));
    }
    void *face = &myManager;
    EXPECT_EQ(UT_NO_INTERFACE, utQuery(myModule, theFactoryID, &face));
    EXPECT_EQ(nullptr, face);

    void *second = nullptr;
    EXPECT_EQ(UT_OK, NSGetModule(nullptr, nullptr, &second));
    EXPECT_NE(myModule, second);
    EXPECT_EQ(0U, utRelease(second));
}

TEST_F(ValdrinModule, ClassObjectsNeedARegistrarOnce)
{
    void *face = &face;
    EXPECT_EQ(UT_NULL_POINTER, classObject(theFactoryID, nullptr));
    EXPECT_EQ(
        UT_NULL_POINTER,
        utGetClassObject(myModule, nullptr, theFactoryID, &face));
    EXPECT_EQ(nullptr, face);
    myManager.isRegistrar = false;
    EXPECT_EQ(UT_NO_INTERFACE, classObject(theFactoryID, &face));
    myManager.isRegistrar = true;
    face = &face;
    EXPECT_EQ(
        UT_NOT_REGISTERED,
        slots().getClassObject(
            myModule, &myManager, theUnknownID, theFactoryID, &face));
    EXPECT_EQ(nullptr, face);

    // From here on the manager is not asked again.
    myManager.isRegistrar = false;
    EXPECT_EQ(UT_OK, classObject(theFactoryID, &face));
    EXPECT_EQ(0U, utRelease(face));
    face = &face;
    EXPECT_EQ(UT_NO_INTERFACE, classObject(theModuleID, &face));
    EXPECT_EQ(nullptr, face);
}

TEST_F(ValdrinModule, TheFactorySideIsTheObjectsIdentity)
{
    void *const object = factory();
    void *info = nullptr;
    const ut_FactorySlots &factorySlots = utSlots<ut_FactorySlots>(object);
    EXPECT_EQ(UT_OK, utQuery(object, theClassInfoID, &info));
    EXPECT_NE(object, info);
    for (void *asked : {object, info})
        for (const uint8_t *iid :
             {theSupportsID, theFactoryID, theGenericFactoryID})
        {
            void *face = nullptr;
            EXPECT_EQ(UT_OK, utQuery(asked, iid, &face));
            EXPECT_EQ(object, face);
            EXPECT_EQ(2U, utRelease(face));
        }
    void *face = &face;
    EXPECT_EQ(UT_NO_INTERFACE, utQuery(object, theModuleID, &face));
    EXPECT_EQ(nullptr, face);
    EXPECT_EQ(UT_OK, factorySlots.lockFactory(object, 1));
    EXPECT_EQ(1U, utRelease(object));
    EXPECT_EQ(0U, utRelease(info));
}

TEST_F(ValdrinModule, TheFactoryRefusesWithANullResult)
{
    void *const object = factory();
    const ut_FactorySlots &factorySlots = utSlots<ut_FactorySlots>(object);
    const struct
    {
        void *outer;
        const uint8_t *iid;
        uint32_t code;
    } cases[] = {
        {&myManager, theConnectionID, UT_NO_AGGREGATION},
        {&myManager, theUnknownID,    UT_NO_AGGREGATION},
        {nullptr,    theUnknownID,    UT_NO_INTERFACE  },
        {nullptr,    theFactoryID,    UT_NO_INTERFACE  },
    };
    for (const auto &row : cases)
    {
        void *face = &face;
        EXPECT_EQ(
            row.code,
            factorySlots.createInstance(object, row.outer, row.iid, &face));
        EXPECT_EQ(nullptr, face);
    }
    for (const uint8_t *iid : {theConnectionID, theSupportsID})
    {
        void *instance = nullptr;
        EXPECT_EQ(UT_OK, utCreate(object, iid, &instance));
        EXPECT_EQ(0U, utRelease(instance));
    }
    utRelease(object);
}

TEST_F(ValdrinModule, ClassInfoTellsTheRecord)
{
    void *info = nullptr;
    ASSERT_EQ(UT_OK, classObject(theClassInfoID, &info));
    const ut_ClassInfoSlots &infoSlots = utSlots<ut_ClassInfoSlots>(info);

    uint32_t count = 0;
    void **array = nullptr;
    EXPECT_EQ(UT_OK, infoSlots.getInterfaces(info, &count, &array));
    ASSERT_EQ(1U, count);
    EXPECT_EQ(0, memcmp(array[0], theConnectionID, sizeof(ut_ID)));
    free(array[0]);
    free(array);

    for (uint32_t language = 0; language < 6; ++language)
    {
        void *helper = info;
        EXPECT_EQ(
            UT_OK, infoSlots.getHelperForLanguage(info, language, &helper));
        EXPECT_EQ(nullptr, helper);
    }

    char *text = nullptr;
    EXPECT_EQ(UT_OK, infoSlots.getContractID(info, &text));
    EXPECT_EQ("@norvex.com/valdrinconnection;1", utTake(text));
    EXPECT_EQ(UT_OK, infoSlots.getClassDescription(info, &text));
    EXPECT_EQ("Valdrin Connection Component", utTake(text));

    void *cid = nullptr;
    EXPECT_EQ(UT_OK, infoSlots.getClassID(info, &cid));
    EXPECT_EQ(0, memcmp(cid, theConnectionClassID, sizeof(ut_ID)));
    free(cid);
    ut_ID inPlace = {};
    EXPECT_EQ(UT_OK, infoSlots.getClassIDNoAlloc(info, inPlace));
    EXPECT_EQ(0, memcmp(inPlace, theConnectionClassID, sizeof(ut_ID)));

    uint32_t number = 77;
    EXPECT_EQ(UT_OK, infoSlots.getImplementationLanguage(info, &number));
    EXPECT_EQ(1U, number);
    EXPECT_EQ(UT_OK, infoSlots.getFlags(info, &number));
    EXPECT_EQ(0U, number);
    EXPECT_EQ(0U, utRelease(info));
}

TEST_F(ValdrinModule, AnyFactorysDeathTakesTheClassInfo)
{
    void *const older = factory();
    void *instance = nullptr;
    utCreate(older, theConnectionID, &instance);
    EXPECT_TRUE(hasClassInfo(instance));
    void *const younger = factory();
    EXPECT_NE(older, younger);
    EXPECT_TRUE(hasClassInfo(instance));
    EXPECT_EQ(0U, utRelease(older));
    EXPECT_FALSE(hasClassInfo(instance));
    EXPECT_EQ(0U, utRelease(younger));
    EXPECT_FALSE(hasClassInfo(instance));

    // Also one that dies at birth, for want of the interface asked for.
    void *const third = factory();
    EXPECT_TRUE(hasClassInfo(instance));
    void *face = nullptr;
    EXPECT_EQ(UT_NO_INTERFACE, classObject(theUnknownID, &face));
    EXPECT_FALSE(hasClassInfo(instance));
    EXPECT_EQ(0U, utRelease(third));
    EXPECT_EQ(0U, utRelease(instance));
}

TEST_F(ValdrinModule, RegistrationGoesThroughTheRegistrar)
{
    char location[] = "here.so";
    EXPECT_EQ(
        UT_OK,
        slots().registerSelf(myModule, &myManager, location, "loader", "type"));
    EXPECT_EQ(
        UT_OK,
        slots().unregisterSelf(myModule, &myManager, location, "loader"));
    EXPECT_EQ(
        "location Valdrin Connection Component @norvex.com/valdrinconnection;1 "
        "here.so loader type\ngone here.so\n",
        myManager.log);

    // What the registrar says counts for one direction only.
    myManager.answer = UT_FAILURE;
    EXPECT_EQ(
        UT_FAILURE,
        slots().registerSelf(myModule, &myManager, location, "", ""));
    EXPECT_EQ(
        UT_OK, slots().unregisterSelf(myModule, &myManager, location, ""));
    EXPECT_EQ(
        UT_NULL_POINTER,
        slots().registerSelf(myModule, nullptr, location, "", ""));
    EXPECT_EQ(UT_OK, slots().unregisterSelf(myModule, nullptr, location, ""));
}

TEST_F(ValdrinModule, UnloadingIsRefusedWithAFailure)
{
    int32_t answer = 77;
    EXPECT_EQ(UT_FAILURE, slots().canUnload(myModule, &myManager, &answer));
    EXPECT_EQ(0, answer);
    EXPECT_EQ(
        UT_NULL_POINTER, slots().canUnload(myModule, &myManager, nullptr));
}

// ---- Records with all that there is -----------------------------------------

static std::string theLog;
static nsresult theConstructorsAnswer;
static nsresult theRegistrationsAnswer;
static nsIClassInfo *theInfos[3];

static nsresult
utConstructModule(nsIModule *)
{
    theLog += "construct ";
    return theConstructorsAnswer;
}

static void
utDestructModule(nsIModule *)
{
    theLog += "destruct ";
}

static nsresult
utConstructInstance(nsISupports *, const nsID &, void **)
{
    return NS_ERROR_UNEXPECTED;
}

static nsresult
utRegister(
    nsIComponentManager *, nsIFile *, const char *, const char *,
    const nsModuleComponentInfo *info)
{
    theLog += std::string("register:") + info->description + " ";
    return theRegistrationsAnswer;
}

static nsresult
utUnregister(
    nsIComponentManager *, nsIFile *, const char *,
    const nsModuleComponentInfo *info)
{
    theLog += std::string("unregister:") + info->description + " ";
    return NS_ERROR_FAILURE;
}

static nsresult
utDropFactory()
{
    theLog += "drop ";
    return NS_OK;
}

static nsresult
utHelp(PRUint32 language, nsISupports **result)
{
    *result = nullptr;
    return NS_ERROR_NOT_IMPLEMENTED + language;
}

static const nsModuleComponentInfo theComponents[] = {
  // made by the platform when it is asked for
    {"late",
     {1, 0, 0, {}},
     nullptr,  utConstructInstance,
     utRegister, utUnregister,
     utDropFactory, nullptr,
     utHelp,  &theInfos[0],
     0 },
 // has nothing but class info
    {"bare",
     {2, 0, 0, {}},
     "@bare",  nullptr,
     utRegister, utUnregister,
     utDropFactory, nullptr,
     nullptr, &theInfos[1],
     4 },
 // wants its class info early
    {"early",
     {3, 0, 0, {}},
     "@early", utConstructInstance,
     nullptr,    nullptr,
     nullptr,       nullptr,
     nullptr, &theInfos[2],
     32},
};

static const nsModuleInfo theModule = {
    NS_MODULEINFO_VERSION, "test",           theComponents, 3,
    utConstructModule,     utDestructModule,
};

namespace
{
class ValdrinGenericModule : public ::testing::Test
{
protected:
    ValdrinGenericModule()
    {
        theLog.clear();
        theConstructorsAnswer = NS_OK;
        theRegistrationsAnswer = NS_OK;
        nsIModule *module = nullptr;
        EXPECT_EQ(NS_OK, NS_NewGenericModule2(&theModule, &module));
        myModule = module;
    }

    uint32_t classObject(uint8_t number, const uint8_t *iid, void **result)
    {
        const ut_ID cid = {number};
        return utSlots<ut_ModuleSlots>(myModule).getClassObject(
            myModule, &myManager, cid, iid, result);
    }

    ut_StandInManager myManager;
    void *myModule = nullptr;
};
} // namespace

TEST_F(ValdrinGenericModule, TheFirstClassObjectWaitsForTheConstructor)
{
    void *face = nullptr;
    theConstructorsAnswer = NS_ERROR_UNEXPECTED;
    EXPECT_EQ(NS_ERROR_UNEXPECTED, classObject(1, theFactoryID, &face));
    theConstructorsAnswer = NS_OK;
    myManager.answer = NS_ERROR_FAILURE; // the early one finds no place
    EXPECT_EQ(NS_ERROR_FAILURE, classObject(1, theFactoryID, &face));
    EXPECT_EQ("construct construct drop ", theLog);
    EXPECT_EQ(nullptr, theInfos[1]);
    EXPECT_EQ(0U, utRelease(myModule)); // never ready: no destructor runs
    EXPECT_EQ("construct construct drop ", theLog);
    EXPECT_EQ(0, myManager.references);
}

TEST_F(ValdrinGenericModule, EarlyClassInfoLivesWithItsKeeper)
{
    void *face = nullptr;
    EXPECT_EQ(NS_OK, classObject(1, theFactoryID, &face));
    EXPECT_EQ("construct ", theLog);
    EXPECT_EQ("factory early @early\n", myManager.log);
    EXPECT_NE(nullptr, theInfos[0]);
    EXPECT_NE(nullptr, theInfos[1]);
    EXPECT_EQ(nullptr, theInfos[2]); // the registrar did not keep it
    EXPECT_EQ(NS_ERROR_UNEXPECTED, utCreate(face, theUnknownID, nullptr));
    EXPECT_EQ(0U, utRelease(face));
    EXPECT_EQ("construct drop ", theLog);
    EXPECT_EQ(nullptr, theInfos[0]);
    EXPECT_EQ(0U, utRelease(myModule));
    EXPECT_EQ("construct drop drop destruct ", theLog);
    EXPECT_EQ(nullptr, theInfos[1]);
}

TEST_F(ValdrinGenericModule, AbsentCallbacksHaveAnswers)
{
    void *face = nullptr;
    EXPECT_EQ(NS_OK, classObject(2, theFactoryID, &face));
    EXPECT_EQ(UT_NOT_REGISTERED, utCreate(face, theUnknownID, nullptr));
    utRelease(face);

    EXPECT_EQ(NS_OK, classObject(1, theClassInfoID, &face));
    const ut_ClassInfoSlots &infoSlots = utSlots<ut_ClassInfoSlots>(face);
    uint32_t number = 77;
    void **array = &face;
    EXPECT_EQ(NS_OK, infoSlots.getInterfaces(face, &number, &array));
    EXPECT_EQ(0U, number);
    EXPECT_EQ(nullptr, array);
    char text[] = "";
    char *contract = text;
    EXPECT_EQ(NS_OK, infoSlots.getContractID(face, &contract));
    EXPECT_EQ(nullptr, contract);
    void *helper = face;
    EXPECT_EQ(
        NS_ERROR_NOT_IMPLEMENTED + 2,
        infoSlots.getHelperForLanguage(face, 2, &helper));
    utRelease(face);

    EXPECT_EQ(NS_OK, classObject(2, theClassInfoID, &face));
    EXPECT_EQ(NS_OK, utSlots<ut_ClassInfoSlots>(face).getFlags(face, &number));
    EXPECT_EQ(4U, number);
    utRelease(face);
    utRelease(myModule);
}

TEST_F(ValdrinGenericModule, RegistrationStopsAtTheFirstFailure)
{
    const ut_ModuleSlots &slots = utSlots<ut_ModuleSlots>(myModule);
    EXPECT_EQ(
        NS_OK, slots.registerSelf(myModule, &myManager, nullptr, "l", "t"));
    EXPECT_EQ("register:late register:bare ", theLog);
    EXPECT_EQ(
        "other late null null l t\nother early @early null l t\n",
        myManager.log);
    theLog.clear();
    myManager.log.clear();
    theRegistrationsAnswer = NS_ERROR_UNEXPECTED;
    EXPECT_EQ(
        NS_ERROR_UNEXPECTED,
        slots.registerSelf(myModule, &myManager, nullptr, "l", "t"));
    EXPECT_EQ("register:late ", theLog);
    theLog.clear();
    myManager.log.clear();
    EXPECT_EQ(NS_OK, slots.unregisterSelf(myModule, &myManager, nullptr, "l"));
    EXPECT_EQ("unregister:late unregister:bare ", theLog);
    EXPECT_EQ(
        "other gone null\nother gone null\nother gone null\n", myManager.log);
    utRelease(myModule);
}
