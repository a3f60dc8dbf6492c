#pragma once

#include <optional>
#include <string>
#include <vector>

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

/// A record that is there and cannot be read.
struct SUnreadable
{
    std::string name;
    std::string reason;
};

struct SListing
{
    std::vector<SSnapshot> snapshots{};  ///< in order of the names' bytes
    std::vector<SUnreadable> unreadable{};
};

/// Takes the records of a catalog one after the other, so that who needs a part of each need not have all in memory.
class CBaseRecordTaker
{
  public:
    CBaseRecordTaker() = default;
    virtual ~CBaseRecordTaker() = default;
    CBaseRecordTaker(const CBaseRecordTaker&) = delete;
    CBaseRecordTaker& operator=(const CBaseRecordTaker&) = delete;

    /// Before the first record, and again where reading has to begin anew: what was taken does not count then.
    virtual void begin() = 0;
    virtual void take(SSnapshot&& snapshot) = 0;
};

/// How much of each record is read; each has what the ones before it have.
enum class ERecordParts
{
    OUTLINE,   ///< name, state and when it was created; of a device whether it was made, and its group
    OF_LISTS,  ///< what a list can show: not how to thaw, nor a device's source, node and target, its objects and times
    ALL,
};

/// Gives all records that can be read, in order of the names' bytes, and returns the others: one that cannot be read
/// hides only itself. Throws as the database does.
std::vector<SUnreadable> readAllRecords(const base::CSqliteDatabase& database, CBaseRecordTaker& taker,
                                        ERecordParts parts = ERecordParts::ALL);

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
