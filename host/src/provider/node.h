#pragma once

#include <optional>
#include <string>

#include "framework/include/obz_records.h"
#include "host/src/provider/node_state.h"
#include "host/src/provider/provider.h"

namespace fictl {

/**
 * One node of the host's object tree, with the identity that it stands for. What a provider attached to it is given
 * back (deinit_node) before the record goes. Must not outlive its provider; its address stays the same for life. One
 * thread at a time; nodes of their own names may be used by several threads side by side.
 */
class CNode
{
  public:
    CNode(CProvider& provider, const std::string& name);
    ~CNode();
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    obz_domain* record() { return &m_record; }
    const std::string& name() const { return m_name; }  ///< as given
    /// Name of the identity now: an import replaces it by a device path.
    std::string identityName() const;
    int32_t access() const { return m_access; }

    /// Has the provider set it up; returns its status.
    int32_t init();
    /// Marks the node as one that the provider holds data for.
    void attach() { m_attached = true; }

    /// The node's state; throws EFictl (FAILED) when the provider does not give it or gives something else.
    SNodeState state();
    void setState(const SNodeState& state);

  private:
    CProvider& m_provider;
    std::string m_name;
    obzx_objid* m_ownIdentity;
    int32_t m_access = OBZ_ACCESS_NONE;
    bool m_attached = false;
    obz_domain m_record{};
};

}  // namespace fictl
