#include "appliance/ceph/open_devices.h"

#include <nlohmann/json.hpp>
#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"

namespace lumora {
namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;
constexpr size_t LONGEST = size_t{1} << 16U;

}  // namespace

void COpenDevices::add(const SOpenDevice& device) const
{
    makeFolder(m_folder);
    const Json json = {{"image", device.image},
                       {"client", device.client},
                       {"volume", device.volume},
                       {"path", device.path},
                       {"time_image", device.timeImage}};
    replaceFile(m_folder / device.name, json.dump() + "\n", 0600);
}

void COpenDevices::remove(const SOpenDevice& device) const
{
    std::error_code error;
    fs::remove(m_folder / device.name, error);
    if (error) throwStorage("remove", (m_folder / device.name).string(), error.value());
}

std::vector<SOpenDevice> COpenDevices::list() const
{
    std::vector<SOpenDevice> devices;
    std::error_code error;
    for (fs::directory_iterator entry(m_folder, error), end; !error && entry != end; entry.increment(error)) {
        try {
            const Json json = Json::parse(readSmallFile(entry->path(), LONGEST));
            devices.push_back({entry->path().filename().string(), json.at("image"), json.at("client"),
                               json.at("volume"), json.at("time_image"), json.at("path").get<std::string>()});
        } catch (const Json::exception&) {
            continue;  // of another program
        } catch (const EApplianceError&) {
            continue;  // taken away meanwhile
        }
    }
    return devices;
}

}  // namespace lumora
