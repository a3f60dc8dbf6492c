#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/file_descriptor.h"

namespace base {

/// Returns when the names in a folder are on disk: those that were made, changed and removed. False with errno set. A
/// file system that has nothing to wait for counts as done.
inline bool syncFolder(const char* folder) noexcept
{
    const CFileDescriptor opened(::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) return ::fsync(opened.get()) == 0 || errno == EINVAL;
    if (errno != EACCES) return false;
    ::sync();  // who may write into a folder need not be allowed to read it
    return true;
}

}  // namespace base
