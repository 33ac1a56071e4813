// The interface to the browser's component manager: one module with one class.

#include "ValdrinConnectionImpl.h"
#include "nsGenericModule.h"

#include "UT/UT_API.h"

#include <new>

static nsresult
ValdrinConnectionImplConstructor(
    nsISupports *outer, const nsID &iid, void **result)
{
    *result = nullptr;
    if (outer)
        return NS_ERROR_NO_AGGREGATION;
    ValdrinConnectionImpl *const object =
        new (std::nothrow) ValdrinConnectionImpl;
    if (!object)
        return NS_ERROR_OUT_OF_MEMORY;
    // The guard reference keeps the object through the question; when the
    // answer is no, releasing it destroys the object.
    object->AddRef();
    const nsresult code = object->QueryInterface(iid, result);
    object->Release();
    return code;
}

// Deliberate: allocation is not checked here.
static nsresult
ValdrinConnectionImpl_GetInterfacesHelper(PRUint32 *count, nsIID ***array)
{
    *count = 1;
    *array = static_cast<nsIID **>(nsMemory::Alloc(sizeof(nsIID *)));
    (*array)[0] = static_cast<nsIID *>(
        nsMemory::Clone(&IValdrinConnection::IID, sizeof(nsIID)));
    return NS_OK;
}

static constexpr nsCID theClassID = {
    0xbcd2fb75,
    0xa243,
    0x48f1,
    {0xb4, 0x95, 0xf3, 0xaa, 0x18, 0xea, 0x5c, 0x25}
};

static const nsModuleComponentInfo theComponent = {
    "Valdrin Connection Component",
    theClassID,
    "@norvex.com/valdrinconnection;1",
    ValdrinConnectionImplConstructor,
    /*registerSelf=*/nullptr,
    /*unregisterSelf=*/nullptr,
    /*factoryDestructor=*/nullptr,
    ValdrinConnectionImpl_GetInterfacesHelper,
    /*getLanguageHelper=*/nullptr,
    &ValdrinConnectionImpl_classInfoGlobal,
    /*flags=*/0,
};

// On the oldest platforms the record has one more pointer at its end, null for
// a module that needs no other libraries.
static const struct
{
    nsModuleInfo info;
    const void *noLibraries;
} theModule = {
    {NS_MODULEINFO_VERSION, "ValdrinConnectionModule", &theComponent, 1,
     /*constructor=*/nullptr, /*destructor=*/nullptr},
    nullptr,
};

extern "C" UT_API nsresult
NSGetModule(nsIComponentManager *, nsIFile *, nsIModule **result)
{
    return NS_NewGenericModule2(&theModule.info, result);
}
