#include "tests/failing_calls/failing_calls.h"

#include <dlfcn.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>

namespace failing_calls {

namespace {

struct SArmed
{
    bool watching = false;
    EKind kind = EKind::ALLOCATION;
    uint64_t failing = 0;
    bool always = false;
    uint64_t calls = 0;
};

thread_local SArmed t_armed;
std::atomic<int64_t> g_blocks{0};

}  // namespace

void failAt(EKind kind, uint64_t number)
{
    t_armed = {.kind = kind, .failing = number};
}

void failAlways(EKind kind)
{
    t_armed = {.kind = kind, .always = true};
}

uint64_t calls()
{
    return t_armed.calls;
}

CWatched::CWatched()
{
    t_armed.watching = true;
}

CWatched::~CWatched()
{
    t_armed.watching = false;
}

int64_t liveBlocks()
{
    return g_blocks.load();
}

static bool failsNow(EKind kind)
{
    if (!t_armed.watching || t_armed.kind != kind) return false;
    return ++t_armed.calls == t_armed.failing || t_armed.always;
}

static void* counted(void* block)
{
    if (block != nullptr) g_blocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

static void* noMemory()
{
    errno = ENOMEM;
    return nullptr;
}

template <class Function>
static Function* nextOne(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace failing_calls

using failing_calls::counted;
using failing_calls::EKind;
using failing_calls::failsNow;
using failing_calls::nextOne;
using failing_calls::noMemory;

#pragma GCC visibility push(default)
extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) noexcept
{
    return failsNow(EKind::ALLOCATION) ? noMemory() : counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) noexcept
{
    return failsNow(EKind::ALLOCATION) ? noMemory() : counted(__libc_calloc(count, size));
}

void* realloc(void* block, size_t size) noexcept
{
    if (failsNow(EKind::ALLOCATION)) return noMemory();
    void* const grown = __libc_realloc(block, size);
    return block == nullptr ? counted(grown) : grown;
}

void* memalign(size_t alignment, size_t size) noexcept
{
    return failsNow(EKind::ALLOCATION) ? noMemory() : counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(size_t alignment, size_t size) noexcept
{
    return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) noexcept
{
    *block = memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) noexcept
{
    if (block != nullptr) failing_calls::g_blocks.fetch_sub(1, std::memory_order_relaxed);
    __libc_free(block);
}

int clone(int (*function)(void*), void* stack, int flags, void* argument, ...) noexcept
{
    static auto* const real = nextOne<int(int (*)(void*), void*, int, void*, ...)>("clone");
    if (failsNow(EKind::SPAWN)) {
        errno = EAGAIN;
        return -1;
    }
    va_list more;
    va_start(more, argument);
    auto* const parentId = va_arg(more, pid_t*);
    auto* const storage = va_arg(more, void*);
    auto* const childId = va_arg(more, pid_t*);
    va_end(more);
    return real(function, stack, flags, argument, parentId, storage, childId);
}

pid_t fork(void) noexcept
{
    static auto* const real = nextOne<pid_t(void)>("fork");
    if (!failsNow(EKind::SPAWN)) return real();
    errno = EAGAIN;
    return -1;
}

}  // extern "C"
#pragma GCC visibility pop
