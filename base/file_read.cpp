#include "base/file_read.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/file_descriptor.h"

namespace base {

namespace {

constexpr size_t STEP = 4096;

SFileText notReadable()
{
    return {EFileRead::NOT_READABLE, errno, {}};
}

}  // namespace

std::string reasonOf(const SFileText& read, size_t limit)
{
    switch (read.outcome) {
        case EFileRead::NOT_READABLE:
            return std::error_code(read.error, std::generic_category()).message();
        case EFileRead::NOT_REGULAR_FILE:
            return "not a regular file";
        case EFileRead::TOO_LARGE:
            return "larger than " + std::to_string(limit) + " bytes";
        case EFileRead::DONE:
            break;
    }
    return {};
}

SFileText readFile(const std::string& path, size_t limit)
{
    const CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0) return notReadable();
    if (!S_ISREG(status.st_mode)) return {EFileRead::NOT_REGULAR_FILE, 0, {}};
    const auto size = static_cast<size_t>(status.st_size);
    if (size > limit) return {EFileRead::TOO_LARGE, 0, {}};
    // A file may grow between the question for its size and the end of reading, and one of /proc says 0.
    SFileText read{EFileRead::DONE, 0, {}};
    size_t done = 0;
    for (size_t wanted = std::max(size + 1, STEP); done <= limit; wanted = STEP) {
        read.text.resize(done + wanted);
        const ptrdiff_t count = readAt(file.get(), read.text.data() + done, wanted, done);
        if (count < 0) return notReadable();
        done += static_cast<size_t>(count);
        if (static_cast<size_t>(count) < wanted) break;
    }
    if (done > limit) return {EFileRead::TOO_LARGE, 0, {}};
    read.text.resize(done);
    return read;
}

ptrdiff_t readAt(int file, char* bytes, size_t size, uint64_t offset) noexcept
{
    size_t done = 0;
    while (done < size) {
        const ssize_t count = ::pread(file, bytes + done, size - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return -1;
        if (count == 0) break;
        done += static_cast<size_t>(count);
    }
    return static_cast<ptrdiff_t>(done);
}

}  // namespace base
