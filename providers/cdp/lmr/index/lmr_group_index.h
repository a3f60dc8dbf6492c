#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "providers/cdp/lmr/index/lmr_arena.h"
#include "providers/cdp/lmr/index/lmr_hash_table.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

class CLMRConsistencyGroup;

/**
 * Finds the first group of an appliance, in list order, that has a given name or holds a LUN with a given serial, at a
 * cost that does not grow with groups or LUNs. The groups tell the index of every device that is added and of a new
 * name, so it stays right. It refers to the groups: who owns them calls clear() before one of them goes.
 *
 * Changes need what a change of a group needs, one thread at a time; look-ups may run side by side.
 */
class CLMRGroupIndex
{
  public:
    static constexpr uint32_t NO_GROUP = UINT32_MAX;

    CLMRGroupIndex();
    ~CLMRGroupIndex();
    CLMRGroupIndex(const CLMRGroupIndex&) = delete;
    CLMRGroupIndex& operator=(const CLMRGroupIndex&) = delete;

    /// Adds a group at the end of the list.
    void append(CLMRConsistencyGroup& group);
    /// Forgets all groups.
    void clear();
    /// Position of the first group for a serial or name, or NO_GROUP. An empty text finds none.
    uint32_t find(const CString& serialOrName) const;

    /// Tells of serials that are to be added next.
    void expect(const std::vector<SLMRGroupLun>& luns);

    // Called by the groups.
    void deviceAdded(uint32_t group, std::string_view serial);
    void groupRenamed();

  private:
    // A record: this and the name or serial. The texts are kept here, too, so that a look-up reads nothing but the slot
    // and the record; groups and their devices lie scattered in memory.
    struct SHead
    {
        uint32_t group;
        uint32_t length;
    };
    struct SKeys
    {
        const CLMRArena* records;
        std::string_view keyOf(CLMRArena::CPlace place) const;
    };

    static SHead& headAt(const CLMRArena& records, CLMRArena::CPlace place);
    void noteGroup(uint32_t group);
    void note(uint32_t group, std::string_view key);
    CLMRArena::CPlace newRecord(uint32_t group, std::string_view key);

    std::vector<CLMRConsistencyGroup*> m_groups;
    CLMRArena m_records;
    // Of each name and serial, the first group's. A host asks for all its disks, and most are no group's.
    CLMRHashTable<CLMRArena::CPlace, SKeys, true> m_places;
};

}  // namespace cdpfi
