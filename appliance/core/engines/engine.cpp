#include "appliance/core/engines/engine.h"

#include <set>
#include <system_error>

#include "appliance/core/files/file_io.h"

namespace lumora {

namespace fs = std::filesystem;

void CBaseStorageEngine::dropWork(const std::filesystem::path& work)
{
    dropFolder(work);
}

std::vector<fs::path> strayDevices(const fs::path& devices, const std::vector<SVolume>& listed)
{
    std::set<std::string> names;
    for (const SVolume& volume : listed) {
        names.insert(volume.name);
    }
    std::vector<fs::path> stray;
    std::error_code error;
    for (fs::directory_iterator entry(devices, error), end; !error && entry != end; entry.increment(error)) {
        if (names.count(entry->path().filename().string()) == 0) stray.push_back(entry->path());
    }
    return stray;
}

}  // namespace lumora
