#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/file_descriptor.h"

namespace lumora {

/// All functions throw EApplianceError with status storage and the path in the text, unless said otherwise.

/// Opens with O_CLOEXEC added.
base::CFileDescriptor openFile(const std::filesystem::path& path, int flags, mode_t mode = 0600);
void writeAt(int fd, std::string_view bytes, uint64_t offset, const std::filesystem::path& path);
/// Reads until `size` bytes or the end of the file; returns the count.
size_t readAt(int fd, char* bytes, size_t size, uint64_t offset, const std::filesystem::path& path);
void syncFile(int fd, const std::filesystem::path& path);
void syncFolder(const std::filesystem::path& path);
/// With its parents, which are for all to pass through; there already is fine. The modes hold whatever the umask is.
void makeFolder(const std::filesystem::path& path, mode_t mode = 0700);

/// Removes a folder with all that is in it; gone already is fine.
void dropFolder(const std::filesystem::path& path);

/// Whether something has this name; a link is something wherever it leads. A look that fails is no absence.
bool isThere(const std::filesystem::path& path);

/// The content of a regular file of at most `limit` bytes. A folder, FIFO, device or larger file is refused without
/// waiting for anything (status unusable); so is a file that cannot be read.
std::string readSmallFile(const std::filesystem::path& path, size_t limit);

/// Puts `text` (or a link to `target`) in place of `path` in one step: readers see the old or the new one, never a
/// part.
void replaceFile(const std::filesystem::path& path, std::string_view text, mode_t mode);
void replaceLink(const std::filesystem::path& path, const std::filesystem::path& target);

/// Random bits from the kernel.
uint64_t randomNumber();

}  // namespace lumora
