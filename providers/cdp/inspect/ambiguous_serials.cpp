#include "providers/cdp/inspect/ambiguous_serials.h"

#include <map>
#include <set>
#include <utility>

namespace cdpfi::inspect {

namespace {

using CPlace = std::pair<std::string, std::string>;  // appliance, group
using CPlaces = std::map<std::string, std::set<CPlace>>;

std::string describe(const CPlace& place)
{
    return "group " + place.second + " of appliance " + place.first;
}

std::string listed(const std::set<CPlace>& places)
{
    std::string text;
    for (const CPlace& place : places) {
        text += (text.empty() ? "" : ", ") + describe(place);
    }
    return text;
}

std::string reasonFor(const std::set<CPlace>& named, const std::set<CPlace>& holding)
{
    std::string reason;
    if (!named.empty()) reason = "it is also the name of " + listed(named);
    if (named.empty() || holding.size() > 1) {
        reason += reason.empty() ? "it is a LUN of " : ", and a LUN of ";
        reason += listed(holding);
    }
    return reason;
}

}  // namespace

std::vector<SAmbiguousSerial> findAmbiguous(const std::vector<SAppliance>& appliances, const SDisks& disks)
{
    CPlaces named;
    CPlaces holding;
    for (const SAppliance& appliance : appliances) {
        for (const std::string& name : appliance.groupNames) {
            named[name].emplace(appliance.name, name);
        }
        for (const SGroup& group : appliance.groups) {
            for (const SGroupLun& lun : group.luns) {
                holding[lun.serial].emplace(appliance.name, group.name);
            }
        }
    }
    for (const SDevice& device : disks.devices) {
        holding[device.serial];
    }

    std::vector<SAmbiguousSerial> ambiguous;
    for (const auto& [serial, groups] : holding) {
        const auto names = named.find(serial);
        const std::set<CPlace> none;
        const std::set<CPlace>& called = names == named.end() ? none : names->second;
        std::set<CPlace> places = groups;
        places.insert(called.begin(), called.end());
        if (serial.empty() || places.empty() || (places.size() == 1 && !groups.empty())) continue;
        SAmbiguousSerial entry{serial, reasonFor(called, groups), {}};
        for (const auto& [appliance, group] : places) {
            entry.places.push_back({appliance, group});
        }
        ambiguous.push_back(std::move(entry));
    }
    return ambiguous;
}

}  // namespace cdpfi::inspect
