#include "providers/cdp/lmr/index/lmr_group_index.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

namespace cdpfi {

void CLMRIndexedGroup::keyAdded(std::string_view key)
{
    if (m_index != nullptr) m_index->note(m_position, key);
}

void CLMRIndexedGroup::keysChanged()
{
    if (m_index != nullptr) m_index->rebuild();
}

CLMRGroupIndex::CLMRGroupIndex() : m_places(SKeys{&m_records}) {}

CLMRGroupIndex::~CLMRGroupIndex()
{
    clear();
}

void CLMRGroupIndex::assign(std::vector<CLMRIndexedGroup*> groups)
{
    clear();
    m_groups = std::move(groups);
    for (size_t i = 0; i < m_groups.size(); ++i) {
        m_groups[i]->m_index = this;
        m_groups[i]->m_position = static_cast<uint32_t>(i);
    }
    rebuild();
}

void CLMRGroupIndex::clear()
{
    for (CLMRIndexedGroup* group : m_groups) {
        group->m_index = nullptr;
    }
    m_places.clear();
    m_records.clear();
    m_groups.clear();
}

uint32_t CLMRGroupIndex::find(const CString& serialOrName) const
{
    if (serialOrName.is_empty()) return NO_GROUP;
    const CLMRArena::CPlace* const place = m_places.find(bytesOf(serialOrName));
    return place == nullptr ? NO_GROUP : headAt(m_records, *place).group;
}

void CLMRGroupIndex::rebuild()
{
    m_places.clear();
    m_records.clear();
    size_t count = 0;
    for (const CLMRIndexedGroup* group : m_groups) {
        count += group->countKeys();
    }
    m_places.reserve(count);
    for (uint32_t group = 0; group < m_groups.size(); ++group) {
        noteGroup(group);
    }
}

void CLMRGroupIndex::noteGroup(uint32_t group)
{
    m_groups[group]->forEachKey([&](std::string_view key) { note(group, key); });
}

std::string_view CLMRGroupIndex::SKeys::keyOf(CLMRArena::CPlace place) const
{
    return {records->at(place) + sizeof(SHead), headAt(*records, place).length};
}

CLMRGroupIndex::SHead& CLMRGroupIndex::headAt(const CLMRArena& records, CLMRArena::CPlace place)
{
    return *reinterpret_cast<SHead*>(records.at(place));
}

void CLMRGroupIndex::note(uint32_t group, std::string_view key)
{
    if (key.empty()) return;
    const CLMRArena::CPlace place = m_places.findOrAdd(key, [&] { return newRecord(group, key); });
    SHead& head = headAt(m_records, place);
    if (group < head.group) head.group = group;
}

CLMRArena::CPlace CLMRGroupIndex::newRecord(uint32_t group, std::string_view key)
{
    if (key.size() > std::numeric_limits<uint32_t>::max()) throw std::length_error("name or serial is too long");
    const SHead head{group, static_cast<uint32_t>(key.size())};
    const CLMRArena::CPlace place = m_records.allocate(sizeof head + key.size());
    std::memcpy(m_records.at(place), &head, sizeof head);
    std::memcpy(m_records.at(place) + sizeof head, key.data(), key.size());
    return place;
}

}  // namespace cdpfi
