// The records from which the platform creates a module, and the platform's
// functions that the component uses. The library has definitions of its own for
// browsers that do not export theirs; they are weak, so the platform's take
// precedence.

#pragma once

#include "nsXPCOM.h"

#include <cstddef>

struct nsModuleComponentInfo;

using NSConstructorProcPtr =
    nsresult (*)(nsISupports *outer, const nsID &iid, void **result);
using NSRegisterSelfProcPtr = nsresult (*)(
    nsIComponentManager *manager, nsIFile *location, const char *loader,
    const char *type, const nsModuleComponentInfo *info);
using NSUnregisterSelfProcPtr = nsresult (*)(
    nsIComponentManager *manager, nsIFile *location, const char *loader,
    const nsModuleComponentInfo *info);
using NSFactoryDestructorProcPtr = nsresult (*)();
using NSGetInterfacesProcPtr = nsresult (*)(PRUint32 *count, nsID ***array);
using NSGetLanguageHelperProcPtr =
    nsresult (*)(PRUint32 language, nsISupports **result);

/// One class of a module. Callbacks, texts and the class-info global may be
/// null. The platform keeps pointers to the record: it lives as long as the
/// library.
struct nsModuleComponentInfo
{
    const char *description;
    nsID cid;
    const char *contractID;
    NSConstructorProcPtr constructor;
    NSRegisterSelfProcPtr registerSelf;
    NSUnregisterSelfProcPtr unregisterSelf;
    NSFactoryDestructorProcPtr factoryDestructor;
    NSGetInterfacesProcPtr getInterfaces;
    NSGetLanguageHelperProcPtr getLanguageHelper;
    nsIClassInfo **classInfoGlobal; // filled in by the factory object, weak
    PRUint32 flags;                 // as nsIClassInfo reports them
};

/// The layout of the records that this header declares.
constexpr PRUint32 NS_MODULEINFO_VERSION = 0x00015000;

using nsModuleConstructorProc = nsresult (*)(nsIModule *module);
using nsModuleDestructorProc = void (*)(nsIModule *module);

/// A module: its classes, a function that runs before its first class object is
/// created, and one that runs when it is destroyed. It lives as long as the
/// library.
///
/// The library's own modules call the constructor until it succeeds. They call
/// the destructor once if it did, whatever failed later; without a constructor
/// they call it if nothing failed. The constructor may ask the module for its
/// classes.
struct nsModuleInfo
{
    PRUint32 version;
    const char *moduleName;
    const nsModuleComponentInfo *components;
    PRUint32 count;
    nsModuleConstructorProc constructor;
    nsModuleDestructorProc destructor;
};

// The platform reads and keeps both records by these offsets.
static_assert(offsetof(nsModuleInfo, version) == 0);
static_assert(offsetof(nsModuleInfo, moduleName) == sizeof(void *));
static_assert(offsetof(nsModuleInfo, components) == 2 * sizeof(void *));
static_assert(offsetof(nsModuleInfo, count) == 3 * sizeof(void *));
static_assert(offsetof(nsModuleInfo, constructor) == 4 * sizeof(void *));
static_assert(offsetof(nsModuleInfo, destructor) == 5 * sizeof(void *));
static_assert(sizeof(nsModuleInfo) == 6 * sizeof(void *));

static_assert(offsetof(nsModuleComponentInfo, description) == 0);
static_assert(offsetof(nsModuleComponentInfo, cid) == sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, contractID) == 16 + sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, constructor) == 16 + 2 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, registerSelf) == 16 + 3 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, unregisterSelf) == 16 + 4 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, factoryDestructor) ==
    16 + 5 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, getInterfaces) == 16 + 6 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, getLanguageHelper) ==
    16 + 7 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, classInfoGlobal) ==
    16 + 8 * sizeof(void *));
static_assert(
    offsetof(nsModuleComponentInfo, flags) == 16 + 9 * sizeof(void *));
static_assert(sizeof(nsModuleComponentInfo) == 16 + 10 * sizeof(void *));

/// Creates the module that `info` describes and stores it with one reference,
/// which the caller owns. `info` and the records that it points at are kept,
/// must outlive the module. Returns NS_ERROR_OUT_OF_MEMORY, and stores nothing,
/// when memory runs out.
__attribute__((visibility("default"))) nsresult
NS_NewGenericModule2(const nsModuleInfo *info, nsIModule **result);

/// The platform's allocator, for memory that the platform takes over.
class nsMemory
{
public:
    /// `size` bytes, or null when memory runs out.
    __attribute__((visibility("default"))) static void *Alloc(size_t size);

    /// A copy of `size` bytes, or null when memory runs out.
    __attribute__((visibility("default"))) static void *
    Clone(const void *bytes, size_t size);
};
