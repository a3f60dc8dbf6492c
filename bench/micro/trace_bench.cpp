// Trace lines that are not written, and lines that are, beside the same lines written with spdlog alone.
#include <benchmark/benchmark.h>

#include <atomic>

#include "base/tests/test_root.h"
#include "bench/micro/allocations.h"
#include "bench/peers/raw_log.h"
#include "framework/include/cfitrace.h"

namespace {

using obzx_pdk_4_4::CFiTraceLog;

const std::string NODE = "<cdpfi>LMR000000001234";
const std::string GROUP = "group00012";
const std::string APPLIANCE = "vault";

const base_test::CTestRoot& root()
{
    static const base_test::CTestRoot scratch;
    return scratch;
}

CFiTraceLog& traceLog()
{
    static CFiTraceLog* const log = [] {
        root();
        auto* const made = new CFiTraceLog();
        made->initialize("bench", "", "", 1, false);
        return made;
    }();
    return *log;
}

void writeLine(CFiTraceLog& log, int32_t level)
{
    log.trace(level, "CCDPPlugin::makeSnapshots - Adding node %s in NEW CG %s for New applinace %s", NODE, GROUP,
              APPLIANCE);
}

spdlog::logger& rawLogger()
{
    static spdlog::logger& logger = bench::makeRawLog((root() / "raw.log").string());
    return logger;
}

void disabledLine(benchmark::State& state)
{
    CFiTraceLog& log = traceLog();
    const long before = bench::allocations();
    for (auto _ : state) {
        writeLine(log, obzx_pdk_4_4::TRACE_DETAIL);
        benchmark::ClobberMemory();
    }
    if (bench::allocations() != before) state.SkipWithError("a disabled line allocated memory");
}
BENCHMARK(disabledLine);

// The least that a line can cost that is not written: its level is compared with the one in force, which may change.
void levelComparison(benchmark::State& state)
{
    static std::atomic<int32_t> inForce{1};
    for (auto _ : state) {
        bool isWritten = obzx_pdk_4_4::TRACE_DETAIL <= inForce.load(std::memory_order_relaxed);
        benchmark::DoNotOptimize(isWritten);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(levelComparison);

void enabledLine(benchmark::State& state)
{
    CFiTraceLog& log = traceLog();
    for (auto _ : state) {
        writeLine(log, obzx_pdk_4_4::TRACE_FAILURE);
    }
}
BENCHMARK(enabledLine)->Threads(1)->Threads(8)->UseRealTime();

void rawSpdlogLine(benchmark::State& state)
{
    spdlog::logger& logger = rawLogger();
    for (auto _ : state) {
        logger.info("CCDPPlugin::makeSnapshots - Adding node {} in NEW CG {} for New applinace {}", NODE, GROUP,
                    APPLIANCE);
    }
}
BENCHMARK(rawSpdlogLine)->Threads(1)->Threads(8)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
