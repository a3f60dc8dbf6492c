#include "host/src/catalog/catalog_failure.h"

#include "host/src/catalog/record_rows.h"
#include "host/src/text/plain_text.h"

namespace fictl {

std::string quotedSnapshot(const std::string& name)
{
    return "snapshot \"" + printable(name) + "\"";
}

void failNotFound(const std::string& name)
{
    throw EFictl(EExit::NOT_FOUND, quotedSnapshot(name) + " is not in the catalog", "fictl snapshot list");
}

std::optional<SSnapshot> findRecord(const base::CSqliteDatabase& database, const std::string& name)
{
    try {
        return CRecordRows(database).find(name);
    } catch (const EUnreadableRecord& error) {
        throw EFictl(EExit::CATALOG, quotedSnapshot(name) + ": its record cannot be read: " + error.what(),
                     "fictl catalog check");
    }
}

void requireNotHeld(const SSnapshot& record)
{
    if (!record.isHeld()) return;
    throw EFictl(EExit::STATE,
                 quotedSnapshot(record.name) + ": fictl process " + std::to_string(record.owner.pid) +
                     " is at work on it (" + record.shownState() + ")",
                 "wait for that process to end, then run the command again");
}

}  // namespace fictl
