#include "providers/cdp/lmr/lmr_group_index.h"

#include "providers/cdp/lmr/lmr_consistencygroup.h"
#include "providers/cdp/lmr/lmr_text.h"

namespace cdpfi {

CLMRGroupIndex::CLMRGroupIndex() : m_places(SKeys{&m_groups}) {}

CLMRGroupIndex::~CLMRGroupIndex()
{
    clear();
}

void CLMRGroupIndex::append(CLMRConsistencyGroup& group)
{
    const auto position = static_cast<uint32_t>(m_groups.size());
    m_groups.push_back(&group);
    group.attachIndex(this, position);
    noteGroup(position);
}

void CLMRGroupIndex::clear()
{
    for (CLMRConsistencyGroup* group : m_groups)
        group->attachIndex(nullptr, 0);
    m_places.clear();
    m_groups.clear();
}

uint32_t CLMRGroupIndex::find(const CString& serialOrName) const
{
    if (serialOrName.is_empty()) return NO_GROUP;
    const SPlace* place = m_places.find(bytesOf(serialOrName));
    return place == nullptr ? NO_GROUP : place->group;
}

void CLMRGroupIndex::deviceAdded(uint32_t group, uint32_t device)
{
    note({group, device});
}

void CLMRGroupIndex::groupRenamed()
{
    m_places.clear();
    for (uint32_t group = 0; group < m_groups.size(); ++group)
        noteGroup(group);
}

void CLMRGroupIndex::noteGroup(uint32_t group)
{
    note({group, NAME});
    const size_t count = m_groups[group]->devices().size();
    for (uint32_t device = 0; device < count; ++device)
        note({group, device});
}

std::string_view CLMRGroupIndex::SKeys::keyOf(const SPlace& place) const
{
    const CLMRConsistencyGroup& group = *(*groups)[place.group];
    return bytesOf(place.device == NAME ? group.name() : group.devices()[place.device].m_serial);
}

void CLMRGroupIndex::note(const SPlace& place)
{
    const std::string_view key = SKeys{&m_groups}.keyOf(place);
    if (key.empty()) return;
    SPlace* first = m_places.find(key);
    if (first == nullptr) {
        m_places.add(place);
    } else if (place.group < first->group) {
        *first = place;
    }
}

}  // namespace cdpfi
