#include "host/src/process/temporary_folder.h"

#include <cstdio>
#include <cstdlib>

namespace fictl {

std::string temporaryFolder()
{
    const char* const folder = secure_getenv("TMPDIR");
    return folder == nullptr || *folder == '\0' ? P_tmpdir : folder;
}

}  // namespace fictl
