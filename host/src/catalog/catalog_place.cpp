#include "host/src/catalog/catalog_place.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>
#include <vector>

#include "framework/include/obzx_runtime.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* CATALOG = "/var/lib/qz/fictl.db";
constexpr const char* IN_STATE_FOLDER = "cdpfi/fictl.db";

std::string placed(const char* path)
{
    char* const buffer = obzx_place_path(path);
    if (buffer == nullptr) throw std::bad_alloc();
    std::string text = buffer;
    obzx_free_buf(buffer, 0);
    return text;
}

[[noreturn]] void refuse(const std::string& path, const std::string& reason)
{
    throw EFictl(EExit::CATALOG, "catalog " + printable(path) + ": " + reason,
                 "fictl needs a folder there that this user owns; fictl doctor tells more");
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
        part /= name;
        const mode_t mode = part == folder ? OWNER_ONLY : PASSABLE;
        if (mkdir(part.c_str(), mode) == 0) continue;
        const int error = errno;
        std::error_code ignored;
        if (!std::filesystem::is_directory(part, ignored)) {
            refuse(folder, "cannot create its folder: " + errorText(error));
        }
    }
}

std::string valueOf(const char* variable)
{
    const char* const value = secure_getenv(variable);
    return value == nullptr ? "" : value;
}

std::string homeOf(uid_t user)
{
    if (std::string home = valueOf("HOME"); !home.empty()) return home;
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
    return found->pw_dir;
}

// A catalog from before each user had one of his own stays in use, so that none is lost out of sight.
bool ownsCatalog(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
}

}  // namespace

SCatalogUser SCatalogUser::current()
{
    return {.common = placed(CATALOG),
            .isRoot = geteuid() == 0,
            .hasRootFolder = !valueOf("OBZX_ROOT").empty(),
            .stateFolder = valueOf("XDG_STATE_HOME"),
            .home = homeOf(geteuid())};
}

std::string catalogPath(const SCatalogUser& user)
{
    if (user.isRoot || user.hasRootFolder || ownsCatalog(user.common)) return user.common;
    // A relative path counts as not set.
    if (user.stateFolder.starts_with('/')) return std::filesystem::path(user.stateFolder) / IN_STATE_FOLDER;
    if (user.home.starts_with('/')) return std::filesystem::path(user.home) / ".local/state" / IN_STATE_FOLDER;
    return user.common;
}

std::string catalogPath()
{
    return catalogPath(SCatalogUser::current());
}

std::string prepareCatalogFile()
{
    std::string path = catalogPath();
    makeFolder(std::filesystem::path(path).parent_path());
    // SQLite would create the file with the process's default rights; its log files take the rights of this one. A link
    // or a pipe in the file's place is not followed or waited for.
    constexpr mode_t OWNER_ONLY = 0600;
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, OWNER_ONLY);
    if (file < 0) refuse(path, errorText(errno));
    struct stat status = {};
    const bool isFile = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    close(file);
    if (!isFile) refuse(path, "not a regular file");
    return path;
}

}  // namespace fictl
