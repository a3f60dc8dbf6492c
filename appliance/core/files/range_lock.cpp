#include "appliance/core/files/range_lock.h"

#include <fcntl.h>

#include <cerrno>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"

namespace lumora {

namespace {

struct flock rangeOf(short type, uint64_t start, uint64_t length) noexcept
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(start);
    range.l_len = static_cast<off_t>(length);
    return range;
}

int control(int fd, int command, short type, uint64_t start, uint64_t length) noexcept
{
    struct flock range = rangeOf(type, start, length);
    int result = 0;
    do {
        result = ::fcntl(fd, command, &range);
    } while (result != 0 && errno == EINTR);
    return result;
}

short lockType(ERangeLock kind) noexcept
{
    return kind == ERangeLock::SHARED ? F_RDLCK : F_WRLCK;
}

}  // namespace

void lockRange(int fd, ERangeLock kind, uint64_t start, uint64_t length, const std::filesystem::path& path)
{
    if (control(fd, F_OFD_SETLKW, lockType(kind), start, length) != 0) throwStorage("lock", path.string(), errno);
}

bool tryLockRange(int fd, ERangeLock kind, uint64_t start, uint64_t length, const std::filesystem::path& path)
{
    if (control(fd, F_OFD_SETLK, lockType(kind), start, length) == 0) return true;
    if (errno != EAGAIN && errno != EACCES) throwStorage("lock", path.string(), errno);
    return false;
}

bool isRangeFree(int fd, uint64_t start, uint64_t length, const std::filesystem::path& path)
{
    struct flock range = rangeOf(F_RDLCK, start, length);
    if (::fcntl(fd, F_OFD_GETLK, &range) != 0) throwStorage("look at the lock of", path.string(), errno);
    return range.l_type == F_UNLCK;
}

base::CFileDescriptor lockByte(const std::filesystem::path& path, uint64_t byte)
{
    base::CFileDescriptor file = openFile(path, O_RDWR | O_CREAT);
    lockRange(file.get(), ERangeLock::EXCLUSIVE, byte, 1, path);
    return file;
}

void unlockRange(int fd, uint64_t start, uint64_t length) noexcept
{
    control(fd, F_OFD_SETLK, F_UNLCK, start, length);
}

}  // namespace lumora
