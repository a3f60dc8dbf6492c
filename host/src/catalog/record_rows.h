#pragma once

#include <optional>
#include <string>

#include "base/sqlite.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// A record whose rows hold what no record can hold; says which column of which row.
class EUnreadableRecord : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
    ~EUnreadableRecord() override;
    EUnreadableRecord(const EUnreadableRecord&) = default;
    EUnreadableRecord& operator=(const EUnreadableRecord&) = default;
};

/// Reads records of a catalog, each by itself: one that cannot be read concerns no other.
class CRecordRows
{
  public:
    /// The database must outlive it.
    explicit CRecordRows(const base::CSqliteDatabase& database);

    /// Nothing when there is none of that name. Throws EUnreadableRecord, and as the database does.
    std::optional<SSnapshot> find(const std::string& name);

  private:
    const base::CSqliteDatabase& m_database;
    base::CSqliteQuery m_head;
    base::CSqliteQuery m_devices;
};

}  // namespace fictl
