#include "host/src/catalog/catalog_place.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "host/src/process/placed_path.h"

namespace fictl {

namespace {

constexpr const char* CATALOG = "/var/lib/qz/fictl.db";
constexpr const char* IN_STATE_FOLDER = "cdpfi/fictl.db";

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
    return {.common = placedPath(CATALOG),
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

}  // namespace fictl
