#pragma once

#include <map>
#include <string>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora {

/// What a content is made of: which of a group's contents in the cluster holds the part of each volume.
struct SContentNote
{
    std::string group;
    std::map<std::string, std::string> parts;  ///< name of the cluster's content, by volume
};

/// The notes of contents, an object each in the pool's namespace. What is written is safe in the cluster. For several
/// threads.
class CContentNotes
{
  public:
    explicit CContentNotes(const CCephPool& pool) : m_pool(pool) {}

    void write(const std::string& content, const SContentNote& note) const;
    /// Without group where there is none.
    SContentNote read(const std::string& content) const;
    /// One that is not there is fine.
    void remove(const std::string& content) const;

  private:
    const CCephPool& m_pool;
};

}  // namespace lumora
