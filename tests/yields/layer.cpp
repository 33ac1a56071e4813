// A layer over the thread checker, preloaded into the tests: at atomic
// operations and locks a thread sometimes gives up its turn, or sleeps for up
// to a millisecond, so that threads meet in orders that they seldom do by
// themselves. The checker is what calls them when a test is built for it. A nap
// comes far more often where a thread takes a lock, or is about to sleep with
// one: what others change meanwhile without the lock wakes nobody.

#include <cstdint>
#include <ctime>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

static bool theHasThreads; // a change that is seen late does no harm

// Naps at one of `perNap` calls. Past the checker's own sched_yield() and
// nanosleep(), and past what tests replace.
static void
utMeet(unsigned perNap)
{
    if (!__atomic_load_n(&theHasThreads, __ATOMIC_RELAXED))
        return;
    static __thread uint32_t theRandom;
    if (!theRandom)
        theRandom = uint32_t(syscall(SYS_gettid) * 2654435761) | 1;
    theRandom ^= theRandom << 13;
    theRandom ^= theRandom >> 17;
    theRandom ^= theRandom << 5;
    if (theRandom % perNap == 0)
    {
        const timespec nap = {0, long(theRandom >> 12)};
        syscall(SYS_nanosleep, &nap, nullptr);
    }
    else if (theRandom % 64 == 0)
        syscall(SYS_sched_yield);
}

// Defines `result name parameters`, which goes on to the function of that name
// after a turn may have been given up.
#define UT_MEET(perNap, result, name, parameters, arguments)      \
    extern "C" result name parameters                             \
    {                                                             \
        static result(*const theNext) parameters =                \
            __extension__ reinterpret_cast<result(*) parameters>( \
                dlsym(RTLD_NEXT, #name));                         \
        utMeet(perNap);                                           \
        return theNext arguments;                                 \
    }

#define UT_MEET_CHANGE(type, name)                                \
    UT_MEET(                                                      \
        2048, type, name, (volatile type * a, type v, int order), \
        (a, v, order))
#define UT_MEET_EXCHANGE(type, name)                                     \
    UT_MEET(                                                             \
        2048, int, name,                                                 \
        (volatile type * a, type * old, type v, int order, int failure), \
        (a, old, v, order, failure))
#define UT_MEET_ATOMICS(type, prefix)                                       \
    UT_MEET(                                                                \
        2048, type, prefix##_load, (const volatile type *a, int order),     \
        (a, order))                                                         \
    UT_MEET(                                                                \
        2048, void, prefix##_store, (volatile type * a, type v, int order), \
        (a, v, order))                                                      \
    UT_MEET_CHANGE(type, prefix##_exchange)                                 \
    UT_MEET_CHANGE(type, prefix##_fetch_add)                                \
    UT_MEET_CHANGE(type, prefix##_fetch_sub)                                \
    UT_MEET_CHANGE(type, prefix##_fetch_and)                                \
    UT_MEET_CHANGE(type, prefix##_fetch_or)                                 \
    UT_MEET_EXCHANGE(type, prefix##_compare_exchange_strong)                \
    UT_MEET_EXCHANGE(type, prefix##_compare_exchange_weak)

UT_MEET_ATOMICS(uint8_t, __tsan_atomic8)
UT_MEET_ATOMICS(uint32_t, __tsan_atomic32)
UT_MEET_ATOMICS(uint64_t, __tsan_atomic64)

UT_MEET(32, int, pthread_mutex_lock, (pthread_mutex_t * lock), (lock))
UT_MEET(32, int, pthread_mutex_unlock, (pthread_mutex_t * lock), (lock))
UT_MEET(
    32, int, pthread_cond_wait,
    (pthread_cond_t * condition, pthread_mutex_t *lock), (condition, lock))
UT_MEET(32, int, pthread_cond_signal, (pthread_cond_t * condition), (condition))
UT_MEET(
    32, int, pthread_cond_broadcast, (pthread_cond_t * condition), (condition))

extern "C" int
pthread_create(
    pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
    void *data)
{
    __atomic_store_n(&theHasThreads, true, __ATOMIC_RELAXED);
    static auto *const theNext =
        __extension__ reinterpret_cast<decltype(pthread_create) *>(
            dlsym(RTLD_NEXT, "pthread_create"));
    return theNext(thread, attributes, run, data);
}
