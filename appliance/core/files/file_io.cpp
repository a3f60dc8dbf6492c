#include "appliance/core/files/file_io.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/range_lock.h"
#include "base/file_read.h"
#include "base/file_sync.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr mode_t PUBLIC_FOLDER = 0755;

// A file that is to take the place of `path`, under a name of its own. Its maker holds a lock on it, so that others can
// tell it from one that somebody was killed over.
constexpr const char* TEMPORARY = ".new";

void removeLeftovers(const fs::path& path)
{
    const std::string beginning = path.filename().string() + TEMPORARY;
    std::error_code error;
    for (fs::directory_iterator entry(path.parent_path(), error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().string().compare(0, beginning.size(), beginning) != 0) continue;
        try {
            const base::CFileDescriptor left = openFile(entry->path(), O_RDWR | O_NOFOLLOW | O_NONBLOCK);
            if (tryLockRange(left.get(), ERangeLock::EXCLUSIVE, 0, 1, entry->path())) ::unlink(entry->path().c_str());
        } catch (const EApplianceError&) {
            continue;  // no such file, and nothing that is in the way
        }
    }
}

void moveIntoPlace(const fs::path& temporary, const fs::path& path)
{
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        throwStorage("replace", path.string(), error);
    }
    syncFolder(path.parent_path());
}

}  // namespace

base::CFileDescriptor openFile(const fs::path& path, int flags, mode_t mode)
{
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) throwStorage("open", path.string(), errno);
    return base::CFileDescriptor(fd);
}

void writeAt(int fd, std::string_view bytes, uint64_t offset, const fs::path& path)
{
    while (!bytes.empty()) {
        const ssize_t count = ::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throwStorage("write", path.string(), count == 0 ? EIO : errno);
        bytes.remove_prefix(static_cast<size_t>(count));
        offset += static_cast<uint64_t>(count);
    }
}

size_t readAt(int fd, char* bytes, size_t size, uint64_t offset, const fs::path& path)
{
    const ptrdiff_t count = base::readAt(fd, bytes, size, offset);
    if (count < 0) throwStorage("read", path.string(), errno);
    return static_cast<size_t>(count);
}

void syncFile(int fd, const fs::path& path)
{
    if (::fsync(fd) != 0) throwStorage("write", path.string(), errno);
}

void syncFolder(const fs::path& path)
{
    if (!base::syncFolder(path.c_str())) throwStorage("write", path.string(), errno);
}

void dropFolder(const fs::path& path)
{
    std::error_code error;
    fs::remove_all(path, error);
    if (error) throwStorage("remove", path.string(), error.value());
}

void makeFolder(const fs::path& path, mode_t mode)
{
    std::error_code error;
    if (fs::is_directory(path, error)) return;
    if (path.has_relative_path() && path.has_parent_path() && path.parent_path() != path) {
        makeFolder(path.parent_path(), PUBLIC_FOLDER);
    }
    if (::mkdir(path.c_str(), mode) != 0 && (errno != EEXIST || !fs::is_directory(path, error))) {
        throwStorage("create folder", path.string(), errno);
    }
}

bool isThere(const fs::path& path)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (status.type() == fs::file_type::none) throwStorage("look at", path.string(), error.value());
    return fs::exists(status);
}

std::string readSmallFile(const fs::path& path, size_t limit)
{
    base::SFileText file = base::readFile(path.string(), limit);
    if (!file) {
        throw EApplianceError(EStatus::UNUSABLE, "cannot read " + path.string() + ": " + base::reasonOf(file, limit));
    }
    return std::move(file.text);
}

void replaceFile(const fs::path& path, std::string_view text, mode_t mode)
{
    makeFolder(path.parent_path(), PUBLIC_FOLDER);
    removeLeftovers(path);
    const fs::path temporary = path.string() + TEMPORARY + std::to_string(randomNumber());
    try {
        const base::CFileDescriptor file = openFile(temporary, O_WRONLY | O_CREAT | O_EXCL, mode);
        lockRange(file.get(), ERangeLock::EXCLUSIVE, 0, 1, temporary);
        writeAt(file.get(), text, 0, temporary);
        // The mode asked for holds whatever the umask of the caller is.
        if (::fchmod(file.get(), mode) != 0) throwStorage("write", temporary.string(), errno);
        syncFile(file.get(), temporary);
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
    moveIntoPlace(temporary, path);
}

void replaceLink(const fs::path& path, const fs::path& target)
{
    makeFolder(path.parent_path(), PUBLIC_FOLDER);
    const fs::path temporary = path.string() + TEMPORARY;
    ::unlink(temporary.c_str());  // whoever was killed here left it
    if (::symlink(target.c_str(), temporary.c_str()) != 0) throwStorage("create link", path.string(), errno);
    moveIntoPlace(temporary, path);
}

uint64_t randomNumber()
{
    uint64_t number = 0;
    // Requests of up to 256 bytes are never cut short once the kernel's pool is ready.
    while (::getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
        if (errno != EINTR) throwStorage("read", "random numbers", errno);
    }
    return number;
}

}  // namespace lumora
