#include "appliance/core/fault_table.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "appliance/core/database.h"
#include "appliance/core/error.h"

namespace lumora {
namespace {

constexpr const char* schema = R"sql(
CREATE TABLE IF NOT EXISTS fault (id INTEGER PRIMARY KEY AUTOINCREMENT, kind TEXT NOT NULL, match TEXT NOT NULL,
  nth INTEGER NOT NULL, times INTEGER NOT NULL, milliseconds INTEGER NOT NULL, bytes INTEGER NOT NULL,
  seen INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS struck (number INTEGER PRIMARY KEY AUTOINCREMENT,
  fault_id INTEGER NOT NULL REFERENCES fault(id) ON DELETE CASCADE, command TEXT NOT NULL,
  finished INTEGER NOT NULL DEFAULT 0);
)sql";

constexpr const char* columns = "SELECT id, kind, match, nth, times, milliseconds, bytes, seen FROM fault ";

constexpr std::array<std::pair<EFault, std::string_view>, 11> words = {{{EFault::watch, "watch"},
                                                                        {EFault::error, "error"},
                                                                        {EFault::slow, "slow"},
                                                                        {EFault::hang, "hang"},
                                                                        {EFault::garble, "garble"},
                                                                        {EFault::cut, "cut"},
                                                                        {EFault::lost, "lost"},
                                                                        {EFault::killBefore, "kill-before"},
                                                                        {EFault::killAfter, "kill-after"},
                                                                        {EFault::hangAfter, "hang-after"},
                                                                        {EFault::tear, "tear"}}};

class CFaultDatabase : public CDatabase
{
  public:
    CFaultDatabase(const std::filesystem::path& file, EMode mode) : CDatabase(file, mode)
    {
        execute("PRAGMA synchronous = OFF");
    }
};

SFault readFault(const CQuery& row)
{
    SFault fault;
    fault.id = row.integer(0);
    fault.kind = parseFault(row.text(1));
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
    std::vector<SFault> faults;
    CQuery row(database, (std::string(columns) + "ORDER BY id").c_str());
    while (row.next()) {
        faults.push_back(readFault(row));
    }
    for (SFault& fault : faults) {
        CQuery command(database, "SELECT command, finished FROM struck WHERE fault_id = ? ORDER BY number", fault.id);
        while (command.next()) {
            fault.struck.push_back({command.text(0), command.integer(1) != 0});
        }
    }
    return faults;
}

bool strikes(const SFault& fault)
{
    return fault.seen >= fault.nth && (fault.times == 0 || fault.seen < fault.nth + fault.times);
}

[[noreturn]] void throwNoFault(std::int64_t id)
{
    throw EApplianceError(EStatus::missing, "fault " + std::to_string(id) + " does not exist", EObject::fault);
}

}  // namespace

std::string_view faultWord(EFault kind) noexcept
{
    return words[static_cast<std::size_t>(kind)].second;
}

EFault parseFault(std::string_view word)
{
    const auto* const entry =
        std::find_if(words.begin(), words.end(), [word](const auto& each) { return each.second == word; });
    if (entry != words.end()) {
        return entry->first;
    }
    std::string known;
    for (const auto& each : words) {
        known += (known.empty() ? "" : ", ") + std::string(each.second);
    }
    throw EApplianceError(EStatus::malformed, "fault " + inQuotes(word) + " is none of " + known);
}

bool CFaultTable::exists() const
{
    std::error_code error;
    return std::filesystem::exists(m_file, error);
}

SFault CFaultTable::arm(SFault fault) const
{
    CFaultDatabase database(m_file, CDatabase::EMode::create);
    CTransaction transaction(database, CTransaction::EKind::write);
    database.execute(schema);
    CQuery(database, "INSERT INTO fault (kind, match, nth, times, milliseconds, bytes, seen) VALUES (?,?,?,?,?,?,0)",
           faultWord(fault.kind), fault.match, fault.nth, fault.times, fault.milliseconds, fault.bytes)
        .run();
    fault.id = database.lastId();
    transaction.commit();
    return fault;
}

std::vector<SFault> CFaultTable::list() const
{
    if (!exists()) {
        return {};
    }
    CFaultDatabase database(m_file, CDatabase::EMode::existing);
    const CTransaction transaction(database, CTransaction::EKind::read);
    return readFaults(database);
}

SFault CFaultTable::get(std::int64_t id) const
{
    for (SFault& fault : list()) {
        if (fault.id == id) {
            return std::move(fault);
        }
    }
    throwNoFault(id);
}

void CFaultTable::clear(std::int64_t id) const
{
    if (!exists()) {
        throwNoFault(id);
    }
    CFaultDatabase database(m_file, CDatabase::EMode::existing);
    CQuery(database, "DELETE FROM fault WHERE id = ?", id).run();
    if (database.changes() == 0) {
        throwNoFault(id);
    }
}

std::size_t CFaultTable::clearAll() const
{
    if (!exists()) {
        return 0;
    }
    CFaultDatabase database(m_file, CDatabase::EMode::existing);
    CQuery(database, "DELETE FROM fault").run();
    return static_cast<std::size_t>(database.changes());
}

std::optional<SStrike> CFaultTable::strike(const std::string& command) const
{
    if (!exists()) {
        return std::nullopt;
    }
    CFaultDatabase database(m_file, CDatabase::EMode::existing);
    if (!CQuery(database, "SELECT 1 FROM fault").next()) {
        return std::nullopt;
    }
    CTransaction transaction(database, CTransaction::EKind::write);
    SStrike strike;
    strike.fault.kind = EFault::watch;
    for (SFault& fault : readFaults(database)) {
        if (command.find(fault.match) == std::string::npos) {
            continue;
        }
        CQuery(database, "UPDATE fault SET seen = seen + 1 WHERE id = ?", fault.id).run();
        ++fault.seen;
        const bool isSecond = fault.kind != EFault::watch && strike.fault.kind != EFault::watch;
        if (!strikes(fault) || isSecond) {
            continue;
        }
        CQuery(database, "INSERT INTO struck (fault_id, command) VALUES (?,?)", fault.id, command).run();
        strike.ids.push_back(database.lastId());
        if (fault.kind != EFault::watch) {
            strike.fault = std::move(fault);
        }
    }
    transaction.commit();
    return strike.ids.empty() ? std::nullopt : std::make_optional(std::move(strike));
}

void CFaultTable::noteEnd(const SStrike& strike) const
{
    CFaultDatabase database(m_file, CDatabase::EMode::existing);
    CTransaction transaction(database, CTransaction::EKind::write);
    for (const std::int64_t id : strike.ids) {
        CQuery(database, "UPDATE struck SET finished = 1 WHERE number = ?", id).run();
    }
    transaction.commit();
}

}  // namespace lumora
