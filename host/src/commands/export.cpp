#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "base/file_descriptor.h"
#include "host/src/catalog/catalog.h"
#include "host/src/catalog/record_document.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SExportRequest
{
    std::string name{};
    std::string file{};       ///< empty: standard output, the document is the command's result
    bool mayReplace = false;  ///< a file that is there
};

/// A new file that is removed again unless it was kept: nobody ever sees half a document. It grows under the name
/// FILE.part. Who holds the lock on that owns it, so that one that a killed fictl left is taken over.
class CNewFile
{
  public:
    explicit CNewFile(const std::string& file) : m_file(file), m_part(file + ".part")
    {
        while (!take()) {
        }
    }
    ~CNewFile()
    {
        if (!m_kept) unlink(m_part.c_str());
    }
    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;

    void write(const std::string& text)
    {
        size_t done = 0;
        while (done < text.size()) {
            const ssize_t count = ::write(m_output.get(), text.data() + done, text.size() - done);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) failFile("write", m_part);
            done += static_cast<size_t>(count);
        }
    }

    /// Gives it its name; what has that name already is replaced only when that is wanted.
    void keep(bool mayReplace)
    {
        if (fsync(m_output.get()) != 0) failFile("write", m_part);
        if (rename(mayReplace ? 0 : RENAME_NOREPLACE) != 0) {
            if (!mayReplace && errno == EEXIST) refuseExisting(m_file);
            // A file system that cannot refuse to replace: that nothing is there was checked before.
            if (mayReplace || errno != EINVAL || rename(0) != 0) failFile("create", m_file);
        }
        m_kept = true;
    }

    [[noreturn]] static void refuseExisting(const std::string& file)
    {
        throw EFictl(EExit::EXISTS, "file " + printable(file) + " exists already; nothing was written",
                     "give another file, or --force to replace this one");
    }

  private:
    int rename(unsigned flags) const { return renameat2(AT_FDCWD, m_part.c_str(), AT_FDCWD, m_file.c_str(), flags); }

    // False when the file that was opened is not the one of that name any more: its owner has just finished.
    bool take()
    {
        constexpr mode_t OWNER_ONLY = 0600;
        m_output = base::CFileDescriptor(
            open(m_part.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, OWNER_ONLY));
        if (!m_output) failFile("create", m_part);
        if (flock(m_output.get(), LOCK_EX | LOCK_NB) != 0) failFile("create", m_part);
        struct stat opened = {};
        struct stat named = {};
        if (fstat(m_output.get(), &opened) != 0) failFile("create", m_part);
        const bool isNamed =
            lstat(m_part.c_str(), &named) == 0 && named.st_ino == opened.st_ino && named.st_dev == opened.st_dev;
        if (!isNamed) return false;
        requireOwn(opened);
        if (ftruncate(m_output.get(), 0) != 0) failFile("write", m_part);
        return true;
    }

    // Something that somebody prepared must not become the document.
    void requireOwn(const struct stat& status) const
    {
        constexpr mode_t OF_OTHERS = 077;
        if (S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1 &&
            (status.st_mode & OF_OTHERS) == 0) {
            return;
        }
        errno = EEXIST;
        failFile("create", m_part);
    }

    std::string m_file;
    std::string m_part;
    base::CFileDescriptor m_output;  // holds the lock
    bool m_kept = false;
};

// Before anything is done, so that a mistake costs nothing. A device or a folder is never replaced.
void requireRoom(const std::string& file, bool force)
{
    struct stat status = {};
    if (lstat(file.c_str(), &status) != 0) return;
    if (!force) CNewFile::refuseExisting(file);
    if (S_ISREG(status.st_mode)) return;
    throw EFictl(EExit::IO, printable(file) + " is not a regular file, so --force does not replace it",
                 "give another file");
}

SResult exportSnapshot(const SExportRequest& request)
{
    const auto& [name, file, mayReplace] = request;
    requireSnapshotName(name);
    if (!file.empty()) requireRoom(file, mayReplace);
    CCatalog catalog;
    SSnapshot snapshot = catalog.get(name);
    const bool isWhole = snapshot.state == EState::COMPLETE || snapshot.state == EState::IMPORTED ||
                         snapshot.state == EState::IMPORT_FAILED || snapshot.state == EState::RELEASE_FAILED;
    if (!isWhole) {
        throw EFictl(EExit::STATE, "snapshot \"" + name + "\" is " + snapshot.shownState() + ": it cannot be exported",
                     "fictl snapshot show " + name);
    }
    const std::string text = writeDocument(snapshot);
    // Before anybody can have the document: from then on another host may work with the copies.
    catalog.markExported(name);
    if (file.empty()) {
        SResult document = resultOf(json::parse(text), text);
        document.isDelivery = true;
        return document;
    }
    CNewFile out(file);
    out.write(text);
    out.keep(mayReplace);
    return resultOf({{"exported", {{"name", name}, {"file", file}}}},
                    "snapshot \"" + name + "\" is written to " + printable(file) + "\n");
}

}  // namespace

CommandRun declareExport(COptions& options)
{
    const auto request = std::make_shared<SExportRequest>();
    options.word("NAME", request->name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    options.text("--file", request->file, "File to write (standard output)");
    options.flag("--force", request->mayReplace, "Replace a file that is there");
    return [request](const SContext&) { return exportSnapshot(*request); };
}

}  // namespace fictl
