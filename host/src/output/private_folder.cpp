#include "host/src/output/private_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <system_error>

#include "host/src/output/error.h"

namespace fictl {

namespace {

namespace fs = std::filesystem;

constexpr const char* FORM = "fictl-private-XXXXXX";

base::CFileDescriptor openFolder(const fs::path& folder)
{
    return base::CFileDescriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Of a process that is gone: nobody holds the lock, which follows right after the making.
bool isLeftOver(const fs::path& folder)
{
    constexpr time_t YOUNG = 60;
    const base::CFileDescriptor opened = openFolder(folder);
    struct stat status = {};
    return opened && fstat(opened.get(), &status) == 0 && status.st_uid == geteuid() &&
           status.st_mtim.tv_sec + YOUNG < std::time(nullptr) && flock(opened.get(), LOCK_EX | LOCK_NB) == 0;
}

void removeLeftOvers()
{
    const std::string form = FORM;
    const std::string prefix = form.substr(0, form.find('X'));
    std::error_code ignored;
    for (fs::directory_iterator entry(temporaryFolder(), ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        const std::string name = entry->path().filename();
        const bool isNamed = name.size() == form.size() && name.starts_with(prefix);
        std::error_code failure;
        if (isNamed && isLeftOver(entry->path())) fs::remove_all(entry->path(), failure);
    }
}

}  // namespace

CPrivateFolder::CPrivateFolder()
{
    removeLeftOvers();
    std::string name = temporaryFolder() / FORM;
    if (mkdtemp(name.data()) == nullptr) failFile("create", name);
    m_path = name;
    m_lock = openFolder(m_path);
    if (m_lock) flock(m_lock.get(), LOCK_EX);
}

CPrivateFolder::~CPrivateFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

fs::path temporaryFolder()
{
    const char* const folder = secure_getenv("TMPDIR");
    return folder == nullptr || *folder == '\0' ? P_tmpdir : folder;
}

}  // namespace fictl
