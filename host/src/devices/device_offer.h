#pragma once

#include <chrono>
#include <functional>
#include <set>
#include <string>

#include "host/src/inspection/inspection.h"
#include "host/src/provider/node_tree.h"

namespace fictl {

/// A provider's answer to a device that a user named.
struct SNamedOffer
{
    std::string path;  ///< the name that the offer is about: one the provider knows when it is claimed
    SOffer offer;
};

/// Device paths that the provider has on this host; asked for only where a device is not claimed under its own names.
using KnownPaths = std::function<std::set<std::string>()>;

/// The paths that the provider's inspector tells, looked for once; none without an inspector.
KnownPaths inspectedPaths(const std::string& provider, std::chrono::seconds timeout);

/// The device paths in what an inspector has seen; none when it is null.
std::set<std::string> pathsOf(const SInspection* seen);

/// Offers a device under each of its names until the provider claims it. Throws as CNodeTree::offer.
SNamedOffer offerByAnyName(CNodeTree& tree, const std::string& given, const KnownPaths& knownPaths);

}  // namespace fictl
