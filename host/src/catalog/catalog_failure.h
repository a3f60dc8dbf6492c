#pragma once

#include <optional>
#include <string>

#include "base/sqlite.h"
#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/error.h"

namespace fictl {

/// `snapshot "name"`, fit for a message.
std::string quotedSnapshot(const std::string& name);
/// Throws EFictl (NOT_FOUND).
[[noreturn]] void failNotFound(const std::string& name);

/// Reads one record; nothing when there is none of that name. Throws EFictl (CATALOG) that names the record when it
/// cannot be read, and as the database does.
std::optional<SSnapshot> findRecord(const base::CSqliteDatabase& database, const std::string& name);

/// Does work on a catalog; what SQLite has against it becomes EFictl (CATALOG): "catalog PATH: cannot read: REASON".
template <class Work>
auto telling(const std::string& path, const char* doing, Work work)
{
    try {
        return work();
    } catch (const base::ESqlite& error) {
        throw EFictl(EExit::CATALOG, "catalog " + path + ": cannot " + doing + ": " + error.what(),
                     "check the file, the rights on it and the free space beside it");
    }
}

/// Throws EFictl (STATE) when a living process is at work on the record.
void requireNotHeld(const SSnapshot& record);

}  // namespace fictl
