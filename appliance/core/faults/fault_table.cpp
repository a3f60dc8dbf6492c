#include "appliance/core/faults/fault_table.h"

#include <fcntl.h>

#include <system_error>
#include <utility>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/range_lock.h"
#include "appliance/core/store/database.h"

namespace lumora {

namespace {

constexpr const char* SCHEMA = R"sql(
CREATE TABLE fault (id INTEGER PRIMARY KEY AUTOINCREMENT, kind TEXT NOT NULL, match TEXT NOT NULL,
  nth INTEGER NOT NULL, times INTEGER NOT NULL, milliseconds INTEGER NOT NULL, bytes INTEGER NOT NULL,
  seen INTEGER NOT NULL);
CREATE TABLE struck (number INTEGER PRIMARY KEY AUTOINCREMENT,
  fault_id INTEGER NOT NULL REFERENCES fault(id) ON DELETE CASCADE, command TEXT NOT NULL,
  finished INTEGER NOT NULL DEFAULT 0);
)sql";

constexpr const char* COLUMNS = "SELECT id, kind, match, nth, times, milliseconds, bytes, seen FROM fault ";

class CFaultDatabase : public CDatabase
{
  public:
    explicit CFaultDatabase(const std::filesystem::path& file) : CDatabase(file, EMode::EXISTING)
    {
        execute("PRAGMA synchronous = OFF");
    }
};

SFault readFault(const CQuery& row)
{
    SFault fault;
    fault.id = row.integer(0);
    fault.kind = &parseFaultKind(row.text(1));
    fault.match = row.text(2);
    fault.nth = row.integer(3);
    fault.times = row.integer(4);
    fault.milliseconds = row.integer(5);
    fault.bytes = row.integer(6);
    fault.seen = row.integer(7);
    return fault;
}

std::vector<SFault> readFaults(CDatabase& database)
{
    return readRows(CQuery(database, (std::string(COLUMNS) + "ORDER BY id").c_str()), readFault);
}

void readStruck(CDatabase& database, SFault& fault)
{
    fault.struck =
        readRows(CQuery(database, "SELECT command, finished FROM struck WHERE fault_id = ? ORDER BY number", fault.id),
                 [](const CQuery& row) {
                     return SStruckCommand{row.text(0), row.integer(1) != 0};
                 });
}

bool strikes(const SFault& fault)
{
    return fault.seen >= fault.nth && (fault.times == 0 || fault.seen < fault.nth + fault.times);
}

[[noreturn]] void throwNoFault(int64_t id)
{
    throw EApplianceError(EStatus::MISSING, "fault " + std::to_string(id) + " does not exist", EObject::FAULT);
}

}  // namespace

bool CFaultTable::exists() const
{
    return isThere(m_file);
}

// Commands that run meanwhile see no database or a whole one: it is made under another name.
void CFaultTable::make() const
{
    const base::CFileDescriptor lock = lockByte(m_createLock, 0);
    if (exists()) return;
    const std::filesystem::path made = m_file.string() + ".new";
    const auto removeLog = [&made] {
        for (const char* const ending : {"-wal", "-shm"}) {
            std::filesystem::remove(made.string() + ending);
        }
    };
    std::filesystem::remove(made);  // whoever was killed here left it
    removeLog();
    // The database library would make the file readable by others.
    openFile(made, O_RDWR | O_CREAT | O_EXCL);
    {
        CFaultDatabase database(made);
        database.execute(SCHEMA);
        database.execute("PRAGMA wal_checkpoint(TRUNCATE)");
    }
    removeLog();
    std::filesystem::rename(made, m_file);
}

SFault CFaultTable::arm(SFault fault) const
{
    if (!exists()) make();
    CFaultDatabase database(m_file);
    CTransaction transaction(database, CTransaction::EKind::WRITE);
    CQuery(database, "INSERT INTO fault (kind, match, nth, times, milliseconds, bytes, seen) VALUES (?,?,?,?,?,?,0)",
           fault.kind->word, fault.match, fault.nth, fault.times, fault.milliseconds, fault.bytes)
        .run();
    fault.id = database.lastId();
    transaction.commit();
    return fault;
}

std::vector<SFault> CFaultTable::list() const
{
    if (!exists()) return {};
    CFaultDatabase database(m_file);
    const CTransaction transaction(database, CTransaction::EKind::READ);
    std::vector<SFault> faults = readFaults(database);
    for (SFault& fault : faults) {
        readStruck(database, fault);
    }
    return faults;
}

SFault CFaultTable::get(int64_t id) const
{
    for (SFault& fault : list()) {
        if (fault.id == id) return std::move(fault);
    }
    throwNoFault(id);
}

void CFaultTable::clear(const std::vector<int64_t>& ids) const
{
    if (!exists()) throwNoFault(ids.front());
    CFaultDatabase database(m_file);
    CTransaction transaction(database, CTransaction::EKind::WRITE);
    for (const int64_t id : ids) {
        CQuery(database, "DELETE FROM fault WHERE id = ?", id).run();
        if (database.changes() == 0) throwNoFault(id);
    }
    transaction.commit();
}

size_t CFaultTable::clearAll() const
{
    if (!exists()) return 0;
    CFaultDatabase database(m_file);
    CQuery(database, "DELETE FROM fault").run();
    return static_cast<size_t>(database.changes());
}

std::optional<SStrike> CFaultTable::strike(const std::string& command) const
{
    if (!exists()) return std::nullopt;
    CFaultDatabase database(m_file);
    if (!CQuery(database, "SELECT 1 FROM fault").next()) return std::nullopt;
    CTransaction transaction(database, CTransaction::EKind::WRITE);
    SStrike strike;
    for (SFault& fault : readFaults(database)) {
        if (command.find(fault.match) == std::string::npos) continue;
        CQuery(database, "UPDATE fault SET seen = seen + 1 WHERE id = ?", fault.id).run();
        ++fault.seen;
        const bool isTaken = strike.fault.kind != nullptr && !strike.fault.kind->onlyNotes;
        if (!strikes(fault) || (isTaken && !fault.kind->onlyNotes)) continue;
        CQuery(database, "INSERT INTO struck (fault_id, command) VALUES (?,?)", fault.id, command).run();
        strike.ids.push_back(database.lastId());
        if (!isTaken) strike.fault = std::move(fault);
    }
    transaction.commit();
    return strike.ids.empty() ? std::nullopt : std::make_optional(std::move(strike));
}

void CFaultTable::noteEnd(const SStrike& strike) const
{
    CFaultDatabase database(m_file);
    CTransaction transaction(database, CTransaction::EKind::WRITE);
    for (const int64_t id : strike.ids) {
        CQuery(database, "UPDATE struck SET finished = 1 WHERE number = ?", id).run();
    }
    transaction.commit();
}

}  // namespace lumora
