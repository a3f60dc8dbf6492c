#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/src/catalog/catalog_reading.h"
#include "host/src/catalog/record_rows.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/**
 * The catalog of this user for those who only look. A catalog that is not there reads as one without records, and is
 * not made. All calls throw EFictl (CATALOG) when it cannot be read.
 */
class CCatalogReader
{
  public:
    CCatalogReader();

    const std::string& path() const { return m_path; }
    bool isThere() const { return m_reading.has_value(); }

    /// Names of all records, also of those that cannot be read.
    std::set<std::string> names();
    /// All records; one that cannot be read hides only itself.
    SListing list();
    /// Gives all records one after the other, and returns those that cannot be read.
    std::vector<SUnreadable> each(CBaseRecordTaker& taker, ERecordParts parts);
    /// Nothing when there is none. Throws EFictl (CATALOG) when it cannot be read.
    std::optional<SSnapshot> find(const std::string& name);
    /// Throws EFictl (NOT_FOUND) when there is none, EFictl (CATALOG) when it cannot be read.
    SSnapshot get(const std::string& name);
    /// Does work that reads; not for a catalog that is not there.
    void read(const CCatalogReading::Work& work);

  private:
    std::string m_path;
    COwnerLock m_lock;
    std::optional<CCatalogReading> m_reading;
};

}  // namespace fictl
