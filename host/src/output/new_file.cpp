#include "host/src/output/new_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "base/file_sync.h"
#include "base/file_write.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string folderOf(const std::string& file)
{
    const std::string folder = std::filesystem::path(file).parent_path();
    return folder.empty() ? "." : folder;
}

}  // namespace

CNewFile::CNewFile(const std::string& file, EBusy busy, EReaders readers)
    : m_file(file), m_part(file + ".part"), m_readers(readers)
{
    try {
        while (!take(busy)) {
        }
    } catch (const EFictl&) {
        if (m_isOwn) unlink(m_part.c_str());
        throw;
    }
}

CNewFile::~CNewFile()
{
    if (m_isOwn) unlink(m_part.c_str());
}

void CNewFile::write(std::string_view bytes)
{
    if (!base::writeWhole(m_output.get(), bytes)) failFile("write", m_part);
}

bool CNewFile::keep(bool mayReplace)
{
    if (fsync(m_output.get()) != 0) failFile("write", m_part);
    if (rename(mayReplace ? 0 : RENAME_NOREPLACE) != 0) {
        if (!mayReplace && errno == EEXIST) return false;
        // A file system that cannot refuse to replace: the caller has looked that nothing is there.
        if (mayReplace || errno != EINVAL || rename(0) != 0) failFile("create", m_file);
    }
    m_isOwn = false;
    m_output = base::CFileDescriptor();  // who waits for the lock goes on
    const std::string folder = folderOf(m_file);
    if (base::syncFolder(folder.c_str())) return true;
    const int reason = errno;
    if (!mayReplace) unlink(m_file.c_str());
    errno = reason;
    failFile("write", folder);
}

int CNewFile::rename(unsigned flags) const
{
    return renameat2(AT_FDCWD, m_part.c_str(), AT_FDCWD, m_file.c_str(), flags);
}

// False when another process has just removed the file of that name.
bool CNewFile::open()
{
    constexpr int FLAGS = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    constexpr mode_t OWNER_ONLY = 0600;
    m_output = base::CFileDescriptor(::open(m_part.c_str(), FLAGS | O_CREAT | O_EXCL, OWNER_ONLY));
    m_isOwn = static_cast<bool>(m_output);
    if (m_isOwn) return true;
    if (errno != EEXIST) failFile("create", m_part);
    m_output = base::CFileDescriptor(::open(m_part.c_str(), FLAGS));
    if (!m_output && errno != ENOENT) failFile("create", m_part);
    return static_cast<bool>(m_output);
}

bool CNewFile::lock(EBusy busy) const
{
    int result = -1;
    do {
        result = flock(m_output.get(), LOCK_EX | (busy == EBusy::WAIT ? 0 : LOCK_NB));
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// False when the file that was opened is not the one of that name any more: its owner has just finished.
bool CNewFile::take(EBusy busy)
{
    if (!open()) return false;
    if (!lock(busy)) {
        // Who was faster with the lock owns the file, whoever made it.
        if (errno == EWOULDBLOCK) m_isOwn = false;
        failFile("create", m_part);
    }
    struct stat opened = {};
    struct stat named = {};
    if (fstat(m_output.get(), &opened) != 0) failFile("create", m_part);
    const bool isNamed =
        lstat(m_part.c_str(), &named) == 0 && named.st_ino == opened.st_ino && named.st_dev == opened.st_dev;
    if (!isNamed) {
        m_isOwn = false;
        return false;
    }
    requireOwn(opened);
    m_isOwn = true;
    constexpr mode_t READ_BY_ALL = 0644;
    if (m_readers == EReaders::ALL && fchmod(m_output.get(), READ_BY_ALL) != 0) failFile("let others read", m_part);
    if (ftruncate(m_output.get(), 0) != 0) failFile("write", m_part);
    return true;
}

// Something that somebody prepared must not become the document, and nobody reads it who may not.
void CNewFile::requireOwn(const struct stat& status) const
{
    const mode_t ofOthers = m_readers == EReaders::ALL ? 022 : 077;
    if (S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1 &&
        (status.st_mode & ofOthers) == 0) {
        return;
    }
    errno = EEXIST;
    failFile("create", m_part);
}

void requireReplaceable(const std::string& file)
{
    struct stat status = {};
    if (lstat(file.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return;
    throw EFictl(EExit::IO, printable(file) + " is not a regular file, so it is not replaced", "give another file");
}

}  // namespace fictl
