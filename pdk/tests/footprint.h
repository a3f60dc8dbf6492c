#pragma once

#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <iterator>

#include "base/tests/text_file.h"

namespace pdktest {

/// What this process holds.
struct SFootprint
{
    size_t descriptors;
    size_t threads;
    size_t mappings;
    size_t heap;  // bytes; 0 under a sanitizer, which looks for leaks itself, and maps memory as it likes

    static SFootprint take()
    {
        return {entries("/proc/self/fd"), entries("/proc/self/task"),
                base_test::linesOf(base_test::contentOf("/proc/self/maps")).size(), mallinfo2().uordblks};
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
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT(after.mappings, before.mappings + lives / 10);
#endif
    EXPECT_LT(after.heap, before.heap + lives * 16);
}

}  // namespace pdktest
