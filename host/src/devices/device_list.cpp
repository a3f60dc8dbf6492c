#include "host/src/devices/device_list.h"

#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

#include "host/src/provider/usable_names.h"
#include "host/src/text/display_text.h"

namespace fictl {

namespace {

/// Where a serial stands: in a group, or in a time image of one.
struct SPlace
{
    GroupKey group;
    std::string image;
};

std::map<std::string, SPlace> placesOf(const SInspection& inspection)
{
    std::map<std::string, SPlace> places;
    for (const auto& [applianceName, appliance] : inspection.appliances) {
        for (const auto& [groupName, group] : appliance.groups) {
            const GroupKey key{applianceName, groupName};
            for (const SInspectedLun& lun : group.luns) {
                places.emplace(lun.serial, SPlace{key, ""});
            }
            for (const auto& [imageName, image] : group.images) {
                for (const SInspectedLun& lun : image.luns) {
                    places.emplace(lun.serial, SPlace{key, imageName});
                }
            }
        }
    }
    return places;
}

std::optional<SNameProblem> nameProblem(const std::string& provider, const SListedDisk& disk)
{
    if (!disk.image.empty()) return std::nullopt;
    SNodeState state;
    state.applianceName = disk.appliance;
    state.consistencyGroup = disk.group;
    state.serialNo = disk.serial;
    return findNameProblem(provider, state);
}

}  // namespace

std::vector<SListedDisk> listDisks(const SInspection& inspection, const std::string& provider)
{
    const std::map<std::string, SPlace> places = placesOf(inspection);
    std::map<std::string, std::string> ambiguous;
    for (const SAmbiguousLun& lun : inspection.ambiguous) {
        ambiguous.emplace(lun.serial, lun.reason);
    }
    std::map<std::string, SListedDisk, SNameOrder> disks;
    for (const auto& [path, serial] : inspection.disks) {
        SListedDisk& disk = disks[path];
        disk.path = path;
        disk.serial = serial;
        const auto place = places.find(serial);
        if (place == places.end()) {
            disk.reason = "in no consistency group";
            continue;
        }
        std::tie(disk.appliance, disk.group) = place->second.group;
        disk.image = place->second.image;
        if (!disk.image.empty()) disk.reason = "a copy, of a time image";
        if (const auto entry = inspection.unlistable.find(serial); entry != inspection.unlistable.end()) {
            disk.reason = entry->second;
        }
        if (auto problem = nameProblem(provider, disk)) disk.reason = problem->reason;
        if (const auto doubt = ambiguous.find(serial); doubt != ambiguous.end()) disk.reason = doubt->second;
    }
    std::vector<SListedDisk> list;
    list.reserve(disks.size());
    for (auto& [path, disk] : disks) {
        list.push_back(std::move(disk));
    }
    return list;
}

json devicesJson(const std::vector<SListedDisk>& disks)
{
    json devices = json::array();
    for (const SListedDisk& disk : disks) {
        devices.push_back({{"device", disk.path},
                           {"path", disk.path},
                           {"claimed", disk.reason.empty()},
                           {"appliance", textOrNull(disk.appliance)},
                           {"group", textOrNull(disk.group)},
                           {"image", textOrNull(disk.image)},
                           {"serial", disk.serial},
                           {"reason", textOrNull(disk.reason)}});
    }
    return devices;
}

Rows deviceRows(const std::vector<SListedDisk>& disks)
{
    Rows rows = {{"DEVICE", "CLAIMED", "APPLIANCE", "GROUP", "SERIAL", "NOTE"}};
    for (const SListedDisk& disk : disks) {
        const std::string image = disk.image.empty() ? "" : " \"" + disk.image + "\"";
        rows.push_back({disk.path, disk.reason.empty() ? "yes" : "no", disk.appliance, disk.group, disk.serial,
                        disk.reason + image});
    }
    return rows;
}

}  // namespace fictl
