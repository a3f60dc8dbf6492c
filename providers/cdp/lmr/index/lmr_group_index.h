#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "providers/cdp/lmr/index/lmr_arena.h"
#include "providers/cdp/lmr/index/lmr_hash_table.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

class CLMRGroupIndex;

/**
 * A consistency group as the index knows it, which is its keys: its name and the serials of its LUNs. The group tells
 * of every change, so that the index that holds it stays right.
 */
class CLMRIndexedGroup
{
  public:
    CLMRIndexedGroup() = default;
    virtual ~CLMRIndexedGroup() = default;
    CLMRIndexedGroup(const CLMRIndexedGroup&) = delete;
    CLMRIndexedGroup& operator=(const CLMRIndexedGroup&) = delete;

    /// Calls the action for the name and then for each serial. An empty key is no key.
    virtual void forEachKey(const std::function<void(std::string_view key)>& action) const = 0;
    virtual size_t countKeys() const = 0;

  protected:
    void keyAdded(std::string_view key);
    /// A key is another one now, or gone.
    void keysChanged();

  private:
    friend class CLMRGroupIndex;
    CLMRGroupIndex* m_index = nullptr;  // null: in no index
    uint32_t m_position = 0;            // in its list
};

/**
 * Finds the first group of an appliance, in list order, that has a given name or holds a LUN with a given serial, at a
 * cost that does not grow with groups or LUNs. It refers to the groups: who owns them calls clear() before one of them
 * goes.
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

    /// Holds these groups, in this order, in place of those before.
    void assign(std::vector<CLMRIndexedGroup*> groups);
    /// Forgets all groups.
    void clear();
    /// Position of the first group for a serial or name, or NO_GROUP. An empty text finds none.
    uint32_t find(const CString& serialOrName) const;

  private:
    friend class CLMRIndexedGroup;

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
    void rebuild();
    void noteGroup(uint32_t group);
    void note(uint32_t group, std::string_view key);
    CLMRArena::CPlace newRecord(uint32_t group, std::string_view key);

    std::vector<CLMRIndexedGroup*> m_groups;
    CLMRArena m_records;
    // Of each name and serial, the first group's. Filtered, because a host asks for each of its disks, and most of them
    // no group protects.
    CLMRHashTable<CLMRArena::CPlace, SKeys, true> m_places;
};

}  // namespace cdpfi
