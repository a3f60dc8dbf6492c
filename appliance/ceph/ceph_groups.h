#pragma once

#include <string>
#include <vector>

#include "appliance/ceph/ceph_cluster.h"

namespace lumora {

/// The content of a group at one instant.
struct SGroupContent
{
    std::string content;      ///< its id
    bool isComplete = false;  ///< false for one whose making was interrupted, or is under way
};

/**
 * The groups of a pool, and their contents. For several threads.
 *
 * A cluster lets much be removed that is still needed. What it would not refuse itself is looked at before, which
 * leaves a moment in between: whoever uses this must see to it that nobody adds what another one is about to remove,
 * such as by a transaction of the catalog.
 */
class CCephGroups
{
  public:
    explicit CCephGroups(const CCephPool& pool) : m_pool(pool) {}

    void make(const std::string& group) const;
    /// Status in use for a group that still has members or contents; gone already is fine.
    void remove(const std::string& group) const;
    void add(const std::string& group, const std::string& image) const;
    std::vector<std::string> names() const;
    /// Takes an image out. Status in use as long as a content holds a part of it, which would lose it.
    void take(const std::string& group, const std::string& image) const;
    std::vector<std::string> members(const std::string& group) const;

    /// Fixes the content that all members have at one instant, whoever writes to them meanwhile. A failure may leave an
    /// incomplete one.
    void fixContent(const std::string& group, const std::string& content) const;
    /// Also an incomplete one. Status in use as long as an image shows it to hosts, which would read zeros from then
    /// on.
    void dropContent(const std::string& group, const std::string& content) const;
    std::vector<SGroupContent> contents(const std::string& group) const;

  private:
    const CCephPool& m_pool;
};

}  // namespace lumora
