#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/src/provider/node.h"

namespace fictl {

/// A provider's answer to the offer of a device.
struct SOffer
{
    bool claimed = false;
    std::string reason;               ///< why not, when not claimed
    std::string next;                 ///< what to do about a LUN that is protected and still not claimed
    std::string node;                 ///< the provider's own node for the device
    std::string serial;               ///< of the LUN behind the device
    std::vector<std::string> groups;  ///< group nodes that hold it
};

/**
 * The nodes of one run: devices are offered to the provider, which puts nodes of its own before them and names the
 * groups that hold them; groups are set up before the nodes in them.
 */
class CNodeTree
{
  public:
    explicit CNodeTree(CProvider& provider) : m_provider(provider) {}
    ~CNodeTree();
    CNodeTree(const CNodeTree&) = delete;
    CNodeTree& operator=(const CNodeTree&) = delete;

    /// Interposes, claims and asks for a snapshot method. What has a name that cannot be worked with is not claimed.
    /// Throws EFictl (FAILED) on an answer that cannot be used.
    SOffer offer(const std::string& device);
    /// Sets the groups of an offer and the node itself up; throws EFictl (FAILED) when the provider refuses one.
    CNode& add(const SOffer& offer);

  private:
    void initNode(CNode& node, const std::string& what);

    CProvider& m_provider;
    std::map<std::string, std::unique_ptr<CNode>> m_groups;
    std::vector<std::unique_ptr<CNode>> m_devices;
};

}  // namespace fictl
