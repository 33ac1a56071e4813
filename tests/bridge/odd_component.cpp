// A component that does what the real one never does: it prints to standard
// output, and its calls fail.

#include "component/IValdrinConnection.h"

#include <cstdio>
#include <cstring>

// What is counted lives as long as the process.
template <class Interface>
class ut_Eternal : public Interface
{
public:
    nsresult QueryInterface(const nsID &, void **result) override
    {
        *result = nullptr;
        return NS_ERROR_NO_INTERFACE;
    }
    nsrefcnt AddRef() override { return 1; }
    nsrefcnt Release() override { return 1; }

protected:
    ~ut_Eternal() = default;
};

class ut_OddConnection final : public ut_Eternal<IValdrinConnection>
{
public:
    nsresult SetSocketPortNum(PRInt32) override { return NS_ERROR_UNEXPECTED; }

    // Says "fail" and "null" by what it does, and anything else back.
    nsresult Run(const char *command, char **result) override
    {
        puts("noise of a call");
        fflush(stdout);
        *result = nullptr;
        if (strcmp(command, "fail") == 0)
            return NS_ERROR_FAILURE;
        if (strcmp(command, "null") != 0)
            *result = strdup(command);
        return NS_OK;
    }

    nsresult RunPythonStatements(const char *) override
    {
        return NS_ERROR_OUT_OF_MEMORY;
    }
    nsresult RunPythonExpression(const char *, char **) override
    {
        return NS_ERROR_FAILURE;
    }
    nsresult StashString(const char *) override { return NS_ERROR_FAILURE; }
    nsresult GetStashedString(char **) override { return NS_ERROR_FAILURE; }
};

class ut_OddFactory final : public ut_Eternal<nsIFactory>
{
public:
    nsresult CreateInstance(nsISupports *, const nsID &, void **result) override
    {
        static ut_OddConnection theConnection;
        *result = static_cast<IValdrinConnection *>(&theConnection);
        return NS_OK;
    }
    nsresult LockFactory(PRBool) override { return NS_OK; }
};

class ut_OddModule final : public ut_Eternal<nsIModule>
{
public:
    nsresult GetClassObject(
        nsIComponentManager *, const nsID &, const nsID &,
        void **result) override
    {
        static ut_OddFactory theFactory;
        *result = static_cast<nsIFactory *>(&theFactory);
        return NS_OK;
    }
    nsresult RegisterSelf(
        nsIComponentManager *, nsIFile *, const char *, const char *) override
    {
        return NS_OK;
    }
    nsresult
    UnregisterSelf(nsIComponentManager *, nsIFile *, const char *) override
    {
        return NS_OK;
    }
    nsresult CanUnload(nsIComponentManager *, PRBool *) override
    {
        return NS_ERROR_NOT_IMPLEMENTED;
    }
};

extern "C" __attribute__((visibility("default"))) nsresult
NSGetModule(nsIComponentManager *, nsIFile *, nsIModule **result)
{
    puts("noise of loading");
    static ut_OddModule theModule;
    *result = &theModule;
    return NS_OK;
}
