#include "appliance/core/engines/files_engine.h"

#include <fcntl.h>

#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_copy.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/gate.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

void syncVolumes(const std::vector<SVolume>& volumes, const fs::path& folder)
{
    for (const SVolume& volume : volumes) {
        const fs::path file = folder / volume.name;
        syncFile(openFile(file, O_RDONLY).get(), file);
    }
    syncFolder(folder);
    syncFolder(folder.parent_path());
}

}  // namespace

void CFilesEngine::fixContent(const std::vector<SVolume>& volumes, const fs::path& gate, const fs::path& content)
{
    {
        const CGate alone(gate);
        for (const SVolume& volume : volumes) {
            copyFile(volume.data, content / volume.name, volume.size);
        }
    }
    // The copy is complete: waiting for the disk needs no closed gate.
    syncVolumes(volumes, content);
}

void CFilesEngine::makeImage(const std::vector<SVolume>& volumes, const fs::path& content, const fs::path& image)
{
    const fs::path devices = image / "dev";
    makeFolder(devices);
    for (const SVolume& volume : volumes) {
        copyFile(content / volume.name, devices / volume.name, volume.size);
    }
    syncVolumes(volumes, devices);
    syncFolder(image.parent_path());
}

void CFilesEngine::drop(const fs::path& folder)
{
    std::error_code error;
    fs::remove_all(folder, error);
    if (error) throwStorage("remove", folder.string(), error.value());
}

fs::path CFilesEngine::hostPath(const fs::path& image, const std::string& volume) const
{
    return image / "dev" / volume;
}

}  // namespace lumora
