#include "framework/src/trace/own_ids.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t PAGE_SIZE = 4096;

// A page that a forked child finds empty, however it was forked.
struct alignas(PAGE_SIZE) SPage
{
    std::atomic<pid_t> process{0};
    char rest[PAGE_SIZE - sizeof(pid_t)];
};

SPage g_page;

pid_t ownProcess() noexcept
{
    static const bool isWiped = ::madvise(&g_page, sizeof g_page, MADV_WIPEONFORK) == 0;
    if (!isWiped) return ::getpid();
    pid_t process = g_page.process.load(std::memory_order_relaxed);
    if (process == 0) {
        process = ::getpid();
        g_page.process.store(process, std::memory_order_relaxed);
    }
    return process;
}

}  // namespace

const SOwnIds& ownIds() noexcept
{
    thread_local SOwnIds ids;
    if (const pid_t process = ownProcess(); process != ids.process) ids = {process, ::gettid()};
    return ids;
}

}  // namespace obzx_pdk_4_4
