// The owner of one reference to an object of the browser's platform.

#pragma once

#include "nsXPCOM.h"

/// Holds one reference, or none, and releases it in the end.
template <class Interface>
class ut_Reference
{
public:
    /// Takes over the caller's reference to `object`, which may be null.
    explicit ut_Reference(Interface *object = nullptr) : myObject(object) {}
    ~ut_Reference()
    {
        if (myObject)
            myObject->Release();
    }
    ut_Reference(const ut_Reference &) = delete;
    ut_Reference &operator=(const ut_Reference &) = delete;

    /// The object, null when none is held. Borrowed.
    [[nodiscard]] Interface *get() const { return myObject; }
    Interface *operator->() const { return myObject; }

    /// Takes over the reference to `object`, which came from a call that hands
    /// out the interface as an untyped pointer. Nothing must be held yet.
    void adopt(void *object) { myObject = static_cast<Interface *>(object); }

    /// Takes the interface of `source`. Nothing must be held yet, and nothing
    /// is held after a failure.
    nsresult query(nsISupports *source)
    {
        if (!source)
            return NS_ERROR_NULL_POINTER;
        void *face = nullptr;
        const nsresult code = source->QueryInterface(Interface::IID, &face);
        if (NS_FAILED(code))
            return code;
        adopt(face);
        return myObject ? NS_OK : NS_ERROR_NO_INTERFACE;
    }

private:
    Interface *myObject;
};
