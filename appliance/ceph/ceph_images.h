#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora {

/// The images of a pool. Each has a lock that its writer holds, without which content of a group would be no instant.
/// Changes are safe in the cluster when a call returns. For several threads.
class CCephImages
{
  public:
    explicit CCephImages(const CCephPool& pool) : m_pool(pool) {}

    /// @param size bytes
    void make(const std::string& image, uint64_t size) const;
    void rename(const std::string& image, const std::string& name) const;
    /// Status in use for one that a client has attached, that is a member of a group, or that still has content.
    void remove(const std::string& image) const;
    /// In bytes.
    uint64_t size(const std::string& image) const;
    /// All, also those that show content.
    std::vector<std::string> names() const;
    /// The group that it is a member of; empty when there is none.
    std::string groupOf(const std::string& image) const;
    /// Addresses of the clients that have it open for writing. One that died is among them until it is fenced, or for
    /// half a minute.
    std::vector<std::string> attachedBy(const std::string& image) const;
    /// Address of the client that holds the image's lock; empty when nobody does.
    std::string lockHolder(const std::string& image) const;

  private:
    const CCephPool& m_pool;
};

/// Status in use for an image that a client has attached: `cannot remove image ...: it is attached by ADDRESS`.
void refuseAttached(const CCephImages& images, const std::string& image, std::string_view doing,
                    const std::string& object);

}  // namespace lumora
