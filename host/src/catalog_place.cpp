#include "host/src/catalog_place.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <system_error>

#include "framework/include/obzx_runtime.h"
#include "host/src/error.h"
#include "host/src/names.h"

namespace fictl {

namespace {

constexpr const char* CATALOG = "/var/lib/qz/fictl.db";

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
                 "fictl needs a folder there that this user owns; see the environment variable OBZX_ROOT");
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

}  // namespace

std::string prepareCatalogFile()
{
    std::string path = placed(CATALOG);
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
