#include "providers/cdp/cdp_combos.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace cdpfi {

namespace {

// NOLINTBEGIN(cppcoreguidelines-no-malloc): the records are plain C and freed by whoever owns the node

template <class Record>
Record* newRecord()
{
    return static_cast<Record*>(std::calloc(1, sizeof(Record)));
}

void freeEntry(obz_combo_entry* entry)
{
    if (entry == nullptr) return;
    std::free(entry->name);
    std::free(entry);
}

void freeCombo(obz_combo* combo)
{
    freeEntry(combo->quiesce);
    freeEntry(combo->split);
    std::free(combo);
}

// NOLINTEND(cppcoreguidelines-no-malloc)

obz_combo_entry* newEntry(const CString& name, obz_domain* node, obz_domain* group)
{
    auto* entry = newRecord<obz_combo_entry>();
    if (entry == nullptr) return nullptr;
    entry->name = name.c_str() == nullptr ? nullptr : strdup(name.c_str());
    entry->node = node;
    entry->group = group;
    if (entry->name != nullptr) return entry;
    freeEntry(entry);
    return nullptr;
}

}  // namespace

bool appendCombo(obz_domain* node, const CString& quiesceName, const CString& splitName, obz_domain* group)
{
    auto* combo = newRecord<obz_combo>();
    if (combo == nullptr) return false;
    combo->quiesce = newEntry(quiesceName, node, group);
    combo->split = combo->quiesce == nullptr ? nullptr : newEntry(splitName, node, group);
    if (combo->split == nullptr) {
        freeCombo(combo);
        return false;
    }
    obz_combo** tail = &node->combos;
    while (*tail != nullptr) {
        tail = &(*tail)->next;
    }
    *tail = combo;
    return true;
}

void releaseCombos(obz_domain* node)
{
    obz_combo* combo = std::exchange(node->combos, nullptr);
    while (combo != nullptr) {
        freeCombo(std::exchange(combo, combo->next));
    }
}

void CNodeCombos::startOver(obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto built = m_heads.extract(node);
    if (!built.empty() && built.mapped() == node->combos) releaseCombos(node);
    node->combos = nullptr;
    node->combo_tail_reserved = nullptr;
}

bool CNodeCombos::append(obz_domain* node, const CString& quiesceName, const CString& splitName, obz_domain* group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    // Entered before the list is built: with the memory for the entry gone, no list may stand that is not known here.
    const obz_combo*& head = m_heads[node];
    const bool appended = appendCombo(node, quiesceName, splitName, group);
    head = node->combos;
    return appended;
}

void CNodeCombos::release(obz_domain* node)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_heads.erase(node);
    releaseCombos(node);
}

}  // namespace cdpfi
