// The platform's interfaces as a caller without our declarations sees them: an
// object is a pointer to a table of functions, which take the object first.
// A slot that moved is then a wrong call here, not an agreement.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// The identifiers as they lie in memory.
using ut_ID = uint8_t[16];

static const ut_ID theSupportsID = {0,    0, 0, 0, 0, 0, 0, 0,
                                    0xc0, 0, 0, 0, 0, 0, 0, 0x46};
static const ut_ID theFactoryID = {1,    0, 0, 0, 0, 0, 0, 0,
                                   0xc0, 0, 0, 0, 0, 0, 0, 0x46};
static const ut_ID theModuleID = {0x32, 0xd0, 0x92, 0x73, 0x71, 0x53,
                                  0xd3, 0x11, 0x99, 0x4e, 0x00, 0x80,
                                  0x5f, 0xd2, 0x6f, 0xee};
static const ut_ID theClassInfoID = {0xd0, 0x11, 0x6c, 0x98, 0x40, 0xf3,
                                     0xd4, 0x11, 0x90, 0x75, 0x00, 0x10,
                                     0xa4, 0xe7, 0x3d, 0x9a};
static const ut_ID theGenericFactoryID = {0x00, 0x7f, 0xc9, 0x3b, 0xdf, 0xcc,
                                          0xd2, 0x11, 0xba, 0xb8, 0xb5, 0x48,
                                          0x65, 0x44, 0x61, 0xfc};
static const ut_ID theRegistrarID = {0xfe, 0xcb, 0x17, 0x24, 0xad, 0x65,
                                     0xa6, 0x48, 0xb4, 0xb6, 0xeb, 0x84,
                                     0xdb, 0x17, 0x43, 0x92};
static const ut_ID theConnectionID = {0x06, 0x83, 0xae, 0x7e, 0x9f, 0x9d,
                                      0xaa, 0x43, 0xae, 0xff, 0x51, 0x7e,
                                      0x86, 0xa3, 0xd0, 0x6f};
static const ut_ID theConnectionClassID = {0x75, 0xfb, 0xd2, 0xbc, 0x43, 0xa2,
                                           0xf1, 0x48, 0xb4, 0x95, 0xf3, 0xaa,
                                           0x18, 0xea, 0x5c, 0x25};
static const ut_ID theUnknownID = {0xde, 0xad};

// Result codes.
enum : uint32_t
{
    UT_OK = 0,
    UT_NO_INTERFACE = 0x80004002,
    UT_NULL_POINTER = 0x80004003,
    UT_FAILURE = 0x80004005,
    UT_OUT_OF_MEMORY = 0x8007000E,
    UT_NO_AGGREGATION = 0x80040110,
    UT_NOT_REGISTERED = 0x80040154
};

struct ut_SupportsSlots
{
    uint32_t (*queryInterface)(void *, const uint8_t *, void **);
    uint32_t (*addRef)(void *);
    uint32_t (*release)(void *);
};

struct ut_ConnectionSlots : ut_SupportsSlots
{
    uint32_t (*setSocketPortNum)(void *, int32_t);
    uint32_t (*run)(void *, const char *, char **);
    uint32_t (*runPythonStatements)(void *, const char *);
    uint32_t (*runPythonExpression)(void *, const char *, char **);
    uint32_t (*stashString)(void *, const char *);
    uint32_t (*getStashedString)(void *, char **);
    void (*destroy)(void *);
    void (*destroyAndDelete)(void *);
};

struct ut_FactorySlots : ut_SupportsSlots
{
    uint32_t (*createInstance)(void *, void *, const uint8_t *, void **);
    uint32_t (*lockFactory)(void *, int32_t);
};

struct ut_ClassInfoSlots : ut_SupportsSlots
{
    uint32_t (*getInterfaces)(void *, uint32_t *, void ***);
    uint32_t (*getHelperForLanguage)(void *, uint32_t, void **);
    uint32_t (*getContractID)(void *, char **);
    uint32_t (*getClassDescription)(void *, char **);
    uint32_t (*getClassID)(void *, void **);
    uint32_t (*getImplementationLanguage)(void *, uint32_t *);
    uint32_t (*getFlags)(void *, uint32_t *);
    uint32_t (*getClassIDNoAlloc)(void *, uint8_t *);
};

struct ut_ModuleSlots : ut_SupportsSlots
{
    uint32_t (*getClassObject)(
        void *, void *, const uint8_t *, const uint8_t *, void **);
    uint32_t (*registerSelf)(
        void *, void *, void *, const char *, const char *);
    uint32_t (*unregisterSelf)(void *, void *, void *, const char *);
    uint32_t (*canUnload)(void *, void *, int32_t *);
};

struct ut_RegistrarSlots : ut_SupportsSlots
{
    void (*unused3)();
    void (*unused4)();
    uint32_t (*registerFactory)(
        void *, const uint8_t *, const char *, const char *, void *);
    void (*unused6)();
    uint32_t (*registerFactoryLocation)(
        void *, const uint8_t *, const char *, const char *, void *,
        const char *, const char *);
    uint32_t (*unregisterFactoryLocation)(void *, const uint8_t *, void *);
};

// The first word of every object.
template <class Slots>
struct ut_Object
{
    const Slots *slots;
};

// The table of `object`.
template <class Slots>
const Slots &
utSlots(void *object)
{
    return *static_cast<ut_Object<Slots> *>(object)->slots;
}

inline uint32_t
utRelease(void *object)
{
    return utSlots<ut_SupportsSlots>(object).release(object);
}

inline uint32_t
utQuery(void *object, const uint8_t *iid, void **face)
{
    return utSlots<ut_SupportsSlots>(object).queryInterface(object, iid, face);
}

inline uint32_t
utGetClassObject(void *module, void *manager, const uint8_t *iid, void **face)
{
    return utSlots<ut_ModuleSlots>(module).getClassObject(
        module, manager, theConnectionClassID, iid, face);
}

inline uint32_t
utCreate(void *factory, const uint8_t *iid, void **face)
{
    return utSlots<ut_FactorySlots>(factory).createInstance(
        factory, nullptr, iid, face);
}

// A component manager that is its own registrar and writes down what it is
// told. The registrar's face is the only one with slots of its own.
struct ut_StandInManager : ut_Object<ut_RegistrarSlots>
{
    ut_StandInManager();

    int references = 0;      // taken and not given back
    bool isRegistrar = true; // has that face
    uint32_t answer = UT_OK; // to whatever is registered
    std::string log;         // what was, in words
};

inline ut_StandInManager::ut_StandInManager()
{
    static const auto self = [](void *object)
    { return static_cast<ut_StandInManager *>(object); };
    static const auto text = [](const void *given)
    { return std::string(given ? static_cast<const char *>(given) : "null"); };
    static const auto isConnection = [](const uint8_t *cid)
    { return memcmp(cid, theConnectionClassID, sizeof(ut_ID)) == 0; };
    static const ut_RegistrarSlots theSlots = {
        {[](void *object,                                                   const uint8_t *iid, void **result) -> uint32_t
         {
             *result = nullptr;
             if (!self(object)->isRegistrar ||
                 memcmp(iid, theRegistrarID, sizeof(ut_ID)) != 0)
                 return UT_NO_INTERFACE;
             *result = object;
             ++self(object)->references;
             return UT_OK;
         }, [](void *object) { return uint32_t(++self(object)->references); },
         [](void *object) { return uint32_t(--self(object)->references); }},
        nullptr,
        nullptr,
        [](void *object, const uint8_t *, const char *name,
           const char *contract, void *)
        {
            self(object)->log +=
                "factory " + text(name) + " " + text(contract) + "\n";
            return self(object)->answer;
         },
        nullptr,
        [](void *object, const uint8_t *cid, const char *name,
           const char *contract, void *location, const char *loader,
           const char *type)
        {
            self(object)->log += (isConnection(cid) ? "location " : "other ") +
                                 text(name) + " " + text(contract) + " " +
                                 text(location) + " " + text(loader) + " " +
                                 text(type) + "\n";
            return self(object)->answer;
         },
        [](void *object, const uint8_t *cid, void *location)
        {
            self(object)->log += (isConnection(cid) ? "gone " : "other gone ") +
                                 text(location) + "\n";
            return self(object)->answer;
         },
    };
    slots = &theSlots;
}

extern "C" uint32_t NSGetModule(void *manager, void *location, void **result);
