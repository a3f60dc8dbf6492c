#pragma once

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace pdktest {

/// What this process holds.
struct SFootprint
{
    size_t descriptors;
    size_t threads;
    size_t mappings;
    size_t heap;  // bytes; 0 under a sanitizer, which looks for leaks itself

    static SFootprint take()
    {
        std::ifstream maps("/proc/self/maps");
        const std::istreambuf_iterator<char> start(maps);
        return {entries("/proc/self/fd"), entries("/proc/self/task"),
                static_cast<size_t>(std::count(start, std::istreambuf_iterator<char>(), '\n')), mallinfo2().uordblks};
    }

  private:
    static size_t entries(const char* directory)
    {
        const std::filesystem::directory_iterator first(directory);
        return static_cast<size_t>(std::distance(begin(first), end(first)));
    }
};

/// A leak of one mapping, or of the smallest block of the heap, in each life shows in the sum of many.
inline void expectNoGrowth(const SFootprint& before, const SFootprint& after, size_t lives)
{
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_LT(after.mappings, before.mappings + lives / 10);
    EXPECT_LT(after.heap, before.heap + lives * 16);
}

}  // namespace pdktest
