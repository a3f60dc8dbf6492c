#pragma once

#include <optional>
#include <string>

#include "appliance/ceph/ceph_cluster.h"
#include "appliance/ceph/open_image.h"

namespace lumora {

/// The client that holds an exclusive lock in a cluster.
struct SLockHolder
{
    std::string client;   ///< such as "client.4123"
    std::string cookie;   ///< tells the client's locks apart
    std::string address;  ///< by which it can be shut out
};

/// Nothing when nobody holds the lock, or there is no such object. Status storage when it cannot be told.
std::optional<SLockHolder> holderOfObject(const CCephPool& pool, const std::string& object, const std::string& lock);

/// Nothing when nobody writes to the image.
std::optional<SLockHolder> holderOfImage(const COpenImage& image);

}  // namespace lumora
