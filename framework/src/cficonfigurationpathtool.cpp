#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfistringtool.h"

namespace obzx_pdk_4_4 {

int CFiConfigurationPathTool::verify(const ACE_String_Base<char>& path)
{
    const std::string text = CFiStringTool::tstr2str(path);
    if (text.empty() || text.find('\0') != std::string::npos) return ENOENT;
    const std::string placed = placePath(text);
    struct stat status = {};
    if (::stat(placed.c_str(), &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EACCES;
    // The superuser may "execute" anything with any execute bit at all, and the host need not run with its real ids.
    return ::faccessat(AT_FDCWD, placed.c_str(), X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

}  // namespace obzx_pdk_4_4
