#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace base {

/// Writes all of the bytes to an open file that waits, whatever signals come. False, with errno set, when the rest
/// cannot be written.
inline bool writeWhole(int file, std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

}  // namespace base
