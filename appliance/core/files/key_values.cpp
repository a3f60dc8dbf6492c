#include "appliance/core/files/key_values.h"

#include <sstream>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"

namespace lumora {

namespace {

constexpr size_t MAX_FILE_SIZE = size_t{64} << 10U;

}  // namespace

std::map<std::string, std::string> readKeyValues(const std::filesystem::path& file)
{
    std::map<std::string, std::string> found;
    std::istringstream lines(readSmallFile(file, MAX_FILE_SIZE));
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.empty() || line.front() == '#') continue;
        const size_t equals = line.find('=');
        if (equals == std::string::npos) {
            throw EApplianceError(EStatus::UNUSABLE, "configuration " + file.string() + ": line " +
                                                         std::to_string(number) + " is not KEY=VALUE");
        }
        found[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return found;
}

}  // namespace lumora
