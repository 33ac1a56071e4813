// The functions of the C library that can be made to fail. Each one passes its
// call on, unless it is the one that the fault is for.

#include "ut_Faults.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <netdb.h>

#define UT_SHOWN __attribute__((visibility("default")))

// The C library's own allocator.
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);
extern "C" void *__libc_memalign(size_t alignment, size_t size);
extern "C" void __libc_free(void *block);

static std::atomic<bool> theIsArmed(false);
static std::atomic<bool> theHasStruck(false);
static std::atomic<unsigned> theCalls(0); // of the fault's group
static std::atomic<long> theBlocks(0);
static ut_Fault theFault;
static __thread int thePauses __attribute__((tls_model("initial-exec"))) = 0;

// ---- Whether the fault strikes

static bool
utIsStruck(ut_FaultCall call)
{
    if (!theIsArmed.load(std::memory_order_relaxed) || thePauses ||
        call != theFault.call)
        return false;
    const unsigned number = ++theCalls;
    if (number < theFault.number ||
        (number > theFault.number && theFault.kind != UT_FAULT_LASTS))
        return false;
    theHasStruck = true; // a place for a debugger to stop at
    return true;
}

// Whether a call fails; errno is then set.
static bool
utFails(ut_FaultCall call, int error)
{
    if (!utIsStruck(call))
        return false;
    errno = theFault.kind == UT_FAULT_IS_INTERRUPTED ? EINTR : error;
    return true;
}

void
utArmFault(ut_Fault fault)
{
    theFault = fault;
    theCalls = 0;
    theHasStruck = false;
    theIsArmed = true;
}

bool
utDisarmFault()
{
    theIsArmed = false;
    return theHasStruck;
}

void
utPauseFaults(int change)
{
    thePauses += change;
}

long
utLiveBlocks()
{
    return theBlocks;
}

// ---- Memory

// Counts the block, and returns it.
static void *
utCounted(void *block)
{
    if (block)
        theBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

extern "C" UT_SHOWN void *
malloc(size_t size) noexcept
{
    if (utFails(UT_FAULT_MEMORY, ENOMEM))
        return nullptr;
    return utCounted(__libc_malloc(size));
}

extern "C" UT_SHOWN void *
calloc(size_t count, size_t size) noexcept
{
    if (utFails(UT_FAULT_MEMORY, ENOMEM))
        return nullptr;
    return utCounted(__libc_calloc(count, size));
}

extern "C" UT_SHOWN void *
realloc(void *block, size_t size) noexcept
{
    if (utFails(UT_FAULT_MEMORY, ENOMEM))
        return nullptr;
    void *const moved = __libc_realloc(block, size);
    if (!block)
        return utCounted(moved);
    if (!moved && !size)
        theBlocks.fetch_sub(1, std::memory_order_relaxed);
    return moved;
}

extern "C" UT_SHOWN void *
aligned_alloc(size_t alignment, size_t size) noexcept
{
    if (utFails(UT_FAULT_MEMORY, ENOMEM))
        return nullptr;
    return utCounted(__libc_memalign(alignment, size));
}

extern "C" UT_SHOWN void
free(void *block) noexcept
{
    if (block)
        theBlocks.fetch_sub(1, std::memory_order_relaxed);
    __libc_free(block);
}

// ---- All others

// Functions of up to five arguments of a word each. Words that a call does not
// have are passed on as they are found.
using ut_Words = long long(long, long, long, long, long);

// Nothing fails within the C library: its first look-ups of a process crash or
// hang without memory. Its calls fail as a whole instead.
static long long
utCall(
    ut_FaultCall group, const char *name, long failure, int error, long a,
    long b, long c, long d, long e)
{
    const bool strikes = utFails(group, error);
    const int failed = errno;
    const bool isCut = strikes && theFault.kind == UT_FAULT_IS_CUT;
    // A failed close has closed, and who was interrupted goes on connecting.
    const bool hasEffect = group == UT_FAULT_CLOSE ||
                           (group == UT_FAULT_CONNECT && failed == EINTR);
    if (strikes && !isCut && !hasEffect)
        return failure;
    const ut_FaultPause pause;
    union
    {
        void *symbol;
        ut_Words *function;
    } real;
    real.symbol = dlsym(RTLD_NEXT, name);
    // The third word is how much a transfer may move.
    const long long result = real.function(a, b, isCut && c ? 1 : c, d, e);
    if (!strikes || isCut)
        return result;
    errno = failed;
    return failure;
}

// UT_CALL(group, failure, error, name) defines a function of the C library. It
// returns `failure` and sets `error` when it fails.
#define UT_CALL(group, failure, error, name)                        \
    extern "C" UT_SHOWN ut_Words ut_##name __asm__(#name);          \
    long long ut_##name(long a, long b, long c, long d, long e)     \
    {                                                               \
        return utCall(group, #name, failure, error, a, b, c, d, e); \
    }

UT_CALL(UT_FAULT_READ, -1, EIO, read)
UT_CALL(UT_FAULT_READ, -1, ECONNRESET, recv)
UT_CALL(UT_FAULT_WRITE, -1, ENOSPC, write)
UT_CALL(UT_FAULT_WRITE, -1, ENOBUFS, send)
UT_CALL(UT_FAULT_OPEN, -1, EMFILE, open)
UT_CALL(UT_FAULT_OPEN, -1, EMFILE, open64)
UT_CALL(UT_FAULT_OPEN, 0, EMFILE, fopen)
UT_CALL(UT_FAULT_OPEN, 0, EMFILE, fopen64)
UT_CALL(UT_FAULT_OPEN, 0, ENOMEM, fdopen)
UT_CALL(UT_FAULT_OPEN, -1, EMFILE, mkostemp)
UT_CALL(UT_FAULT_CLOSE, -1, EIO, close)
UT_CALL(UT_FAULT_CLOSE, EOF, ENOSPC, fclose)
UT_CALL(UT_FAULT_FILE, -1, EIO, stat64)
UT_CALL(UT_FAULT_FILE, -1, EINVAL, lseek64)
UT_CALL(UT_FAULT_FILE, -1, EBUSY, unlink)
UT_CALL(UT_FAULT_FILE, -1, ENOSPC, mkdir)
UT_CALL(UT_FAULT_SOCKET, -1, EMFILE, socket)
UT_CALL(UT_FAULT_SOCKET, -1, EADDRINUSE, bind)
UT_CALL(UT_FAULT_SOCKET, -1, EADDRINUSE, listen)
UT_CALL(UT_FAULT_CONNECT, -1, ECONNREFUSED, connect)
UT_CALL(UT_FAULT_WAIT, -1, ECONNABORTED, accept4)
UT_CALL(UT_FAULT_WAIT, -1, ENOMEM, select)
UT_CALL(UT_FAULT_WAIT, -1, ENOMEM, poll)
UT_CALL(UT_FAULT_WAIT, ETIMEDOUT, 0, pthread_cond_timedwait) // ends early
UT_CALL(UT_FAULT_OPTIONS, -1, ENOMEM, fcntl)
UT_CALL(UT_FAULT_OPTIONS, -1, ENOBUFS, getsockopt)
UT_CALL(UT_FAULT_OPTIONS, -1, ENOBUFS, setsockopt)
UT_CALL(UT_FAULT_OPTIONS, -1, ENOBUFS, getsockname)
UT_CALL(UT_FAULT_OPTIONS, -1, ENOBUFS, getpeername)
UT_CALL(UT_FAULT_OPTIONS, -1, ENOTCONN, shutdown)
UT_CALL(UT_FAULT_THREAD, EAGAIN, 0, pthread_create)
UT_CALL(UT_FAULT_LOOK_UP, 0, ENOMEM, gethostbyname)
UT_CALL(UT_FAULT_LOOK_UP, EAI_AGAIN, ENOMEM, getaddrinfo)
UT_CALL(UT_FAULT_LOOK_UP, 0, ENOMEM, getpwuid)
UT_CALL(UT_FAULT_LOOK_UP, ENOMEM, 0, getpwnam_r)
