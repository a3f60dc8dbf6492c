#include "framework/src/input_text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace obzx_pdk_4_4 {

namespace {

ssize_t readAt(int file, char* buffer, size_t size, size_t offset)
{
    ssize_t count;
    do {
        count = ::pread(file, buffer, size, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    return count;
}

// Bytes read into a text that has room for as many as are wanted; negative when the file cannot be read.
ssize_t fill(int file, std::string& text)
{
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = readAt(file, text.data() + done, text.size() - done, done);
        if (count < 0) return count;
        if (count == 0) break;
        done += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

}  // namespace

void readInputText(int file, SInputText& text) noexcept
{
    struct stat status = {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return;
    const auto size = static_cast<uint64_t>(status.st_size);
    try {
        text.start.resize(std::min<uint64_t>(size, SInputText::MOST_KEPT));
    } catch (const std::bad_alloc&) {
        text.size = size;
        return;
    }
    const ssize_t kept = fill(file, text.start);
    text.start.resize(static_cast<size_t>(std::max<ssize_t>(kept, 0)));
    if (kept >= 0) text.size = size;
}

}  // namespace obzx_pdk_4_4
