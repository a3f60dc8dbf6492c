#include "providers/cdp/tests/support/memory_faults.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#include "framework/include/obzx_runtime.h"

namespace cdpfi {

namespace {

struct SFault
{
    bool armed = false;
    CMemoryFault::EKind kind = CMemoryFault::EKind::OPERATOR_NEW;
    int left = 0;
    size_t smallest = 0;
    bool happened = false;
};

thread_local SFault t_fault;
thread_local long t_liveBlocks = 0;

}  // namespace

bool failsNow(CMemoryFault::EKind kind, size_t size = SIZE_MAX)
{
    if (!t_fault.armed || t_fault.kind != kind || size < t_fault.smallest || t_fault.left-- > 0) return false;
    t_fault.armed = false;
    t_fault.happened = true;
    return true;
}

CMemoryFault::CMemoryFault(EKind kind, int skipped, size_t smallest)
{
    t_fault = {true, kind, skipped, smallest, false};
}
CMemoryFault::~CMemoryFault()
{
    t_fault.armed = false;
}
bool CMemoryFault::happened() const
{
    return t_fault.happened;
}

long liveBlocks()
{
    return t_liveBlocks;
}

void countBlock(int change)
{
    t_liveBlocks += change;
}

}  // namespace cdpfi

using cdpfi::CMemoryFault;
using cdpfi::countBlock;
using cdpfi::failsNow;

namespace {

void* allocate(size_t size) noexcept
{
    void* memory = failsNow(CMemoryFault::EKind::OPERATOR_NEW, size) ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr) countBlock(1);
    return memory;
}

void release(void* memory) noexcept
{
    if (memory != nullptr) countBlock(-1);
    std::free(memory);
}

void* allocateOrThrow(size_t size)
{
    void* memory = allocate(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

// The array forms too: a sanitizer's runtime has its own, which do not come through the plain ones.
void* operator new(size_t size)
{
    return allocateOrThrow(size);
}
void* operator new[](size_t size)
{
    return allocateOrThrow(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void operator delete(void* memory) noexcept
{
    release(memory);
}
void operator delete[](void* memory) noexcept
{
    release(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    release(memory);
}
void operator delete[](void* memory, size_t) noexcept
{
    release(memory);
}

// Visible, because a sanitizer's runtime refers to them too.
#pragma GCC visibility push(default)
extern "C" {

void* __real_obzx_alloc_buf(size_t size);
void* __wrap_obzx_alloc_buf(size_t size);
void* __wrap_obzx_alloc_buf(size_t size)
{
    return failsNow(CMemoryFault::EKind::C_FUNCTION) ? nullptr : __real_obzx_alloc_buf(size);
}

obzx_objid* __real_obzx_get_objid(const char* name, int32_t size, int32_t type);
obzx_objid* __wrap_obzx_get_objid(const char* name, int32_t size, int32_t type);
obzx_objid* __wrap_obzx_get_objid(const char* name, int32_t size, int32_t type)
{
    return failsNow(CMemoryFault::EKind::C_FUNCTION) ? nullptr : __real_obzx_get_objid(name, size, type);
}

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size)
{
    return failsNow(CMemoryFault::EKind::C_FUNCTION) ? nullptr : __real_calloc(count, size);
}

char* __real_strdup(const char* text);
char* __wrap_strdup(const char* text);
char* __wrap_strdup(const char* text)
{
    return failsNow(CMemoryFault::EKind::C_FUNCTION) ? nullptr : __real_strdup(text);
}

}  // extern "C"
#pragma GCC visibility pop
