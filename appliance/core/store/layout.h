#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "appliance/core/engines/engine.h"

namespace lumora {

/// Where everything of a store lies. Holds no state beyond the root; makes and checks nothing.
///
///   <root>/etc/qz/appliance.conf                            settings of the engines that keep the content
///   <root>/var/lib/lumora/appliance.db                      what exists, for all appliances
///   <root>/var/lib/lumora/faults.db                         faults that are armed, once one was
///   <root>/var/lib/lumora/<appliance>/dev/<lun>             the LUN as a host sees it
///   <root>/var/lib/lumora/<appliance>/annotations/<id>/     content that an annotation fixed
///   <root>/var/lib/lumora/<appliance>/images/<id>/          data of a time image
///   <root>/var/lib/lumora/<appliance>/images/<id>/dev/<lun> its LUN as a host sees it
///   <root>/var/lib/lumora/<appliance>/work/<id>/            a LUN that is being made
///   <root>/var/lib/lumora/<appliance>/gate/<group number>   tickets of a group's gate
///   <root>/var/lib/lumora/<appliance>/owners                locks of those who are making a folder
struct SLayout
{
    std::filesystem::path root;

    std::filesystem::path base() const { return root / "var/lib/lumora"; }
    std::filesystem::path database() const { return base() / "appliance.db"; }
    std::filesystem::path faults() const { return base() / "faults.db"; }
    std::filesystem::path settings() const { return root / "etc/qz/appliance.conf"; }
    /// Where earlier versions had them.
    std::filesystem::path earlierSettings() const { return base() / "engine.conf"; }
    std::filesystem::path createLock() const { return base() / "create.lock"; }
    std::filesystem::path appliance(const std::string& name) const { return base() / name; }
    std::filesystem::path devices(const std::string& name) const { return appliance(name) / "dev"; }
    std::filesystem::path lun(const std::string& name, const std::string& lun) const { return devices(name) / lun; }
    std::filesystem::path imageLun(const std::string& name, const std::string& image, const std::string& lun) const
    {
        return appliance(name) / "images" / image / "dev" / lun;
    }
    std::filesystem::path gate(const std::string& name, int64_t group) const
    {
        return appliance(name) / "gate" / std::to_string(group);
    }
};

}  // namespace lumora
