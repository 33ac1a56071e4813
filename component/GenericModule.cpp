// The module for browsers that do not export their own. It behaves as theirs
// does, including the oddities that callers may have come to expect.

#include "nsGenericModule.h"
#include "ut_Reference.h"

#include <atomic>
#include <new>

namespace
{

// References are taken and released on any thread.
class ut_ReferenceCount
{
public:
    nsrefcnt increment()
    {
        return myCount.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    nsrefcnt decrement()
    {
        return myCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    }

private:
    std::atomic<nsrefcnt> myCount{1};
};

// Sets a flag while it lives.
class ut_Mark
{
public:
    explicit ut_Mark(bool &flag) : myFlag(flag) { myFlag = true; }
    ~ut_Mark() { myFlag = false; }
    ut_Mark(const ut_Mark &) = delete;
    ut_Mark &operator=(const ut_Mark &) = delete;

private:
    bool &myFlag;
};

// The interface that the platform's own factory objects share.
// The two methods are theirs alone and are refused here.
class ut_IGenericFactory : public nsIFactory
{
public:
    static constexpr nsID IID = {
        0x3bc97f00,
        0xccdf,
        0x11d2,
        {0xba, 0xb8, 0xb5, 0x48, 0x65, 0x44, 0x61, 0xfc}
    };

    virtual nsresult privateSlot5(const void *) = 0;
    virtual nsresult privateSlot6(const void *) = 0;

protected:
    ~ut_IGenericFactory() = default;
};

// The factory of one class, and the facts about that class.
class ut_GenericFactory : public ut_IGenericFactory, public nsIClassInfo
{
public:
    // Starts with one reference. The class-info global points here from the
    // start, without a reference: an instance made by this factory finds it.
    explicit ut_GenericFactory(const nsModuleComponentInfo &info) : myInfo(info)
    {
        if (myInfo.classInfoGlobal)
            *myInfo.classInfoGlobal = this;
    }

    nsresult QueryInterface(const nsID &iid, void **result) override;
    nsrefcnt AddRef() override { return myReferences.increment(); }
    nsrefcnt Release() override;

    nsresult
    CreateInstance(nsISupports *outer, const nsID &iid, void **result) override;
    nsresult LockFactory(PRBool) override { return NS_OK; }

    nsresult privateSlot5(const void *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }
    nsresult privateSlot6(const void *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult GetInterfaces(PRUint32 *count, nsID ***array) override;
    nsresult
    GetHelperForLanguage(PRUint32 language, nsISupports **result) override;
    nsresult GetContractID(char **result) override;
    nsresult GetClassDescription(char **result) override;
    nsresult GetClassID(nsID **result) override;
    nsresult GetImplementationLanguage(PRUint32 *result) override;
    nsresult GetFlags(PRUint32 *result) override;
    nsresult GetClassIDNoAlloc(nsID *result) override;

protected:
    virtual ~ut_GenericFactory();

private:
    const nsModuleComponentInfo &myInfo;
    ut_ReferenceCount myReferences;
};

class ut_GenericModule : public nsIModule
{
public:
    // Starts with one reference.
    explicit ut_GenericModule(const nsModuleInfo &info)
        : myComponents(info.components), myCount(info.count),
          myConstructor(info.constructor), myDestructor(info.destructor)
    {
    }

    nsresult QueryInterface(const nsID &iid, void **result) override;
    nsrefcnt AddRef() override { return myReferences.increment(); }
    nsrefcnt Release() override;

    nsresult GetClassObject(
        nsIComponentManager *manager, const nsID &cid, const nsID &iid,
        void **result) override;
    nsresult RegisterSelf(
        nsIComponentManager *manager, nsIFile *location, const char *loader,
        const char *type) override;
    nsresult UnregisterSelf(
        nsIComponentManager *manager, nsIFile *location,
        const char *loader) override;
    nsresult CanUnload(nsIComponentManager *manager, PRBool *result) override;

protected:
    virtual ~ut_GenericModule();

private:
    nsresult initialize(nsIComponentManager *manager);
    nsresult construct(nsIComponentManager *manager);
    nsresult makeEarlyFactories(nsIComponentRegistrar &registrar);
    void dropFactories();

    const nsModuleComponentInfo *myComponents;
    PRUint32 myCount;
    nsModuleConstructorProc myConstructor;
    nsModuleDestructorProc myDestructor;
    ut_ReferenceCount myReferences;
    bool myIsConstructed = false;  // myConstructor has worked
    bool myIsInitialized = false;  // all that comes before the first class
    bool myIsInitializing = false; // is being done
    // Of the components without a constructor, one reference each, else null;
    // as many as there are components.
    ut_GenericFactory **myFactories = nullptr;
};

} // namespace

// ---- The factory and class-info object

ut_GenericFactory::~ut_GenericFactory()
{
    if (myInfo.factoryDestructor)
        myInfo.factoryDestructor();
    // Deliberate: also when a younger factory has put itself there; the
    // instances then have no class info.
    if (myInfo.classInfoGlobal)
        *myInfo.classInfoGlobal = nullptr;
}

nsresult
ut_GenericFactory::QueryInterface(const nsID &iid, void **result)
{
    // The factory side is the object's identity.
    if (iid == nsISupports::IID || iid == nsIFactory::IID ||
        iid == ut_IGenericFactory::IID)
        *result = static_cast<nsIFactory *>(this);
    else if (iid == nsIClassInfo::IID)
        *result = static_cast<nsIClassInfo *>(this);
    else
    {
        *result = nullptr;
        return NS_ERROR_NO_INTERFACE;
    }
    AddRef();
    return NS_OK;
}

nsrefcnt
ut_GenericFactory::Release()
{
    const nsrefcnt left = myReferences.decrement();
    if (!left)
        delete this;
    return left;
}

nsresult
ut_GenericFactory::CreateInstance(
    nsISupports *outer, const nsID &iid, void **result)
{
    if (!myInfo.constructor)
        return NS_ERROR_FACTORY_NOT_REGISTERED;
    return myInfo.constructor(outer, iid, result);
}

nsresult
ut_GenericFactory::GetInterfaces(PRUint32 *count, nsID ***array)
{
    if (myInfo.getInterfaces)
        return myInfo.getInterfaces(count, array);
    *count = 0;
    *array = nullptr;
    return NS_OK;
}

nsresult
ut_GenericFactory::GetHelperForLanguage(PRUint32 language, nsISupports **result)
{
    if (myInfo.getLanguageHelper)
        return myInfo.getLanguageHelper(language, result);
    *result = nullptr;
    return NS_OK;
}

// A copy for the caller; null stays null.
static nsresult
utCopyText(const char *text, char **result)
{
    *result = nullptr;
    if (!text)
        return NS_OK;
    *result = static_cast<char *>(nsMemory::Clone(text, strlen(text) + 1));
    return *result ? NS_OK : NS_ERROR_OUT_OF_MEMORY;
}

nsresult
ut_GenericFactory::GetContractID(char **result)
{
    return utCopyText(myInfo.contractID, result);
}

nsresult
ut_GenericFactory::GetClassDescription(char **result)
{
    return utCopyText(myInfo.description, result);
}

nsresult
ut_GenericFactory::GetClassID(nsID **result)
{
    *result =
        static_cast<nsID *>(nsMemory::Clone(&myInfo.cid, sizeof(myInfo.cid)));
    return *result ? NS_OK : NS_ERROR_OUT_OF_MEMORY;
}

nsresult
ut_GenericFactory::GetImplementationLanguage(PRUint32 *result)
{
    *result = nsIClassInfo::CPLUSPLUS;
    return NS_OK;
}

nsresult
ut_GenericFactory::GetFlags(PRUint32 *result)
{
    *result = myInfo.flags;
    return NS_OK;
}

nsresult
ut_GenericFactory::GetClassIDNoAlloc(nsID *result)
{
    *result = myInfo.cid;
    return NS_OK;
}

// ---- The module

ut_GenericModule::~ut_GenericModule()
{
    dropFactories();
    if ((myIsConstructed || myIsInitialized) && myDestructor)
        myDestructor(this);
}

nsresult
ut_GenericModule::QueryInterface(const nsID &iid, void **result)
{
    if (!(iid == nsISupports::IID) && !(iid == nsIModule::IID))
    {
        *result = nullptr;
        return NS_ERROR_NO_INTERFACE;
    }
    *result = this;
    AddRef();
    return NS_OK;
}

nsrefcnt
ut_GenericModule::Release()
{
    const nsrefcnt left = myReferences.decrement();
    if (!left)
        delete this;
    return left;
}

void
ut_GenericModule::dropFactories()
{
    if (!myFactories)
        return;
    for (PRUint32 i = 0; i < myCount; ++i)
        if (myFactories[i])
            myFactories[i]->Release();
    delete[] myFactories;
    myFactories = nullptr;
}

// A class without a constructor has its class info only through an object that
// the module keeps; one with the eager flag leaves its object with the
// registrar.
nsresult
ut_GenericModule::makeEarlyFactories(nsIComponentRegistrar &registrar)
{
    for (PRUint32 i = 0; i < myCount; ++i)
    {
        const nsModuleComponentInfo &info = myComponents[i];
        if (info.constructor && !(info.flags & nsIClassInfo::EAGER_CLASSINFO))
            continue;
        if (!info.constructor && !myFactories)
            myFactories = new (std::nothrow) ut_GenericFactory *[myCount]();
        ut_GenericFactory *const factory =
            new (std::nothrow) ut_GenericFactory(info);
        if (!factory || (!info.constructor && !myFactories))
        {
            if (factory)
                factory->Release();
            return NS_ERROR_OUT_OF_MEMORY;
        }
        if (!info.constructor)
        {
            myFactories[i] = factory;
            continue;
        }
        const nsresult code = registrar.RegisterFactory(
            info.cid, info.description, info.contractID, factory);
        factory->Release();
        if (NS_FAILED(code))
            return code;
    }
    return NS_OK;
}

// The constructor, unless it has worked before, and the objects that are made
// early.
nsresult
ut_GenericModule::construct(nsIComponentManager *manager)
{
    if (!myIsConstructed && myConstructor)
    {
        const nsresult code = myConstructor(this);
        if (NS_FAILED(code))
            return code;
        myIsConstructed = true;
    }
    ut_Reference<nsIComponentRegistrar> registrar;
    nsresult code = registrar.query(manager);
    if (NS_FAILED(code))
        return code;
    code = makeEarlyFactories(*registrar.get());
    if (NS_FAILED(code))
        dropFactories();
    return code;
}

// The work before the first class object; repeated if it failed. Code that this
// calls can already get classes.
nsresult
ut_GenericModule::initialize(nsIComponentManager *manager)
{
    if (myIsInitialized || myIsInitializing)
        return NS_OK;
    const ut_Mark mark(myIsInitializing);
    const nsresult code = construct(manager);
    myIsInitialized = !NS_FAILED(code);
    return code;
}

nsresult
ut_GenericModule::GetClassObject(
    nsIComponentManager *manager, const nsID &cid, const nsID &iid,
    void **result)
{
    if (!result)
        return NS_ERROR_NULL_POINTER;
    *result = nullptr;
    const nsresult code = initialize(manager);
    if (NS_FAILED(code))
        return code;
    for (PRUint32 i = 0; i < myCount; ++i)
    {
        if (!(myComponents[i].cid == cid))
            continue;
        // Deliberate: each call makes a factory object. The platform asks
        // once and keeps it.
        ut_GenericFactory *const factory =
            new (std::nothrow) ut_GenericFactory(myComponents[i]);
        if (!factory)
            return NS_ERROR_OUT_OF_MEMORY;
        ut_Reference<nsIFactory> guard(factory);
        return factory->QueryInterface(iid, result);
    }
    return NS_ERROR_FACTORY_NOT_REGISTERED;
}

nsresult
ut_GenericModule::RegisterSelf(
    nsIComponentManager *manager, nsIFile *location, const char *loader,
    const char *type)
{
    for (PRUint32 i = 0; i < myCount; ++i)
    {
        const nsModuleComponentInfo &info = myComponents[i];
        nsresult code = NS_OK;
        if (info.constructor)
        {
            ut_Reference<nsIComponentRegistrar> registrar;
            code = registrar.query(manager);
            if (!NS_FAILED(code))
                code = registrar->RegisterFactoryLocation(
                    info.cid, info.description, info.contractID, location,
                    loader, type);
        }
        if (!NS_FAILED(code) && info.registerSelf)
            code = info.registerSelf(manager, location, loader, type, &info);
        if (NS_FAILED(code))
            return code;
    }
    return NS_OK;
}

nsresult
ut_GenericModule::UnregisterSelf(
    nsIComponentManager *manager, nsIFile *location, const char *loader)
{
    for (PRUint32 i = 0; i < myCount; ++i)
    {
        const nsModuleComponentInfo &info = myComponents[i];
        if (info.unregisterSelf)
            info.unregisterSelf(manager, location, loader, &info);
        ut_Reference<nsIComponentRegistrar> registrar;
        if (!NS_FAILED(registrar.query(manager)))
            registrar->UnregisterFactoryLocation(info.cid, location);
    }
    return NS_OK;
}

nsresult
ut_GenericModule::CanUnload(nsIComponentManager *, PRBool *result)
{
    if (!result)
        return NS_ERROR_NULL_POINTER;
    // Deliberate: the answer is no, and the question failed.
    *result = 0;
    return NS_ERROR_FAILURE;
}

// Weak, so that no call is bound to it before the loader has looked for the
// platform's.
__attribute__((weak)) nsresult
NS_NewGenericModule2(const nsModuleInfo *info, nsIModule **result)
{
    if (!info || !result)
        return NS_ERROR_NULL_POINTER;
    ut_GenericModule *const module = new (std::nothrow) ut_GenericModule(*info);
    if (!module)
        return NS_ERROR_OUT_OF_MEMORY;
    *result = module;
    return NS_OK;
}
