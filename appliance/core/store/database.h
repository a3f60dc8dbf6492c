#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "base/sqlite.h"

namespace lumora {

/// One connection to a SQLite database; what is committed is on stable storage. Not for use by several threads at once.
/// Other processes may use the same database; a busy one is waited for. Failures, also of its queries and transactions,
/// are EApplianceError: storage for a full disk or failed I/O, unusable for a file that is missing, damaged or not a
/// database.
class CDatabase : public base::CSqliteDatabase
{
  public:
    enum class EMode : uint8_t
    {
        EXISTING,
        CREATE
    };

    /// A file of this machine, in WAL mode.
    CDatabase(const std::filesystem::path& file, EMode mode);
    /// What several machines share, by the name that it has for SQLite. One transaction at a time has it, whether it
    /// reads or writes.
    CDatabase(const std::string& name, EMode mode);

    /// The number that the makers of the tables gave them; 0 as long as there are none.
    int64_t version();
    /// Commits a change that changes nothing. A commit that failed, or whose process was killed in it, may still stand
    /// whole in the log, where those who have the database open do not see it and the next one to read the log from the
    /// start does. Behind this commit it cannot come back: a row that is not seen from here on is not there.
    void settle();
};

using CQuery = base::CSqliteQuery;
using CTransaction = base::CSqliteTransaction;

/// A record for each row that is left, as `read` makes it of the row that the query stands on.
template <class Read>
auto readRows(CQuery& query, Read read)
{
    std::vector<decltype(read(query))> records;
    while (query.next()) {
        records.push_back(read(query));
    }
    return records;
}
template <class Read>
auto readRows(CQuery&& query, Read read)
{
    return readRows(query, read);
}

}  // namespace lumora
