#include "appliance/core/engines/files_engine.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
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

void CFilesEngine::makeData(const SVolume& volume, const std::optional<fs::path>& file, const fs::path& work)
{
    const fs::path data = work / volume.name;
    if (file) copyFile(*file, data, volume.size);
    const base::CFileDescriptor made = openFile(data, O_RDWR | O_CREAT);
    if (::ftruncate(made.get(), static_cast<off_t>(volume.size)) != 0) throwStorage("write", data.string(), errno);
    syncFile(made.get(), data);
}

void CFilesEngine::publishData(const SVolume& volume, const fs::path& work)
{
    const fs::path data = devices() / volume.name;
    if (::rename((work / volume.name).c_str(), data.c_str()) != 0) throwStorage("create", data.string(), errno);
    syncFolder(devices());
}

void CFilesEngine::dropData(const SVolume& volume)
{
    std::error_code ignored;  // the next one tries again
    fs::remove(devices() / volume.name, ignored);
}

bool CFilesEngine::hasStrayData(const CListedVolumes& listed)
{
    return !strayData(listed()).empty();
}

void CFilesEngine::dropStrayData(const CListedVolumes& listed)
{
    for (const fs::path& left : strayData(listed())) {
        std::error_code ignored;  // the next one tries again
        fs::remove(left, ignored);
    }
}

std::vector<fs::path> CFilesEngine::strayData(const std::vector<SVolume>& listed) const
{
    std::vector<fs::path> stray = strayDevices(devices(), listed);
    std::erase_if(stray, [](const fs::path& path) {
        std::error_code error;
        return !fs::is_regular_file(path, error);
    });
    return stray;
}

void CFilesEngine::fixContent(const std::vector<SVolume>& volumes, const fs::path& gate, const fs::path& content)
{
    {
        const CGate alone(gate);
        for (const SVolume& volume : volumes) {
            copyFile(devices() / volume.name, content / volume.name, volume.size);
        }
    }
    // The copy is complete: waiting for the disk needs no closed gate.
    syncVolumes(volumes, content);
}

void CFilesEngine::makeImage(const std::vector<SVolume>& volumes, const fs::path& content, const fs::path& image)
{
    const fs::path imageDevices = image / "dev";
    makeFolder(imageDevices);
    for (const SVolume& volume : volumes) {
        copyFile(content / volume.name, imageDevices / volume.name, volume.size);
    }
    syncVolumes(volumes, imageDevices);
    syncFolder(image.parent_path());
}

void CFilesEngine::dropContent(const fs::path& content)
{
    dropFolder(content);
}

void CFilesEngine::dropImage(const fs::path& image)
{
    dropFolder(image);
}

}  // namespace lumora
