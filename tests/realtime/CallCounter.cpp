#include "tests/realtime/CallCounter.h"

#include <cstdarg>
#include <cstddef>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <time.h>

// This program's own malloc, pthread_mutex_lock and so on come before the C library's for
// everything that is loaded into it, the plug-in module included.

namespace {

// Initialised data of the program itself: reading it takes no memory.
thread_local bool watched = false;
thread_local int calls = 0;
thread_local const char* firstCalled = nullptr;

void Note(const char* name)
{
    if (!watched)
        return;
    if (calls++ == 0)
        firstCalled = name;
}

template <typename Function>
Function Real(Function& function, const char* name)
{
    if (function == nullptr)
        function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
    return function;
}

} // namespace

#define KELDRA_EXPORT __attribute__((visibility("default")))

extern "C" {

void* __libc_malloc(std::size_t);
void __libc_free(void*);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);

KELDRA_EXPORT void* malloc(std::size_t size)
{
    Note("malloc");
    return __libc_malloc(size);
}
KELDRA_EXPORT void free(void* memory)
{
    if (memory != nullptr)
        Note("free");
    __libc_free(memory);
}
KELDRA_EXPORT void* calloc(std::size_t count, std::size_t size)
{
    Note("calloc");
    return __libc_calloc(count, size);
}
KELDRA_EXPORT void* realloc(void* memory, std::size_t size)
{
    Note("realloc");
    return __libc_realloc(memory, size);
}
KELDRA_EXPORT void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    Note("aligned_alloc");
    return __libc_memalign(alignment, size);
}
KELDRA_EXPORT int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    Note("posix_memalign");
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? 12 : 0;
}

KELDRA_EXPORT int pthread_mutex_lock(pthread_mutex_t* mutex)
{
    Note("pthread_mutex_lock");
    static int (*real)(pthread_mutex_t*) = nullptr;
    return Real(real, "pthread_mutex_lock")(mutex);
}
KELDRA_EXPORT int pthread_mutex_trylock(pthread_mutex_t* mutex)
{
    Note("pthread_mutex_trylock");
    static int (*real)(pthread_mutex_t*) = nullptr;
    return Real(real, "pthread_mutex_trylock")(mutex);
}
KELDRA_EXPORT int pthread_rwlock_rdlock(pthread_rwlock_t* lock)
{
    Note("pthread_rwlock_rdlock");
    static int (*real)(pthread_rwlock_t*) = nullptr;
    return Real(real, "pthread_rwlock_rdlock")(lock);
}
KELDRA_EXPORT int pthread_rwlock_wrlock(pthread_rwlock_t* lock)
{
    Note("pthread_rwlock_wrlock");
    static int (*real)(pthread_rwlock_t*) = nullptr;
    return Real(real, "pthread_rwlock_wrlock")(lock);
}
KELDRA_EXPORT int pthread_cond_signal(pthread_cond_t* condition)
{
    Note("pthread_cond_signal");
    static int (*real)(pthread_cond_t*) = nullptr;
    return Real(real, "pthread_cond_signal")(condition);
}
KELDRA_EXPORT int nanosleep(const timespec* wanted, timespec* rest)
{
    Note("nanosleep");
    static int (*real)(const timespec*, timespec*) = nullptr;
    return Real(real, "nanosleep")(wanted, rest);
}
KELDRA_EXPORT int clock_nanosleep(clockid_t clock, int flags, const timespec* wanted,
                                  timespec* rest)
{
    Note("clock_nanosleep");
    static int (*real)(clockid_t, int, const timespec*, timespec*) = nullptr;
    return Real(real, "clock_nanosleep")(clock, flags, wanted, rest);
}
KELDRA_EXPORT int sched_yield()
{
    Note("sched_yield");
    static int (*real)() = nullptr;
    return Real(real, "sched_yield")();
}
KELDRA_EXPORT int open(const char* path, int flags, ...)
{
    Note("open");
    std::va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = va_arg(arguments, unsigned);
    va_end(arguments);
    static int (*real)(const char*, int, ...) = nullptr;
    return Real(real, "open")(path, flags, mode);
}

} // extern "C"

namespace keldra::test {

CCallCounter::CCallCounter()
{
    watched = true;
}
CCallCounter::~CCallCounter()
{
    watched = false;
}
int CCallCounter::Calls()
{
    return calls;
}
const char* CCallCounter::FirstCalled()
{
    return firstCalled;
}
void CCallCounter::Forget()
{
    calls = 0;
    firstCalled = nullptr;
}

} // namespace keldra::test
