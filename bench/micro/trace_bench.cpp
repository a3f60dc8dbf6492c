// Trace lines that are not written, and lines that are, beside the same lines written with spdlog alone.
#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include "base/tests/test_root.h"
#include "bench/micro/allocations.h"
#include "framework/include/cfitrace.h"

namespace {

using obzx_pdk_4_4::CFiTraceLog;

constexpr size_t FILE_SIZE = size_t{10} * 1024 * 1024;  // the log's own default
constexpr size_t FILE_COUNT = 5;

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
    static spdlog::logger* const logger = [] {
        auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>((root() / "raw.log").string(), FILE_SIZE,
                                                                           FILE_COUNT);
        auto* const made = new spdlog::logger("bench", std::move(sink));
        made->set_pattern("%Y-%m-%dT%H:%M:%S.%fZ %P.%t L1 bench %v", spdlog::pattern_time_type::utc);
        made->flush_on(spdlog::level::info);  // as the log does: a line is in the file when the call returns
        return made;
    }();
    return *logger;
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
