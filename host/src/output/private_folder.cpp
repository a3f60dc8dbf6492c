#include "host/src/output/private_folder.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include "host/src/output/error.h"

namespace fictl {

CPrivateFolder::CPrivateFolder()
{
    std::string name = temporaryFolder() / "fictl.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) failFile("create", name);
    m_path = name;
}

CPrivateFolder::~CPrivateFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::filesystem::path temporaryFolder()
{
    const char* const folder = secure_getenv("TMPDIR");
    return folder == nullptr || *folder == '\0' ? P_tmpdir : folder;
}

}  // namespace fictl
