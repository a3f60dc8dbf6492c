#pragma once

#include <string>
#include <vector>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora {

/// Images that show content of a group to hosts, one for each volume. Whoever writes to one changes neither the content
/// nor other images of it. For several threads.
class CCephImports
{
  public:
    explicit CCephImports(const CCephPool& pool) : m_pool(pool) {}

    /// Shows one volume's part of a content; returns the name of the image. Status missing when the volume has none of
    /// it, exists when the tag was used for it before.
    std::string make(const std::string& group, const std::string& content, const std::string& tag,
                     const std::string& volume) const;
    /// @param image as make() returned it. Status in use while a client has it attached.
    void drop(const std::string& image) const;
    /// All with the tag.
    std::vector<std::string> of(const std::string& tag) const;
    /// All of a content's volume.
    std::vector<std::string> of(const std::string& content, const std::string& volume) const;

  private:
    const CCephPool& m_pool;
};

}  // namespace lumora
