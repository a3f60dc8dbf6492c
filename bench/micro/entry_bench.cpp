// What an entry point costs beside its operation, and the locks that it takes.
//
// A host has more threads than one, so there is a second thread here, too: the C library locks for less where there is
// none.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>

#include "base/tests/test_root.h"
#include "bench/workflow/host_program.h"

namespace {

using bench::CHostProgram;

constexpr size_t MAX_PAIRS = 64;

const CHostProgram& host()
{
    static const CHostProgram program(BENCH_PROVIDER);
    return program;
}

// How many pairs the entry point takes, as lock_count counts them.
size_t lockPairs()
{
    const char* const text = std::getenv("BENCH_LOCK_PAIRS");
    return text == nullptr ? 0 : std::strtoul(text, nullptr, 10);
}

// The default operation of this entry point does nothing.
void gatedEntryPoint(benchmark::State& state)
{
    const CHostProgram& program = host();
    for (auto _ : state) {
        if (program.call().pre_prepare("session") != OBZ_OK) state.SkipWithError("pre_prepare failed");
    }
}
BENCHMARK(gatedEntryPoint);

void lockPairsOfIt(benchmark::State& state)
{
    static std::array<pthread_mutex_t, MAX_PAIRS> mutexes;
    const size_t pairs = lockPairs();
    if (pairs == 0 || pairs > MAX_PAIRS) {
        state.SkipWithError("BENCH_LOCK_PAIRS does not tell how many");
        return;
    }
    for (auto _ : state) {
        for (size_t i = 0; i < pairs; ++i) {
            pthread_mutex_lock(&mutexes[i]);
            pthread_mutex_unlock(&mutexes[i]);
        }
    }
    state.counters["pairs"] = static_cast<double>(pairs);
}
BENCHMARK(lockPairsOfIt);

}  // namespace

int main(int argc, char** argv)
{
    const base_test::CTestRoot root;
    std::thread([] { pause(); }).detach();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
