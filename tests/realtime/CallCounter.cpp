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

// A macro, since each needs its own C name: twice as a word, once as a text.
#define KELDRA_WATCHED(name, parameters, ...)                                                      \
    KELDRA_EXPORT int name parameters                                                              \
    {                                                                                              \
        Note(#name);                                                                               \
        static const auto real = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #name));     \
        return real(__VA_ARGS__);                                                                  \
    }
KELDRA_WATCHED(pthread_mutex_lock, (pthread_mutex_t * mutex), mutex)
KELDRA_WATCHED(pthread_mutex_trylock, (pthread_mutex_t * mutex), mutex)
KELDRA_WATCHED(pthread_rwlock_rdlock, (pthread_rwlock_t * lock), lock)
KELDRA_WATCHED(pthread_rwlock_wrlock, (pthread_rwlock_t * lock), lock)
KELDRA_WATCHED(pthread_cond_signal, (pthread_cond_t * condition), condition)
KELDRA_WATCHED(nanosleep, (const timespec* wanted, timespec* rest), wanted, rest)
KELDRA_WATCHED(clock_nanosleep,
               (clockid_t clock, int flags, const timespec* wanted, timespec* rest), clock, flags,
               wanted, rest)
KELDRA_WATCHED(sched_yield, (), )

KELDRA_EXPORT int open(const char* path, int flags, ...)
{
    Note("open");
    std::va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = va_arg(arguments, unsigned);
    va_end(arguments);
    static const auto real =
        reinterpret_cast<int (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "open"));
    return real(path, flags, mode);
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
