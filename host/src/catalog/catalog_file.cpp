#include "host/src/catalog/catalog_file.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "base/file_sync.h"
#include "host/src/catalog/catalog_layout.h"
#include "host/src/catalog/catalog_place.h"
#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/process/own_setting.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* NEEDS_FOLDER = "fictl needs a folder there that this user owns; fictl doctor tells more";
// The log of one file must never meet another one: changes to pages of the first would be made to those of the other.
constexpr const char* RESTORE =
    "move away what is there of it, with its -wal and -shm; then put back a copy, or begin a new one and look up what "
    "the appliances hold";

[[noreturn]] void refuse(const std::string& path, const std::string& reason, const char* next = NEEDS_FOLDER)
{
    throw EFictl(EExit::CATALOG, "catalog " + printable(path) + ": " + reason, next);
}

std::string errorText(int error)
{
    return std::error_code(error, std::generic_category()).message();
}

void makeFolder(const std::filesystem::path& folder)
{
    // Nobody else may put folders of his own in the place of these, whatever the umask is.
    constexpr mode_t PASSABLE = 0755;
    constexpr mode_t OWNER_ONLY = 0700;
    std::filesystem::path part;
    for (const std::filesystem::path& name : folder) {
        const std::filesystem::path above = part.empty() ? "." : part;
        part /= name;
        const mode_t mode = part == folder ? OWNER_ONLY : PASSABLE;
        const bool isMade = mkdir(part.c_str(), mode) == 0;
        if (isMade && base::syncFolder(above.c_str())) continue;
        const int error = errno;
        std::error_code ignored;
        if (isMade || !std::filesystem::is_directory(part, ignored)) {
            refuse(folder, "cannot create its folder: " + errorText(error));
        }
    }
}

// A user's number, also as a number.
std::optional<uid_t> numberOf(const std::string& user)
{
    uid_t number = 0;
    const char* const end = user.data() + user.size();
    const auto [read, error] = std::from_chars(user.data(), end, number);
    if (read == end) return error == std::errc() ? std::optional(number) : std::nullopt;
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
    return found->pw_uid;
}

void requireOwner(const std::string& path, const char* what, uid_t owner, const SCatalogOwners& owners)
{
    if (owners.mayBe(owner)) return;
    refuse(path, std::string(what) + " belongs to user " + std::to_string(owner),
           "run fictl as that user, or name him with OWNERS= in section [CATALOG] of /etc/qz/fictl.conf");
}

// SQLite throws away the log of a file that is empty or new, and with it the changes that stand nowhere else.
void requireNoLog(const std::string& path)
{
    struct stat log = {};
    if (lstat((path + "-wal").c_str(), &log) != 0 || log.st_size == 0) return;
    refuse(path, "it is not there, and its log " + printable(path) + "-wal is", RESTORE);
}

void requireContent(const std::string& path, const struct stat& status)
{
    if (status.st_size != 0) return;
    refuse(path, "it is empty: there was a catalog, and it was cut to nothing", RESTORE);
}

void makeFresh(const std::string& path)
{
    try {
        CNewFile file(path, CNewFile::EBusy::WAIT);
        // Another process may have been faster; its catalog may hold records by now.
        if (isCatalogThere(path, ECatalogUse::WRITE)) return;
        file.write(emptyCatalog());
        file.keep(false);
    } catch (const EFictl& error) {
        if (error.exit() == EExit::CATALOG) throw;
        refuse(path, error.what(), "check the rights on its folder and the free space in it");
    }
}

}  // namespace

SCatalogOwners SCatalogOwners::current()
{
    SCatalogOwners owners{.user = geteuid()};
    for (const std::string& name : wordsOfSetting("CATALOG", "OWNERS")) {
        if (const std::optional<uid_t> number = numberOf(name)) owners.named.insert(*number);
    }
    return owners;
}

bool isCatalogThere(const std::string& path, ECatalogUse use, const SCatalogOwners& owners)
{
    const std::string folder = std::filesystem::path(path).parent_path();
    struct stat status = {};
    if (stat(folder.c_str(), &status) == 0) requireOwner(path, "its folder", status.st_uid, owners);
    if (lstat(path.c_str(), &status) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) refuse(path, errorText(errno));
        requireNoLog(path);
        return false;
    }
    // A link or a pipe in the file's place is not followed or waited for.
    if (!S_ISREG(status.st_mode)) refuse(path, "not a regular file");
    requireOwner(path, "it", status.st_uid, owners);
    // Not by opening it: closing it again would give back the locks that SQLite has on it in this process.
    const int rights = use == ECatalogUse::READ ? R_OK : R_OK | W_OK;
    if (faccessat(AT_FDCWD, path.c_str(), rights, AT_EACCESS) != 0) refuse(path, errorText(errno));
    requireContent(path, status);
    return true;
}

bool isCatalogThere(const std::string& path, ECatalogUse use)
{
    return isCatalogThere(path, use, SCatalogOwners::current());
}

std::string prepareCatalogFile()
{
    std::string path = catalogPath();
    makeFolder(std::filesystem::path(path).parent_path());
    if (!isCatalogThere(path, ECatalogUse::WRITE)) makeFresh(path);
    return path;
}

}  // namespace fictl
