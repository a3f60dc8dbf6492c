#pragma once

#include <new>
#include <string>

#include "framework/include/obz_records.h"
#include "framework/include/obzx_runtime.h"

namespace obzx_test {

/// A node of a host's tree with an identity of its own, and a split node over it. Frees the identity, and one that a
/// call has put in its place.
class CNode
{
  public:
    /// @throw std::bad_alloc
    explicit CNode(const std::string& name) : m_identity(obzx_get_objid(name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE))
    {
        if (m_identity == nullptr) throw std::bad_alloc();
        m_domain.identity = m_identity;
        m_domain.name = m_identity->name;
        m_split.node = &m_domain;
    }
    ~CNode()
    {
        if (m_domain.identity != m_identity) obzx_free_objid(m_domain.identity);
        obzx_free_objid(m_identity);
    }
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    obz_domain* get() { return &m_domain; }
    obz_domain* operator->() { return &m_domain; }
    obz_splitnode* split() { return &m_split; }

  private:
    obzx_objid* const m_identity;
    obz_domain m_domain = {};
    obz_splitnode m_split = {};
};

}  // namespace obzx_test
