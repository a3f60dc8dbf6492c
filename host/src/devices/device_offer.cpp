#include "host/src/devices/device_offer.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "host/src/devices/device_name.h"
#include "host/src/inspection/inspector.h"

namespace fictl {

namespace {

// A device that is protected by an appliance has been found, whether it can be worked with or not.
bool isAnswer(const SOffer& offer)
{
    return offer.claimed || !offer.next.empty();
}

}  // namespace

KnownPaths inspectedPaths(const std::string& provider, std::chrono::seconds timeout)
{
    const auto paths = std::make_shared<std::optional<std::set<std::string>>>();
    return [provider, timeout, paths] {
        if (*paths) return **paths;
        const std::optional<SInspection> seen = CInspector(provider, timeout).look({});
        *paths = pathsOf(seen ? &*seen : nullptr);
        return **paths;
    };
}

std::set<std::string> pathsOf(const SInspection* seen)
{
    std::set<std::string> paths;
    if (seen == nullptr) return paths;
    for (const auto& [path, serial] : seen->disks) {
        paths.insert(path);
    }
    return paths;
}

SNamedOffer offerByAnyName(CNodeTree& tree, const std::string& given, const KnownPaths& knownPaths)
{
    SNamedOffer refused{given, {}};
    const std::vector<std::string> names = localNames(given);
    for (const std::string& name : names) {
        SOffer offer = tree.offer(name);
        if (isAnswer(offer)) return {name, std::move(offer)};
        if (refused.offer.reason.empty()) refused.offer = std::move(offer);
    }
    // Where nothing is at the path, it cannot lead to a device that the provider knows under another name.
    if (!identifyDevice(given)) return refused;
    const std::optional<std::string> known = resolveDevice(given, knownPaths());
    if (!known || std::find(names.begin(), names.end(), *known) != names.end()) return refused;
    SOffer offer = tree.offer(*known);
    return isAnswer(offer) ? SNamedOffer{*known, std::move(offer)} : refused;
}

}  // namespace fictl
