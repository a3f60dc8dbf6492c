#include "bench/micro/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> g_count{0};

}  // namespace

long bench::allocations()
{
    return g_count.load(std::memory_order_relaxed);
}

void* operator new(size_t size)
{
    g_count.fetch_add(1, std::memory_order_relaxed);
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
