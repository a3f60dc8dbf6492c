#pragma once

#include <cstdint>
#include <filesystem>

#include "base/file_descriptor.h"

namespace lumora {

/// Locks on byte ranges of an open file description. They belong to the open file, so two openings in one process
/// exclude each other, and the kernel frees them when the last descriptor closes, however its process ends.
enum class ERangeLock : uint8_t
{
    SHARED,
    EXCLUSIVE
};

/// Waits until the range is free. Throws status storage when the kernel refuses.
void lockRange(int fd, ERangeLock kind, uint64_t start, uint64_t length, const std::filesystem::path& path);
/// False when somebody else holds a lock in the way.
bool tryLockRange(int fd, ERangeLock kind, uint64_t start, uint64_t length, const std::filesystem::path& path);
/// Whether nobody holds the range for itself; takes none, so that nobody who wants one meets it.
bool isRangeFree(int fd, uint64_t start, uint64_t length, const std::filesystem::path& path);
/// Opens `path`, made when missing, and waits until one byte of it is locked for this opening alone.
base::CFileDescriptor lockByte(const std::filesystem::path& path, uint64_t byte);
void unlockRange(int fd, uint64_t start, uint64_t length) noexcept;

}  // namespace lumora
