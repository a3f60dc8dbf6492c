#include "bench/peers/raw_log.h"

#include <spdlog/sinks/rotating_file_sink.h>

#include <memory>
#include <utility>

namespace bench {

spdlog::logger& makeRawLog(const std::string& file)
{
    constexpr size_t FILE_SIZE = size_t{10} * 1024 * 1024;  // the trace log's own default
    constexpr size_t FILE_COUNT = 5;
    auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(file, FILE_SIZE, FILE_COUNT);
    auto* const made = new spdlog::logger("bench", std::move(sink));
    made->set_pattern("%Y-%m-%dT%H:%M:%S.%fZ %P.%t L1 bench %v", spdlog::pattern_time_type::utc);
    made->flush_on(spdlog::level::info);
    return *made;
}

}  // namespace bench
