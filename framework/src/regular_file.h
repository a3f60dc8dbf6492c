#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace obzx_pdk_4_4 {

/// The content of a file; empty when it is no regular file, cannot be read or is larger than the limit. Whatever the
/// path names is opened without waiting, so that a FIFO or a device in a file's place cannot stop the host.
std::optional<std::string> readRegularFile(const std::string& path, size_t limit);

}  // namespace obzx_pdk_4_4
