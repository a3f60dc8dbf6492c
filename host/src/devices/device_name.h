#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace fictl {

/// What a path leads to, links followed: two names of one device have the same identity.
struct SDeviceIdentity
{
    uint32_t kind;    ///< file type
    uint64_t place;   ///< of a file: the file system; of a device node: 0
    uint64_t number;  ///< of a file: inode; of a device node: device number, whatever node it stands in

    bool operator==(const SDeviceIdentity&) const = default;
    /// Some order, for maps.
    bool operator<(const SDeviceIdentity& other) const
    {
        return std::tie(kind, place, number) < std::tie(other.kind, other.place, other.number);
    }
};

/// Nothing when there is nothing at the path.
std::optional<SDeviceIdentity> identifyDevice(const std::string& path);

/**
 * Names of a device that this host alone can tell, the likeliest first and each once: as given (made absolute), what
 * its links lead to, and the kernel's own node of a block device. Never empty.
 */
std::vector<std::string> localNames(const std::string& given);

/// The one of some paths that leads to the same device; nothing when none does.
std::optional<std::string> resolveDevice(
    const std::string& given, const std::set<std::string>& knownPaths,
    const std::function<std::optional<SDeviceIdentity>(const std::string&)>& identify = identifyDevice);

}  // namespace fictl
