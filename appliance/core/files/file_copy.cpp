#include "appliance/core/files/file_copy.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

struct SCopy
{
    const base::CFileDescriptor& from;
    const fs::path& fromPath;
    const base::CFileDescriptor& to;
    const fs::path& toPath;
};

void copyThroughBuffer(const SCopy& copy, uint64_t start, uint64_t end)
{
    std::vector<char> buffer(size_t{1} << 20U);
    while (start < end) {
        const size_t wanted = std::min<uint64_t>(buffer.size(), end - start);
        const size_t count = readAt(copy.from.get(), buffer.data(), wanted, start, copy.fromPath);
        if (count == 0) return;
        writeAt(copy.to.get(), std::string_view(buffer.data(), count), start, copy.toPath);
        start += count;
    }
}

void copyData(const SCopy& copy, uint64_t start, uint64_t end)
{
    while (start < end) {
        auto in = static_cast<off_t>(start);
        auto out = static_cast<off_t>(start);
        const ssize_t count = ::copy_file_range(copy.from.get(), &in, copy.to.get(), &out, end - start, 0);
        if (count > 0) {
            start += static_cast<uint64_t>(count);
        } else if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO)) {
            throwStorage("write", copy.toPath.string(), errno);
        } else if (count == 0 || errno != EINTR) {
            // Not possible between these two files; some file systems also answer 0 in the middle of a file.
            copyThroughBuffer(copy, start, end);
            return;
        }
    }
}

void copySparse(const SCopy& copy, uint64_t size)
{
    uint64_t position = 0;
    while (position < size) {
        const off_t data = ::lseek(copy.from.get(), static_cast<off_t>(position), SEEK_DATA);
        if (data < 0 && errno == ENXIO) return;
        if (data < 0) {
            copyData(copy, position, size);
            return;
        }
        const off_t hole = ::lseek(copy.from.get(), data, SEEK_HOLE);
        const uint64_t end = hole < 0 ? size : std::min(size, static_cast<uint64_t>(hole));
        copyData(copy, static_cast<uint64_t>(data), end);
        position = std::max(end, static_cast<uint64_t>(data) + 1);
    }
}

}  // namespace

void copyFile(const fs::path& source, const fs::path& target, uint64_t size)
{
    const base::CFileDescriptor from = openFile(source, O_RDONLY);
    const base::CFileDescriptor to = openFile(target, O_RDWR | O_CREAT | O_EXCL);
    const bool cloned = ::ioctl(to.get(), FICLONE, from.get()) == 0;
    if (::ftruncate(to.get(), static_cast<off_t>(size)) != 0) throwStorage("write", target.string(), errno);
    if (!cloned) copySparse({from, source, to, target}, size);
}

}  // namespace lumora
