#pragma once

#include <map>
#include <string_view>

#include "providers/cdp/lmr/lmr_hash_table.h"
#include "providers/cdp/lmr/lmr_text.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// Order of texts by their bytes, a shorter one before a longer one that it begins.
struct SLMRByteOrder
{
    bool operator()(const CString& a, const CString& b) const { return bytesOf(a) < bytesOf(b); }
};

/// Device path to LUN serial, in path order.
using CLMRLunMap = std::map<CString, CString, SLMRByteOrder>;

/**
 * The table of this host's devices and the LUNs that they show, with an index each way, so that a look-up costs the
 * same however many devices there are.
 */
class CLMRLunTable
{
  public:
    CLMRLunTable();
    CLMRLunTable(const CLMRLunTable&) = delete;
    CLMRLunTable& operator=(const CLMRLunTable&) = delete;

    /// Adds a path or gives it another serial.
    void set(std::string_view path, std::string_view serial);
    /**
     * The serial of a path. A path that is not in the table is added with an empty serial: who looks a device up makes
     * it known, and the entry is there for a later listing to fill.
     */
    const CString& serialOf(const CString& path);
    /// The first path in path order that shows a LUN; null when none does. An empty serial is no LUN's, so it has none.
    const CString* firstPathOf(const CString& serial);
    void clear();

    const CLMRLunMap& map() const { return m_map; }

  private:
    using CEntry = CLMRLunMap::value_type;
    struct SByPath
    {
        static std::string_view keyOf(const CEntry* entry) { return bytesOf(entry->first); }
    };
    struct SBySerial
    {
        static std::string_view keyOf(const CEntry* entry) { return bytesOf(entry->second); }
    };

    CEntry& insert(std::string_view path);
    void index(CEntry& entry);
    void reindex();

    CLMRLunMap m_map;
    CLMRLunMap::iterator m_last;  // listings come in runs of ascending paths: the next one goes behind the last one
    CLMRHashTable<CEntry*, SByPath> m_byPath;
    // Of the paths that show the same LUN, the first. A device that changed its LUN makes it stale as a whole.
    CLMRHashTable<CEntry*, SBySerial> m_bySerial;
    bool m_bySerialStale = false;
};

}  // namespace cdpfi
