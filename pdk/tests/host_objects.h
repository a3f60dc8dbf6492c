#pragma once

#include <cstring>
#include <deque>
#include <string>
#include <type_traits>
#include <vector>

#include "framework/include/obz_entry_points.h"

namespace pdktest {

/// The host's side of a call: a valid argument of each type that entry points take, each a new object. Records that are
/// only passed on, and outputs, are zeroed memory.
class CHostObjects
{
  public:
    template <class T>
    T make()
    {
        if constexpr (std::is_same_v<T, const char*>) {
            return m_texts.emplace_back("text").c_str();
        } else if constexpr (std::is_same_v<T, char*>) {
            return m_texts.emplace_back("text").data();
        } else if constexpr (std::is_same_v<T, obz_domain*>) {
            return domain("node");
        } else if constexpr (std::is_same_v<T, obz_splitnode*>) {
            return splitNode("single");
        } else if constexpr (std::is_same_v<T, obz_splitnode**>) {
            return &m_splitNodes.emplace_back(splitNode("listed"));
        } else if constexpr (std::is_same_v<T, obzx_objid*>) {
            return identity("object");
        } else if constexpr (std::is_pointer_v<T>) {
            return static_cast<T>(memory());
        } else {
            return static_cast<T>(1);
        }
    }

    obz_domain* domain(const char* name)
    {
        obz_domain& node = m_domains.emplace_back();
        node.identity = identity(name);
        node.access = &m_access;
        node.name = node.identity->name;
        return &node;
    }
    obz_splitnode* splitNode(const char* name)
    {
        obz_splitnode& node = m_singles.emplace_back();
        node.text = m_texts.emplace_back("split").data();
        node.node = domain(name);
        return &node;
    }
    obzx_objid* identity(const char* name)
    {
        obzx_objid& identity = m_identities.emplace_back();
        identity.name = m_texts.emplace_back(name).data();
        identity.size = static_cast<int32_t>(std::strlen(name)) + 1;
        identity.type = OBZ_OBJID_TYPE_DEVICE;
        return &identity;
    }

  private:
    void* memory() { return m_memory.emplace_back().data; }

    struct SMemory
    {
        alignas(16) unsigned char data[256] = {};
    };

    std::deque<std::string> m_texts;
    std::deque<obz_domain> m_domains;
    std::deque<obz_splitnode> m_singles;
    std::deque<obz_splitnode*> m_splitNodes;
    std::deque<obzx_objid> m_identities;
    std::deque<SMemory> m_memory;
    int32_t m_access = 0;
};

}  // namespace pdktest
