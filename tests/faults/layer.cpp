// The functions of the C library that can be made to fail. Each one passes its
// call on, unless it is the one that the fault is for.

// The checked headers define some of them.
#undef _FORTIFY_SOURCE

#include "ut_Faults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

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
        (number > theFault.number && !theFault.lasts))
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
    errno = error;
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

// Defines `result name parameters`, which fails with `failure` and `error` and
// otherwise calls the C library's function with `arguments`.
#define UT_CALL(call, result, name, parameters, arguments, failure, error) \
    extern "C" UT_SHOWN result name parameters                             \
    {                                                                      \
        if (utFails(call, error))                                          \
            return failure;                                                \
        return utReal<result parameters>(#name) arguments;                 \
    }

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

UT_CALL(
    UT_FAULT_READ, ssize_t, read, (int fd, void *bytes, size_t count),
    (fd, bytes, count), -1, EIO)
UT_CALL(
    UT_FAULT_READ, ssize_t, recv,
    (int fd, void *bytes, size_t count, int flags), (fd, bytes, count, flags),
    -1, ECONNRESET)
UT_CALL(
    UT_FAULT_WRITE, ssize_t, write, (int fd, const void *bytes, size_t count),
    (fd, bytes, count), -1, ENOSPC)
UT_CALL(
    UT_FAULT_WRITE, ssize_t, send,
    (int fd, const void *bytes, size_t count, int flags),
    (fd, bytes, count, flags), -1, ENOBUFS)

UT_CALL(
    UT_FAULT_OPEN, FILE *, fopen, (const char *path, const char *mode),
    (path, mode), nullptr, EMFILE)
UT_CALL(
    UT_FAULT_OPEN, FILE *, fopen64, (const char *path, const char *mode),
    (path, mode), nullptr, EMFILE)
UT_CALL(
    UT_FAULT_OPEN, FILE *, fdopen, (int fd, const char *mode) noexcept,
    (fd, mode), nullptr, ENOMEM)
UT_CALL(
    UT_FAULT_OPEN, int, mkostemp, (char *name, int flags), (name, flags), -1,
    EMFILE)

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

UT_CALL(
    UT_FAULT_FILE, int, stat64,
    (const char *path, struct stat64 *facts) noexcept, (path, facts), -1, EIO)
UT_CALL(
    UT_FAULT_FILE, off64_t, lseek64,
    (int fd, off64_t offset, int whence) noexcept, (fd, offset, whence), -1,
    EINVAL)
UT_CALL(
    UT_FAULT_FILE, int, unlink, (const char *path) noexcept, (path), -1, EBUSY)
UT_CALL(
    UT_FAULT_FILE, int, mkdir, (const char *path, mode_t mode) noexcept,
    (path, mode), -1, ENOSPC)

UT_CALL(
    UT_FAULT_SOCKET, int, socket, (int family, int type, int protocol) noexcept,
    (family, type, protocol), -1, EMFILE)
UT_CALL(
    UT_FAULT_SOCKET, int, bind,
    (int fd, const sockaddr *address, socklen_t length) noexcept,
    (fd, address, length), -1, EADDRINUSE)
UT_CALL(
    UT_FAULT_SOCKET, int, listen, (int fd, int backlog) noexcept, (fd, backlog),
    -1, EADDRINUSE)

UT_CALL(
    UT_FAULT_CONNECT, int, connect,
    (int fd, const sockaddr *address, socklen_t length), (fd, address, length),
    -1, ECONNREFUSED)
UT_CALL(
    UT_FAULT_CONNECT, int, accept4,
    (int fd, sockaddr *address, socklen_t *length, int flags),
    (fd, address, length, flags), -1, ECONNABORTED)
UT_CALL(
    UT_FAULT_WAIT, int, select,
    (int count, fd_set *in, fd_set *out, fd_set *other, timeval *limit),
    (count, in, out, other, limit), -1, ENOMEM)
UT_CALL(
    UT_FAULT_WAIT, int, poll, (pollfd * each, nfds_t count, int timeoutMs),
    (each, count, timeoutMs), -1, ENOMEM)

// One that fails ends early.
extern "C" UT_SHOWN int
pthread_cond_timedwait(
    pthread_cond_t *condition, pthread_mutex_t *mutex, const timespec *end)
{
    if (utFails(UT_FAULT_WAIT, ETIMEDOUT))
        return ETIMEDOUT;
    return utReal<decltype(pthread_cond_timedwait)>("pthread_cond_timedwait")(
        condition, mutex, end);
}

UT_CALL(
    UT_FAULT_OPTIONS, int, getsockopt,
    (int fd, int level, int name, void *value, socklen_t *length) noexcept,
    (fd, level, name, value, length), -1, ENOBUFS)
UT_CALL(
    UT_FAULT_OPTIONS, int, setsockopt,
    (int fd, int level, int name, const void *value, socklen_t length) noexcept,
    (fd, level, name, value, length), -1, ENOBUFS)
UT_CALL(
    UT_FAULT_OPTIONS, int, getsockname,
    (int fd, sockaddr *address, socklen_t *length) noexcept,
    (fd, address, length), -1, ENOBUFS)
UT_CALL(
    UT_FAULT_OPTIONS, int, getpeername,
    (int fd, sockaddr *address, socklen_t *length) noexcept,
    (fd, address, length), -1, ENOBUFS)
UT_CALL(
    UT_FAULT_OPTIONS, int, shutdown, (int fd, int how) noexcept, (fd, how), -1,
    ENOTCONN)

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

UT_CALL(
    UT_FAULT_PAGES, int, madvise,
    (void *start, size_t size, int advice) noexcept, (start, size, advice), -1,
    ENOMEM)

// Nothing fails within the C library's own look-ups: the first of a process
// crashes or hangs without memory. They fail as a whole instead.
#define UT_LOOK_UP(result, name, parameters, arguments, failure) \
    extern "C" UT_SHOWN result name parameters                   \
    {                                                            \
        if (utIsStruck(UT_FAULT_LOOK_UP))                        \
            return failure;                                      \
        const ut_FaultPause pause;                               \
        return utReal<result parameters>(#name) arguments;       \
    }

UT_LOOK_UP(hostent *, gethostbyname, (const char *name), (name), nullptr)
UT_LOOK_UP(
    hostent *, gethostbyaddr,
    (const void *address, socklen_t length, int family),
    (address, length, family), nullptr)
UT_LOOK_UP(
    servent *, getservbyname, (const char *name, const char *protocol),
    (name, protocol), nullptr)
UT_LOOK_UP(
    int, getaddrinfo,
    (const char *name, const char *service, const addrinfo *hints,
     addrinfo **list),
    (name, service, hints, list), EAI_AGAIN)
UT_LOOK_UP(passwd *, getpwuid, (uid_t user), (user), nullptr)
UT_LOOK_UP(
    int, getpwnam_r,
    (const char *name, passwd *entry, char *bytes, size_t size, passwd **found),
    (name, entry, bytes, size, found), ENOMEM)

extern "C" UT_SHOWN int
pthread_create(
    pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
    void *data) noexcept
{
    if (utIsStruck(UT_FAULT_THREAD))
        return EAGAIN;
    return utReal<decltype(pthread_create)>("pthread_create")(
        thread, attributes, run, data);
}
