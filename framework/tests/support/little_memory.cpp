#include "framework/tests/support/little_memory.h"

#if OBZX_TEST_LIMITS_MEMORY

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>

namespace obzx_test {

namespace {

constexpr size_t MOST_BLOCKS = 64;
constexpr int NO_MEMORY = 1;

/// Leaves a process nothing but one piece of memory, of a number of blocks of 4 KiB.
void leaveBlocks(size_t blocks)
{
    constexpr size_t BLOCK = 4096;
    ::mallopt(M_MMAP_THRESHOLD, 2 * MOST_BLOCKS * BLOCK);
    void* const piece = std::malloc(blocks * BLOCK);
    size_t pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r"); file != nullptr) {
        if (std::fscanf(file, "%zu", &pages) != 1) ::_exit(2);
        std::fclose(file);
    }
    const rlimit limit = {pages * BLOCK, pages * BLOCK};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(2);
    for (size_t size = BLOCK; size >= 16; size /= 2) {
        while (std::malloc(size) != nullptr) {
            continue;
        }
    }
    std::free(piece);
}

[[noreturn]] void runAndExit(size_t blocks, const std::function<bool()>& action)
{
    leaveBlocks(blocks);
    try {
        ::_exit(action() ? 0 : 3);
    } catch (const std::bad_alloc&) {
        ::_exit(NO_MEMORY);
    }
}

}  // namespace

void runWithLittleMemory(const std::function<bool()>& action)
{
    int failed = 0;
    int done = 0;
    for (size_t blocks = 0; blocks <= MOST_BLOCKS; ++blocks) {
        const pid_t child = ::fork();
        if (child == 0) runAndExit(blocks, action);
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        ASSERT_TRUE(WIFEXITED(status)) << "with " << blocks << " blocks: signal " << WTERMSIG(status);
        EXPECT_LE(WEXITSTATUS(status), NO_MEMORY) << "with " << blocks << " blocks";
        failed += WEXITSTATUS(status) == NO_MEMORY ? 1 : 0;
        done += WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    EXPECT_GT(failed, 0);
    EXPECT_GT(done, 0);
}

}  // namespace obzx_test

#endif
