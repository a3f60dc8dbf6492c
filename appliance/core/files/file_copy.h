#pragma once

#include <cstdint>
#include <filesystem>

namespace lumora {

/// Makes `target` (which must not exist) a file of `size` bytes with the content of `source`. Bytes past the end of
/// the source read as zero. Shares blocks where the file system can, else copies the data and leaves the holes out.
/// Does not wait for stable storage: see syncFile. Throws status storage.
void copyFile(const std::filesystem::path& source, const std::filesystem::path& target, uint64_t size);

}  // namespace lumora
