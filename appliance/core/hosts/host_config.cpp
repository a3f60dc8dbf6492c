#include "appliance/core/hosts/host_config.h"

#include <cstdlib>
#include <sstream>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/file_io.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr size_t MAX_FILE_SIZE = size_t{64} << 10U;

[[noreturn]] void refuse(const fs::path& file, const std::string& why)
{
    throw EApplianceError(EStatus::UNUSABLE,
                          "configuration " + file.string() + ": " + why + "; write it with lmadm host setup");
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
    std::string content;
    try {
        content = readSmallFile(file, MAX_FILE_SIZE);
    } catch (const EApplianceError& error) {
        throw EApplianceError(EStatus::UNUSABLE, std::string(error.what()) + "; write it with lmadm host setup");
    }
    SHostConfiguration found;
    std::istringstream lines(content);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.empty() || line.front() == '#') continue;
        const size_t equals = line.find('=');
        if (equals == std::string::npos) refuse(file, "line " + std::to_string(number) + " is not KEY=VALUE");
        const std::string key = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (key == "STORE") {
            found.store = value;
        } else if (key == "HOST") {
            found.host = value;
        }
    }
    if (!found.store.is_absolute()) refuse(file, "STORE is not an absolute path");
    try {
        checkName(EObject::HOST, found.host);
    } catch (const EApplianceError& error) {
        refuse(file, std::string("HOST: ") + error.what());
    }
    return found;
}

}  // namespace lumora
