#pragma once

#include <string_view>

#include "providers/cdp/lmr/index/lmr_arena.h"
#include "providers/cdp/lmr/index/lmr_hash_table.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * The table of this host's devices and the LUNs that they show, with an index each way, so that a look-up costs the
 * same however many devices there are. A device's path and serial lie in one record, so that a look-up reads little of
 * a memory that no cache holds.
 */
class CLMRLunTable
{
  public:
    CLMRLunTable();
    CLMRLunTable(const CLMRLunTable&) = delete;
    CLMRLunTable& operator=(const CLMRLunTable&) = delete;

    /// Makes room for a total of count devices.
    void reserve(size_t count) { m_byPath.reserve(count); }
    /// For paths that are set next, see CLMRHashTable::prefetch.
    void prefetch(std::string_view path) const { m_byPath.prefetch(path); }
    /// Adds a path or gives it another serial.
    void set(std::string_view path, std::string_view serial);
    /**
     * The serial of a path. A path that is not in the table is added with an empty serial: who looks a device up makes
     * it known, and the entry is there for a later listing to fill.
     */
    CString serialOf(const CString& path);
    /// The first path, in the order of the bytes, that shows a LUN; null when none does. An empty serial is no LUN's,
    /// so it has none. Valid until the next call.
    const CString* firstPathOf(const CString& serial);
    void clear();

  private:
    using CPlace = CLMRArena::CPlace;

    // A record: this, the path, room for the serial.
    struct SHead
    {
        uint32_t pathLength;
        uint32_t serialLength;
        uint32_t serialRoom;
    };
    struct SPathKeys
    {
        const CLMRArena* records;
        std::string_view keyOf(CPlace place) const { return pathAt(*records, place); }
    };
    struct SSerialKeys
    {
        const CLMRArena* records;
        std::string_view keyOf(CPlace place) const { return serialAt(*records, place); }
    };

    static SHead& headAt(const CLMRArena& records, CPlace place);
    static std::string_view pathAt(const CLMRArena& records, CPlace place);
    static std::string_view serialAt(const CLMRArena& records, CPlace place);

    CPlace newRecord(std::string_view path, std::string_view serial, size_t serialRoom);
    void changeSerial(CPlace& place, std::string_view serial);
    void indexSerials();

    CLMRArena m_records;
    CLMRHashTable<CPlace, SPathKeys> m_byPath;
    // The first of the paths that show a LUN, by serial. Built when somebody asks and the table has changed since: only
    // imports ask, and they do so after a whole listing was read.
    CLMRHashTable<CPlace, SSerialKeys> m_bySerial;
    bool m_bySerialStale = false;
    CString m_firstPath;  // what firstPathOf found last
};

}  // namespace cdpfi
