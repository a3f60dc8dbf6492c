#include "appliance/core/hosts/host_config.h"

#include <cstdlib>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/key_values.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

// The reason, and what mends it.
[[noreturn]] void refuse(const std::string& why)
{
    throw EApplianceError(EStatus::UNUSABLE, why + "; write it with lmadm host setup");
}

[[noreturn]] void refuse(const fs::path& file, const std::string& why)
{
    refuse("configuration " + file.string() + ": " + why);
}

}  // namespace

fs::path hostRoot()
{
    const char* const root = ::secure_getenv("OBZX_ROOT");
    return root == nullptr || *root == '\0' ? fs::path("/") : fs::path(root);
}

SHostConfiguration readHostConfiguration(const fs::path& root)
{
    const fs::path file = root / "etc/qz/appliance.conf";
    std::map<std::string, std::string> values;
    try {
        values = readKeyValues(file);
    } catch (const EApplianceError& error) {
        refuse(error.what());
    }
    SHostConfiguration found = {values["STORE"], values["HOST"]};
    if (!found.store.is_absolute()) refuse(file, "STORE is not an absolute path");
    try {
        checkName(EObject::HOST, found.host);
    } catch (const EApplianceError& error) {
        refuse(file, std::string("HOST: ") + error.what());
    }
    return found;
}

}  // namespace lumora
