#pragma once

#include <optional>
#include <string>
#include <vector>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora {

/// A database in a pool.
struct SCatalogPlace
{
    std::string pool;
    std::string name;  ///< of the database's file
};

/**
 * Shuts out the clients of this machine whose processes are gone, so that nobody waits half a minute for a lock of
 * theirs: puts them on the blocklist, breaks the lock of the database, if there is one, where one of them holds it, and
 * forgets them. The lock of an image goes to the next who asks for it. A client that lives, or that may live, stays as
 * it is: those of other machines, which this one knows nothing of, are for the tools there, or for the half minute.
 * @return the addresses
 * Throws EApplianceError when the cluster does not do it; what was not done is for the next call.
 */
std::vector<std::string> fenceGone(CCephCluster& cluster, const std::optional<SCatalogPlace>& catalog);

}  // namespace lumora
