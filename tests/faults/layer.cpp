// The functions of the C library that can be made to fail. Each one passes its
// call on, unless it is the one that the fault is for.

// The checked headers define some of them.
#undef _FORTIFY_SOURCE

#include "ut_Faults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <tuple>

#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

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
static int theReport = -1; // a byte is written to it when the fault strikes
static __thread int thePauses __attribute__((tls_model("initial-exec"))) = 0;

// ---- Whether the fault strikes

static bool
utIsStruck(ut_FaultCall call)
{
    if (!theIsArmed.load(std::memory_order_relaxed) || thePauses ||
        call != theFault.call)
        return false;
    const unsigned number = ++theCalls;
    const bool isLater = number > theFault.number;
    if (number < theFault.number ||
        (isLater && theFault.kind != UT_FAULT_LASTS))
        return false;
    theHasStruck = true; // a place for a debugger to stop at
    if (theReport >= 0 && !isLater)
        syscall(SYS_write, theReport, "!", 1);
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

// In a program that has the layer preloaded: "CALL KIND NUMBER DESCRIPTOR".
__attribute__((constructor)) static void
utArmFromEnvironment()
{
    const char *const text = getenv("VALDRIN_FAULT");
    ut_Fault fault = {};
    if (text && sscanf(
                    text, "%d %d %u %d", &fault.call, &fault.kind,
                    &fault.number, &theReport) == 4)
        utArmFault(fault);
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
reallocarray(void *block, size_t count, size_t size) noexcept
{
    size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes))
    {
        errno = ENOMEM;
        return nullptr;
    }
    return realloc(block, bytes);
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

// The next function of that name after this layer's.
template <class Function>
static Function *
utReal(const char *name)
{
    const ut_FaultPause pause; // the look-up may allocate
    union
    {
        void *symbol;
        Function *function;
    } found;
    found.symbol = dlsym(RTLD_NEXT, name);
    return found.function;
}

// Leaves one byte of a transfer; others are not cut.
[[maybe_unused]] static void
utCut(int, const void *, size_t &count, int = 0)
{
    count = std::min<size_t>(count, 1);
}

[[maybe_unused]] static void
utCut(...)
{
}

// What a function of the C library takes and returns, without its attributes.
#pragma GCC diagnostic ignored "-Wignored-attributes"
template <class Function>
struct ut_Call;

template <class Value, bool isQuiet, class... Parameters>
struct ut_Call<Value(Parameters...) noexcept(isQuiet)>
{
    using Result = Value;
    template <size_t index>
    using Parameter = std::tuple_element_t<index, std::tuple<Parameters...>>;
    static constexpr bool throwsNothing = isQuiet;

    // Nothing fails within the C library: its first look-ups of a process crash
    // or hang without memory. Its calls fail as a whole instead.
    static Result call(
        ut_FaultCall group, const char *name, Result failure, int error,
        Parameters... arguments)
    {
        if (utFails(group, error))
        {
            if (theFault.kind != UT_FAULT_IS_CUT)
                return failure;
            utCut(arguments...);
        }
        const ut_FaultPause pause;
        return utReal<Result(Parameters...)>(name)(arguments...);
    }
};

// UT_CALL2(group, failure, error, name) defines a function of two parameters as
// the headers declare it. It returns `failure` and sets `error` when it fails.
#define UT_PARAMETER(name, index) ut_Call<decltype(name)>::Parameter<index>
#define UT_CALL(group, failure, error, name, parameters, ...)       \
    extern "C" UT_SHOWN ut_Call<decltype(name)>::Result name        \
        parameters noexcept(ut_Call<decltype(name)>::throwsNothing) \
    {                                                               \
        return ut_Call<decltype(name)>::call(                       \
            group, #name, failure, error, __VA_ARGS__);             \
    }
#define UT_CALL1(group, failure, error, name) \
    UT_CALL(group, failure, error, name, (UT_PARAMETER(name, 0) a), a)
#define UT_CALL2(group, failure, error, name) \
    UT_CALL(                                  \
        group, failure, error, name,          \
        (UT_PARAMETER(name, 0) a, UT_PARAMETER(name, 1) b), a, b)
#define UT_CALL3(group, failure, error, name)              \
    UT_CALL(                                               \
        group, failure, error, name,                       \
        (UT_PARAMETER(name, 0) a, UT_PARAMETER(name, 1) b, \
         UT_PARAMETER(name, 2) c),                         \
        a, b, c)
#define UT_CALL4(group, failure, error, name)               \
    UT_CALL(                                                \
        group, failure, error, name,                        \
        (UT_PARAMETER(name, 0) a, UT_PARAMETER(name, 1) b,  \
         UT_PARAMETER(name, 2) c, UT_PARAMETER(name, 3) d), \
        a, b, c, d)
#define UT_CALL5(group, failure, error, name)              \
    UT_CALL(                                               \
        group, failure, error, name,                       \
        (UT_PARAMETER(name, 0) a, UT_PARAMETER(name, 1) b, \
         UT_PARAMETER(name, 2) c, UT_PARAMETER(name, 3) d, \
         UT_PARAMETER(name, 4) e),                         \
        a, b, c, d, e)

UT_CALL3(UT_FAULT_READ, -1, EIO, read)
UT_CALL4(UT_FAULT_READ, -1, ECONNRESET, recv)
UT_CALL3(UT_FAULT_WRITE, -1, ENOSPC, write)
UT_CALL4(UT_FAULT_WRITE, -1, ENOBUFS, send)
UT_CALL2(UT_FAULT_OPEN, nullptr, EMFILE, fopen)
UT_CALL2(UT_FAULT_OPEN, nullptr, EMFILE, fopen64)
UT_CALL2(UT_FAULT_OPEN, nullptr, ENOMEM, fdopen)
UT_CALL2(UT_FAULT_OPEN, -1, EMFILE, mkostemp)
UT_CALL2(UT_FAULT_FILE, -1, EIO, stat64)
UT_CALL3(UT_FAULT_FILE, -1, EINVAL, lseek64)
UT_CALL1(UT_FAULT_FILE, -1, EBUSY, unlink)
UT_CALL2(UT_FAULT_FILE, -1, ENOSPC, mkdir)
UT_CALL3(UT_FAULT_SOCKET, -1, EMFILE, socket)
UT_CALL3(UT_FAULT_SOCKET, -1, EADDRINUSE, bind)
UT_CALL2(UT_FAULT_SOCKET, -1, EADDRINUSE, listen)
UT_CALL4(UT_FAULT_CONNECT, -1, ECONNABORTED, accept4)
UT_CALL5(UT_FAULT_WAIT, -1, ENOMEM, select)
UT_CALL3(UT_FAULT_WAIT, -1, ENOMEM, poll)
UT_CALL3(UT_FAULT_WAIT, ETIMEDOUT, 0, pthread_cond_timedwait) // ends early
UT_CALL5(UT_FAULT_OPTIONS, -1, ENOBUFS, getsockopt)
UT_CALL5(UT_FAULT_OPTIONS, -1, ENOBUFS, setsockopt)
UT_CALL3(UT_FAULT_OPTIONS, -1, ENOBUFS, getsockname)
UT_CALL3(UT_FAULT_OPTIONS, -1, ENOBUFS, getpeername)
UT_CALL2(UT_FAULT_OPTIONS, -1, ENOTCONN, shutdown)
UT_CALL3(UT_FAULT_PAGES, -1, ENOMEM, madvise)
UT_CALL4(UT_FAULT_THREAD, EAGAIN, 0, pthread_create)
UT_CALL1(UT_FAULT_LOOK_UP, nullptr, ENOMEM, gethostbyname)
UT_CALL3(UT_FAULT_LOOK_UP, nullptr, ENOMEM, gethostbyaddr)
UT_CALL2(UT_FAULT_LOOK_UP, nullptr, ENOMEM, getservbyname)
UT_CALL4(UT_FAULT_LOOK_UP, EAI_AGAIN, ENOMEM, getaddrinfo)
UT_CALL1(UT_FAULT_LOOK_UP, nullptr, ENOMEM, getpwuid)
UT_CALL5(UT_FAULT_LOOK_UP, ENOMEM, 0, getpwnam_r)

// The mode is there only when a file may be created.
#define UT_OPEN(name)                                                         \
    extern "C" UT_SHOWN int name(const char *path, int flags, ...)            \
    {                                                                         \
        if (utFails(UT_FAULT_OPEN, EMFILE))                                   \
            return -1;                                                        \
        mode_t mode = 0;                                                      \
        if (flags & (O_CREAT | O_TMPFILE))                                    \
        {                                                                     \
            va_list more;                                                     \
            va_start(more, flags);                                            \
            mode = va_arg(more, mode_t);                                      \
            va_end(more);                                                     \
        }                                                                     \
        return utReal<int(const char *, int, ...)>(#name)(path, flags, mode); \
    }

UT_OPEN(open)
UT_OPEN(open64)

extern "C" UT_SHOWN int
fcntl(int fd, int command, ...)
{
    if (utFails(UT_FAULT_OPTIONS, ENOMEM))
        return -1;
    va_list more;
    va_start(more, command);
    void *const argument = va_arg(more, void *);
    va_end(more);
    return utReal<int(int, int, ...)>("fcntl")(fd, command, argument);
}

// One that is interrupted goes on in the background.
extern "C" UT_SHOWN int
connect(int fd, const sockaddr *address, socklen_t length)
{
    const bool fails = utFails(UT_FAULT_CONNECT, ECONNREFUSED);
    if (fails && errno != EINTR)
        return -1;
    const int result =
        utReal<decltype(connect)>("connect")(fd, address, length);
    if (!fails)
        return result;
    errno = EINTR;
    return -1;
}

// A failed close has closed.
extern "C" UT_SHOWN int
close(int fd)
{
    const int result = utReal<int(int)>("close")(fd);
    return utFails(UT_FAULT_CLOSE, EIO) ? -1 : result;
}

extern "C" UT_SHOWN int
fclose(FILE *file)
{
    const int result = utReal<int(FILE *)>("fclose")(file);
    return utFails(UT_FAULT_CLOSE, ENOSPC) ? EOF : result;
}
