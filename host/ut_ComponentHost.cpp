#include "ut_ComponentHost.h"

#include "component/IValdrinConnection.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

static constexpr nsCID theConnectionClass = {
    0xbcd2fb75,
    0xa243,
    0x48f1,
    {0xb4, 0x95, 0xf3, 0xaa, 0x18, 0xea, 0x5c, 0x25}
};

// The component manager as far as a module meets it: modules ask it for its
// registrar side before they make their first class object. It has no table
// of classes, so every other call is refused.
class ut_ComponentManager final : public nsIComponentManager,
                                  public nsIComponentRegistrar
{
public:
    nsresult QueryInterface(const nsID &iid, void **result) override
    {
        *result = nullptr;
        if (iid == nsIComponentManager::IID || iid == nsISupports::IID)
            *result = static_cast<nsIComponentManager *>(this);
        else if (iid == nsIComponentRegistrar::IID)
            *result = static_cast<nsIComponentRegistrar *>(this);
        if (!*result)
            return NS_ERROR_NO_INTERFACE;
        AddRef();
        return NS_OK;
    }

    nsrefcnt AddRef() override { return ++myReferences; }

    nsrefcnt Release() override
    {
        const nsrefcnt left = --myReferences;
        if (left == 0)
            delete this;
        return left;
    }

    // nsIComponentManager

    nsresult GetClassObject(const nsID &, const nsID &, void **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult
    GetClassObjectByContractID(const char *, const nsID &, void **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult
    CreateInstance(const nsID &, nsISupports *, const nsID &, void **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult CreateInstanceByContractID(
        const char *, nsISupports *, const nsID &, void **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    // nsIComponentRegistrar

    nsresult AutoRegister(nsIFile *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult AutoUnregister(nsIFile *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult RegisterFactory(
        const nsID &, const char *, const char *, nsIFactory *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult UnregisterFactory(const nsID &, nsIFactory *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult RegisterFactoryLocation(
        const nsID &, const char *, const char *, nsIFile *, const char *,
        const char *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult UnregisterFactoryLocation(const nsID &, nsIFile *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult IsCIDRegistered(const nsID &, PRBool *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult IsContractIDRegistered(const char *, PRBool *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult EnumerateCIDs(nsISimpleEnumerator **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult EnumerateContractIDs(nsISimpleEnumerator **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult CIDToContractID(const nsID &, char **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

    nsresult ContractIDToCID(const char *, nsID **) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }

private:
    ~ut_ComponentManager() = default;

    nsrefcnt myReferences = 0;
};

ut_ComponentHost::ut_ComponentHost()
{
    myManager.adopt(new ut_ComponentManager);
    myManager->AddRef();
}

ut_ComponentHost::~ut_ComponentHost() = default;

std::string
utProgramPath()
{
    char program[4096];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
    // A path that fills the buffer may have been cut.
    if (length <= 0 || size_t(length) >= sizeof(program))
        return "";
    return std::string(program, size_t(length));
}

std::vector<std::string>
utLibrariesOfProgram(const std::string &program)
{
    std::vector<std::string> paths;
    if (program.empty())
        return paths;
    const std::string folder = program.substr(0, program.rfind('/') + 1);
    for (const char *relative : {VALDRIN_LIBDIR_FROM_BINDIR, "../lib"})
    {
        std::string path = folder + relative + "/" + theLibraryName;
        // Distributions leave the plain name to those who write programs.
        const std::string numbered = path + VALDRIN_SOVERSION;
        if (access(path.c_str(), F_OK) != 0 &&
            access(numbered.c_str(), F_OK) == 0)
            path = numbered;
        if (paths.empty() || paths.back() != path)
            paths.push_back(path);
    }
    return paths;
}

void *
utOpenLibrary(const std::vector<std::string> &libraries, std::string &error)
{
    for (const std::string &path : libraries)
    {
        // A function that is missing is reported here, rather than end the
        // program when it is called.
        if (void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
        {
            error = path + ": ";
            return library;
        }
        error += error.empty() ? "" : "\n";
        const char *const loaderReason = dlerror(); // null without memory
        const char *const reason =
            loaderReason ? loaderReason : "out of memory";
        // The loader names the file in most of its messages, but not in all.
        if (!strstr(reason, path.c_str()))
            error += path + ": ";
        error += reason;
        if (strstr(reason, "wrong ELF class"))
            error += sizeof(void *) == 4 ? " (this program has 32 bits)"
                                         : " (this program has 64 bits)";
    }
    return nullptr;
}

void *
utFindFunction(
    const std::vector<std::string> &libraries, const char *name,
    std::string &error)
{
    void *const library = utOpenLibrary(libraries, error);
    if (!library)
        return nullptr;
    void *const symbol = dlsym(library, name);
    if (!symbol)
        (error += "it has no ") += name;
    return symbol;
}

static std::string
utFileOf(void *library)
{
    link_map *entry = nullptr;
    if (dlinfo(library, RTLD_DI_LINKMAP, &entry) != 0)
        return "";
    char *const path = realpath(entry->l_name, nullptr);
    std::string file = path ? path : entry->l_name;
    free(path);
    return file;
}

bool
ut_ComponentHost::load(
    const std::vector<std::string> &libraries, std::string &error)
{
    void *const library = utOpenLibrary(libraries, error);
    if (!library || !makeConnection(library, error))
        return false;
    myLibrary = utFileOf(library);
    return true;
}

// Whether a call has stored an object, as its result says. Otherwise `error`
// grows by what the call did.
static bool
utGotObject(
    const char *call, nsresult result, const void *object, std::string &error)
{
    if (!NS_FAILED(result) && object)
        return true;
    char code[16];
    snprintf(code, sizeof(code), "0x%08x", result);
    error += call;
    error += NS_FAILED(result) ? " failed with " : " gave no object, only ";
    error += code;
    return false;
}

bool
ut_ComponentHost::makeConnection(void *library, std::string &error)
{
    void *symbol = dlsym(library, "NSGetModule");
    if (!symbol)
    {
        error += "not a component library: it has no NSGetModule";
        return false;
    }
    nsGetModuleProc getModule;
    static_assert(sizeof(getModule) == sizeof(symbol));
    memcpy(&getModule, &symbol, sizeof(symbol));

    // A browser passes the file's location too, which only registration reads.
    nsIModule *module = nullptr;
    nsresult result = getModule(myManager.get(), nullptr, &module);
    if (!utGotObject("NSGetModule", result, module, error))
        return false;
    myModule.adopt(module);

    void *object = nullptr;
    result = module->GetClassObject(
        myManager.get(), theConnectionClass, nsIFactory::IID, &object);
    if (!utGotObject("GetClassObject", result, object, error))
        return false;
    myFactory.adopt(object);

    object = nullptr;
    result =
        myFactory->CreateInstance(nullptr, IValdrinConnection::IID, &object);
    if (!utGotObject("CreateInstance", result, object, error))
        return false;
    myConnection.adopt(object);
    return true;
}
