// The part of the browser platform's binary interface that the component uses:
// identifiers, result codes and the interfaces it implements or calls.
//
// These are declarations of our own, bit for bit the platform's. Interfaces
// stay at global scope under these names, methods keep their order, and no
// interface gets a virtual destructor or an overload: either would move the
// slots of everything derived from it.

#pragma once

#include "SYS/SYS_Types.h"

#include <cstring>

/// A result code; the top bit is set for failures.
using nsresult = uint32;
/// A reference count, as AddRef() and Release() return it.
using nsrefcnt = uint32;
/// The platform's truth value, as wide as an `int`.
using PRBool = int32;
using PRUint32 = uint32;
using PRInt32 = int32;

constexpr nsresult NS_OK = 0;
constexpr nsresult NS_ERROR_NOT_IMPLEMENTED = 0x80004001;
constexpr nsresult NS_ERROR_NO_INTERFACE = 0x80004002;
constexpr nsresult NS_ERROR_NULL_POINTER = 0x80004003;
constexpr nsresult NS_ERROR_FAILURE = 0x80004005;
constexpr nsresult NS_ERROR_UNEXPECTED = 0x8000FFFF;
constexpr nsresult NS_ERROR_OUT_OF_MEMORY = 0x8007000E;
constexpr nsresult NS_ERROR_NO_AGGREGATION = 0x80040110;
constexpr nsresult NS_ERROR_FACTORY_NOT_REGISTERED = 0x80040154;

/// Whether `result` is a failure.
constexpr bool
NS_FAILED(nsresult result)
{
    return (result & 0x80000000) != 0;
}

/// The identifier of an interface or a class. In the text form
/// 00112233-4455-6677-8899-aabbccddeeff the first three groups are numbers in
/// the machine's byte order; the other eight bytes are in the order of the
/// text.
struct nsID
{
    uint32 m0;
    uint16 m1;
    uint16 m2;
    uint8 m3[8];
};

static_assert(sizeof(nsID) == 16 && alignof(nsID) == 4);

inline bool
operator==(const nsID &a, const nsID &b)
{
    return memcmp(&a, &b, sizeof(nsID)) == 0;
}

using nsIID = nsID;
using nsCID = nsID;

/// A file of the platform. It is only passed on.
class nsIFile;

/// The base of every interface.
class nsISupports
{
public:
    static constexpr nsID IID = {
        0x00000000, 0x0000, 0x0000, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}
    };

    /// Stores this object's interface `iid`, with a reference that the caller
    /// owns; null with NS_ERROR_NO_INTERFACE when it has none.
    virtual nsresult QueryInterface(const nsID &iid, void **result) = 0;

    /// Adds a reference. Returns the new count.
    virtual nsrefcnt AddRef() = 0;

    /// Ends a reference; the last one destroys the object. Returns the new
    /// count.
    virtual nsrefcnt Release() = 0;

protected:
    ~nsISupports() = default;
};

/// Creates the instances of one class.
class nsIFactory : public nsISupports
{
public:
    static constexpr nsID IID = {
        0x00000001, 0x0000, 0x0000, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}
    };

    /// Stores a new instance's interface `iid`, with a reference that the
    /// caller owns. `outer` is the aggregating object, or null.
    virtual nsresult
    CreateInstance(nsISupports *outer, const nsID &iid, void **result) = 0;

    /// Requests that the factory stay loaded, or ends such a request.
    virtual nsresult LockFactory(PRBool lock) = 0;

protected:
    ~nsIFactory() = default;
};

/// The description of a class for the script bridge. Returned texts,
/// identifiers and arrays come from the platform's allocator; the caller frees
/// them there.
class nsIClassInfo : public nsISupports
{
public:
    static constexpr nsID IID = {
        0x986c11d0,
        0xf340,
        0x11d4,
        {0x90, 0x75, 0x00, 0x10, 0xa4, 0xe7, 0x3d, 0x9a}
    };

    /// Bits of GetFlags().
    static constexpr PRUint32 EAGER_CLASSINFO = 32;

    /// Numbers of GetImplementationLanguage().
    static constexpr PRUint32 CPLUSPLUS = 1;

    /// Stores the interfaces that an instance has. The caller frees each
    /// element and then the array.
    virtual nsresult GetInterfaces(PRUint32 *count, nsID ***array) = 0;

    /// Stores a helper object for `language`; null for none.
    virtual nsresult
    GetHelperForLanguage(PRUint32 language, nsISupports **result) = 0;

    virtual nsresult GetContractID(char **result) = 0;
    virtual nsresult GetClassDescription(char **result) = 0;
    virtual nsresult GetClassID(nsID **result) = 0;
    virtual nsresult GetImplementationLanguage(PRUint32 *result) = 0;
    virtual nsresult GetFlags(PRUint32 *result) = 0;

    /// Stores the class identifier in the caller's 16 bytes.
    virtual nsresult GetClassIDNoAlloc(nsID *result) = 0;

protected:
    ~nsIClassInfo() = default;
};

/// The platform's table of classes.
class nsIComponentManager : public nsISupports
{
public:
    static constexpr nsID IID = {
        0xa88e5a60,
        0x205a,
        0x4bb1,
        {0x94, 0xe1, 0x26, 0x28, 0xda, 0xf5, 0x1e, 0xae}
    };

    virtual nsresult
    GetClassObject(const nsID &cid, const nsID &iid, void **result) = 0;
    virtual nsresult GetClassObjectByContractID(
        const char *contract, const nsID &iid, void **result) = 0;
    virtual nsresult CreateInstance(
        const nsID &cid, nsISupports *outer, const nsID &iid,
        void **result) = 0;
    virtual nsresult CreateInstanceByContractID(
        const char *contract, nsISupports *outer, const nsID &iid,
        void **result) = 0;

protected:
    ~nsIComponentManager() = default;
};

class nsISimpleEnumerator;

/// The component manager's interface for registering classes, obtained by
/// QueryInterface() on the manager.
class nsIComponentRegistrar : public nsISupports
{
public:
    static constexpr nsID IID = {
        0x2417cbfe,
        0x65ad,
        0x48a6,
        {0xb4, 0xb6, 0xeb, 0x84, 0xdb, 0x17, 0x43, 0x92}
    };

    virtual nsresult AutoRegister(nsIFile *file) = 0;
    virtual nsresult AutoUnregister(nsIFile *file) = 0;
    virtual nsresult RegisterFactory(
        const nsID &cid, const char *className, const char *contract,
        nsIFactory *factory) = 0;
    virtual nsresult
    UnregisterFactory(const nsID &cid, nsIFactory *factory) = 0;
    virtual nsresult RegisterFactoryLocation(
        const nsID &cid, const char *className, const char *contract,
        nsIFile *file, const char *loader, const char *type) = 0;
    virtual nsresult
    UnregisterFactoryLocation(const nsID &cid, nsIFile *file) = 0;
    virtual nsresult IsCIDRegistered(const nsID &cid, PRBool *result) = 0;
    virtual nsresult
    IsContractIDRegistered(const char *contract, PRBool *result) = 0;
    virtual nsresult EnumerateCIDs(nsISimpleEnumerator **result) = 0;
    virtual nsresult EnumerateContractIDs(nsISimpleEnumerator **result) = 0;
    virtual nsresult CIDToContractID(const nsID &cid, char **result) = 0;
    virtual nsresult ContractIDToCID(const char *contract, nsID **result) = 0;

protected:
    ~nsIComponentRegistrar() = default;
};

/// The module of a component library, for the component manager.
class nsIModule : public nsISupports
{
public:
    static constexpr nsID IID = {
        0x7392d032,
        0x5371,
        0x11d3,
        {0x99, 0x4e, 0x00, 0x80, 0x5f, 0xd2, 0x6f, 0xee}
    };

    /// Stores the interface `iid` of an object for the class `cid`, usually its
    /// factory, with a reference that the caller owns.
    virtual nsresult GetClassObject(
        nsIComponentManager *manager, const nsID &cid, const nsID &iid,
        void **result) = 0;

    /// Registers the classes in the library at `location` with the manager.
    virtual nsresult RegisterSelf(
        nsIComponentManager *manager, nsIFile *location, const char *loader,
        const char *type) = 0;

    /// Removes the registration of the classes.
    virtual nsresult UnregisterSelf(
        nsIComponentManager *manager, nsIFile *location,
        const char *loader) = 0;

    /// Stores whether the library may be unloaded.
    virtual nsresult
    CanUnload(nsIComponentManager *manager, PRBool *result) = 0;

protected:
    ~nsIModule() = default;
};

/// The type of `NSGetModule`, the one symbol that the platform looks up in a
/// component library. The caller owns one reference to the module.
using nsGetModuleProc = nsresult (*)(
    nsIComponentManager *manager, nsIFile *location, nsIModule **result);
