#include "host/src/reconcile/left_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>

#include "base/file_descriptor.h"
#include "base/process_stat.h"
#include "base/temporary_file_name.h"
#include "host/src/reconcile/proof.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/shell_words.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

constexpr const char* PART = ".part";
constexpr const char* SCRIPT_PREFIX = "ksv_fi";
// Both times are this host's. A command's start is kept by the second, and a file system may know its own clock by a
// tick of the kernel's; a command writes its first file within the look at its catalog.
constexpr std::chrono::seconds BEFORE{2};
constexpr std::chrono::seconds BEHIND{60};

struct SFile
{
    bool isThere = false;
    bool isOwn = false;  ///< a regular file, of this user alone
    bool isHeld = false;
    bool isSure = true;   ///< whether it is held is known
    UtcTime began{};      ///< when it was made, where the file system tells; else when it was written
    std::string written;  ///< UTC
};

UtcTime timeOf(const statx_timestamp& time)
{
    return UtcTime(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

// A writer holds the lock of CNewFile as long as it writes. One that begins in this very moment finds the file in use.
void lookAtLock(const std::string& path, SFile& file)
{
    const base::CFileDescriptor opened(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    file.isHeld = opened && flock(opened.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    file.isSure = static_cast<bool>(opened);
}

SFile look(const std::string& path)
{
    constexpr mode_t OF_OTHERS = 077;
    SFile file;
    struct statx status = {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) return file;
    file.isThere = true;
    file.isOwn = S_ISREG(status.stx_mode) && status.stx_uid == geteuid() && status.stx_nlink == 1 &&
                 (status.stx_mode & OF_OTHERS) == 0;
    file.written = utcText(timeOf(status.stx_mtime));
    file.began = timeOf((status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_mtime);
    if (file.isOwn) lookAtLock(path, file);
    return file;
}

bool beganWith(const SFile& file, const SHistoryEntry& entry)
{
    const std::optional<UtcTime> started = utcSecondsOf(entry.started);
    return started && file.began >= *started - BEFORE && file.began <= *started + BEHIND;
}

/// Finds the files and gives them their classes.
class CLeftFiles
{
  public:
    CLeftFiles(const SCatalogView& catalog, const CUnderWay& underWay, const std::string& host, SReconciliation& found)
        : m_catalog(catalog), m_underWay(underWay), m_host(host), m_found(found)
    {
    }

    void judgeParts()
    {
        std::set<std::string> paths = partsOfCatalog();
        for (const SHistoryEntry& entry : m_catalog.history) {
            for (const std::string& file : filesOf(entry)) {
                if (file.starts_with('/')) paths.insert(file + PART);
            }
        }
        for (const std::string& path : paths) {
            judge({.kind = EObjectKind::PART_FILE, .name = path},
                  [&](const SHistoryEntry& entry) { return filesOf(entry).contains(path.substr(0, path.size() - 5)); });
        }
    }

    void judgeScripts(const std::string& folder)
    {
        std::error_code ignored;
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
            names.insert(entry.path().filename());
        }
        for (const std::string& name : names) {
            if (!name.starts_with(SCRIPT_PREFIX)) continue;
            judgeScript({.kind = EObjectKind::SCRIPT, .name = folder + "/" + name},
                        base::temporaryFileMaker(name, SCRIPT_PREFIX));
        }
    }

  private:
    static std::set<std::string> filesOf(const SHistoryEntry& entry)
    {
        const std::vector<std::string> words = shellWords(entry.command);
        std::set<std::string> files;
        for (const char* const option : {"--file", "--record"}) {
            for (const std::string& value : valuesOf(words, option)) {
                files.insert(value);
            }
        }
        return files;
    }

    std::set<std::string> partsOfCatalog() const
    {
        const fs::path catalog(m_catalog.path);
        std::set<std::string> paths;
        std::error_code ignored;
        for (const fs::directory_entry& entry : fs::directory_iterator(catalog.parent_path(), ignored)) {
            const std::string name = entry.path().filename();
            if (name.starts_with(catalog.filename().string()) && name.ends_with(PART)) paths.insert(entry.path());
        }
        return paths;
    }

    void judgeScript(SFoundObject object, const std::optional<base::STemporaryFileMaker>& maker)
    {
        const std::string here = base::processPlace(base::bootId(), base::pidNamespace());
        if (maker && maker->place == here) {
            const std::optional<base::SProcessStat> process = base::readProcessStat(maker->pid);
            if (!process || (!process->isGone() && process->startTime == maker->startTime)) {
                object.klass = process ? EObjectClass::IN_FLIGHT : EObjectClass::UNKNOWN;
                object.add("process", "process " + std::to_string(maker->pid) +
                                          (process ? ", which made it, runs" : ", which made it, cannot be seen"));
                m_found.objects.push_back(std::move(object));
                return;
            }
        }
        const size_t before = m_found.objects.size();
        judge(std::move(object), [&](const SHistoryEntry& entry) {
            return maker && maker->place == base::processPlace(entry.process.bootId, entry.process.pidNamespace) &&
                   std::cmp_equal(maker->pid, entry.process.pid) &&
                   std::cmp_equal(maker->startTime, entry.process.startTime);
        });
        if (!maker || maker->place == here || m_found.objects.size() == before) return;
        SFoundObject& judged = m_found.objects.back();
        if (judged.klass != EObjectClass::FOREIGN) return;
        judged.klass = EObjectClass::UNKNOWN;
        judged.add("process", "it is of another run of this machine, or of another container, which cannot be seen");
    }

    template <class IsOf>
    void judge(SFoundObject object, IsOf isOf)
    {
        const SFile file = look(object.name);
        if (!file.isThere) return;
        object.time = file.written;
        object.add("file", "it was written at " + file.written);
        if (!file.isOwn) {
            object.klass = EObjectClass::FOREIGN;
            object.add("file", "it is no regular file of this user alone");
        } else if (file.isHeld) {
            object.klass = EObjectClass::IN_FLIGHT;
            object.add("file", "a process holds it");
        } else if (!file.isSure) {
            object.add("file", "whether a process holds it cannot be told");
        } else {
            judgeByHistory(object, file, isOf);
        }
        m_found.objects.push_back(std::move(object));
    }

    template <class IsOf>
    void judgeByHistory(SFoundObject& object, const SFile& file, IsOf isOf) const
    {
        object.klass = EObjectClass::FOREIGN;
        for (const SHistoryEntry& entry : m_catalog.history) {
            if (!isOf(entry) || entry.invoker.host != m_host || !beganWith(file, entry)) continue;
            if (m_underWay.isEntry(entry.id)) {
                object.klass = EObjectClass::IN_FLIGHT;
                object.add("process", entryText(entry) + " is under way");
                return;
            }
            // A command that went well has given the file its name, or taken it away.
            if (entry.end && entry.end->exit == 0) continue;
            object.klass = EObjectClass::ORPHAN;
            object.entry = entry.id;
            object.add("history", entryText(entry) + " began it, and its process is gone");
            return;
        }
        object.add("history", "no entry of the history has begun it");
    }

    const SCatalogView& m_catalog;
    const CUnderWay& m_underWay;
    const std::string& m_host;
    SReconciliation& m_found;
};

}  // namespace

void judgeLeftFiles(const SCatalogView& catalog, const CUnderWay& underWay, const std::string& host,
                    const std::string& temporaryFolder, SReconciliation& found)
{
    CLeftFiles files(catalog, underWay, host, found);
    files.judgeParts();
    if (!temporaryFolder.empty()) files.judgeScripts(temporaryFolder);
}

std::string removeLeftFile(const std::string& path, const std::string& time)
{
    // Held while it goes, so that nobody begins to write it.
    const base::CFileDescriptor opened(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (opened && flock(opened.get(), LOCK_EX | LOCK_NB) != 0) return "a process holds it";
    const SFile file = look(path);
    if (!file.isThere) return {};
    if (!opened || !file.isOwn || file.written != time) return "it is another file by now";
    return unlink(path.c_str()) == 0 ? "" : std::generic_category().message(errno);
}

}  // namespace fictl
