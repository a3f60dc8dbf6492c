#pragma once

#include <spdlog/logger.h>

#include <string>

namespace bench {

/// spdlog alone with the form and the files of the trace log, and like it flushed line by line: a line is in the file
/// when the call returns.
/// @param file the first of the rotating files
/// @return never destroyed
spdlog::logger& makeRawLog(const std::string& file);

}  // namespace bench
