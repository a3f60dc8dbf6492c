#include "framework/src/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "base/file_descriptor.h"

namespace obzx_pdk_4_4 {

std::optional<std::string> readRegularFile(const std::string& path, size_t limit)
{
    const base::CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    if (status.st_size > 0 && static_cast<size_t>(status.st_size) > limit) return std::nullopt;
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) return text;
        text.append(buffer, static_cast<size_t>(got));
        if (text.size() > limit) return std::nullopt;
    }
}

}  // namespace obzx_pdk_4_4
