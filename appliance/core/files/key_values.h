#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace lumora {

/// Reads a file of at most 64 KiB that holds lines KEY=VALUE; of several lines with one key the last one counts. Empty
/// lines and lines that begin with "#" are left alone. Status unusable for one that cannot be read, or with another
/// line.
std::map<std::string, std::string> readKeyValues(const std::filesystem::path& file);

}  // namespace lumora
