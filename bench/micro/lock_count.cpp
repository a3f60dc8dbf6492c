// Counts the locks that one call of a gated entry point takes, by standing before the C library's function.
#include <dlfcn.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "base/tests/test_root.h"
#include "bench/workflow/host_program.h"

namespace {

int g_count = 0;

}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static auto* const original = reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    ++g_count;
    return original(mutex);
}

int main()
{
    const base_test::CTestRoot root;
    const bench::CHostProgram host(BENCH_PROVIDER);
    host.call().pre_prepare("session");  // makes the singletons
    g_count = 0;
    host.call().pre_prepare("session");
    std::printf("%d\n", g_count);
    return 0;
}
