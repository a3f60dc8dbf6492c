#include "providers/cdp/cdp_group_nodes.h"

#include <utility>

#include "providers/cdp/cdp_text.h"

namespace cdpfi {

void CGroupNodes::enter(const CString& group, obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    std::string name(bytesOf(group));
    // First, so that nothing stands in the map that eraseNode would not find; a name too many does no harm there.
    m_names[node].insert(name);
    obz_domain*& entered = m_nodes[name];
    if (entered != node) forgetName(entered, name);
    entered = node;
}

obz_domain* CGroupNodes::find(const CString& group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (const auto entry = m_nodes.find(bytesOf(group)); entry != m_nodes.end()) return entry->second;
    std::string name(bytesOf(group));
    m_names[nullptr].insert(name);
    m_nodes[std::move(name)] = nullptr;
    return nullptr;
}

void CGroupNodes::erase(const CString& group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto entry = m_nodes.find(bytesOf(group));
    if (entry == m_nodes.end()) return;
    forgetName(entry->second, entry->first);
    m_nodes.erase(entry);
}

void CGroupNodes::eraseNode(const obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    eraseNamesOf(node);
    eraseNamesOf(nullptr);
}

size_t CGroupNodes::size() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_nodes.size();
}

void CGroupNodes::forgetName(const obz_domain* node, const std::string& name)
{
    const auto names = m_names.find(node);
    if (names == m_names.end()) return;
    names->second.erase(name);
    if (names->second.empty()) m_names.erase(names);
}

void CGroupNodes::eraseNamesOf(const obz_domain* node)
{
    const auto names = m_names.find(node);
    if (names == m_names.end()) return;
    for (const std::string& name : names->second) {
        const auto entry = m_nodes.find(name);
        if (entry != m_nodes.end() && entry->second == node) m_nodes.erase(entry);
    }
    m_names.erase(names);
}

}  // namespace cdpfi
