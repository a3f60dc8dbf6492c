#include "host/src/catalog/history_table.h"

#include <algorithm>
#include <charconv>

#include "host/src/process/own_setting.h"

namespace fictl {

namespace {

using std::chrono::microseconds;

int64_t settingOr(const char* name, int64_t usual)
{
    const std::set<std::string> words = wordsOfSetting("CATALOG", name);
    if (words.size() != 1) return usual;
    const std::string& text = *words.begin();
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && *end == '\0' ? std::max<int64_t>(number, 1) : usual;
}

// About what the entry takes in the file.
size_t bytesOf(const SHistoryEntry& entry)
{
    constexpr size_t OF_A_ROW = 64;
    size_t bytes = OF_A_ROW + entry.command.size() + entry.process.bootId.size() + entry.snapshot.size();
    if (entry.end) bytes += entry.end->message.size();
    for (const SHistoryObject& object : entry.objects) {
        bytes += OF_A_ROW + object.appliance.size() + object.group.size() + object.name.size();
    }
    for (const SHistoryRun& run : entry.runs) {
        bytes += OF_A_ROW + run.command.size() + run.answer.size();
    }
    return bytes;
}

void enterObjects(base::CSqliteDatabase& database, int64_t id, size_t position,
                  const std::vector<SHistoryObject>& objects)
{
    for (const SHistoryObject& object : objects) {
        base::CSqliteQuery row(database,
                               "INSERT INTO history_object (entry, position, verb, kind, appliance, cgroup, name, "
                               "outcome, made_at) VALUES (?,?,?,?,?,?,?,?,?)",
                               id, position++, object.verb, object.kind, object.appliance, object.group, object.name);
        row.bind(outcomeText(object.outcome)).bind(object.madeAt).run();
    }
}

std::vector<SHistoryObject> objectsOf(base::CSqliteQuery& row)
{
    std::vector<SHistoryObject> objects;
    while (row.next()) {
        const std::optional<EOutcome> outcome = outcomeOf(row.text(5));
        if (!outcome) throw base::ESqlite(SQLITE_CORRUPT, "history_object: \"" + row.text(5) + "\" is no outcome");
        objects.push_back({.verb = row.text(0),
                           .kind = row.text(1),
                           .appliance = row.text(2),
                           .group = row.text(3),
                           .name = row.text(4),
                           .outcome = *outcome,
                           .madeAt = row.text(6)});
    }
    return objects;
}

std::vector<SHistoryRun> runsOf(base::CSqliteQuery& row)
{
    std::vector<SHistoryRun> runs;
    while (row.next()) {
        runs.push_back({.started = row.text(0),
                        .duration = microseconds(row.integer(1)),
                        .command = row.text(2),
                        .answer = row.text(3)});
    }
    return runs;
}

SHistoryEntry entryOf(const base::CSqliteQuery& row)
{
    SHistoryEntry entry;
    entry.id = row.integer(0);
    entry.started = row.text(1);
    entry.invoker.host = row.text(2);
    entry.invoker.user = row.text(3);
    entry.invoker.sudoUser = row.text(4);
    entry.command = row.text(5);
    entry.snapshot = row.text(6);
    entry.process = {.pid = row.integer(7),
                     .bootId = row.text(8),
                     .startTime = row.integer(9),
                     .pidNamespace = row.text(10),
                     .lock = row.integer(11)};
    if (row.integer(12) != 0) {
        entry.end = {.exit = static_cast<int>(row.integer(13)),
                     .duration = microseconds(row.integer(14)),
                     .frozen = microseconds(row.integer(15)),
                     .message = row.text(16)};
    }
    entry.looks = row.integer(17);
    entry.lost = row.integer(18);
    return entry;
}

}  // namespace

SHistoryLimits SHistoryLimits::current()
{
    const SHistoryLimits usual;
    return {.days = settingOr("HISTORY_DAYS", usual.days), .bytes = settingOr("HISTORY_BYTES", usual.bytes)};
}

int64_t enterHistory(base::CSqliteDatabase& database, const SHistoryEntry& entry)
{
    base::CSqliteQuery row(database,
                           "INSERT INTO history (started, host, user, sudo_user, command, snapshot, pid, boot_id, "
                           "start_time, pid_namespace, owner_lock, bytes) VALUES (?,?,?,?,?,?,?,?,?,?,?,?)",
                           entry.started, entry.invoker.host, entry.invoker.user, entry.invoker.sudoUser, entry.command,
                           entry.snapshot);
    row.bind(entry.process.pid).bind(entry.process.bootId).bind(entry.process.startTime);
    row.bind(entry.process.pidNamespace).bind(entry.process.lock).bind(bytesOf(entry)).run();
    return database.lastId();
}

void enterHistoryObjects(base::CSqliteDatabase& database, int64_t id, const std::vector<SHistoryObject>& objects)
{
    base::CSqliteQuery count(database, "SELECT count(*) FROM history_object WHERE entry = ?", id);
    enterObjects(database, id, count.next() ? static_cast<size_t>(count.integer(0)) : 0, objects);
}

void completeHistory(base::CSqliteDatabase& database, const SHistoryEntry& entry)
{
    base::CSqliteQuery(database, "DELETE FROM history_object WHERE entry = ?", entry.id).run();
    enterObjects(database, entry.id, 0, entry.objects);
    size_t position = 0;
    for (const SHistoryRun& run : entry.runs) {
        base::CSqliteQuery(database,
                           "INSERT INTO history_run (entry, position, started, microseconds, command, answer) "
                           "VALUES (?,?,?,?,?,?)",
                           entry.id, position++, run.started, run.duration.count(), run.command, run.answer)
            .run();
    }
    const SHistoryEnd end = entry.end.value_or(SHistoryEnd{});
    base::CSqliteQuery row(database,
                           "UPDATE history SET ended = 1, snapshot = ?, exit = ?, microseconds = ?, frozen = ?, "
                           "message = ?, looks = ?, lost = ?, bytes = ? WHERE id = ?",
                           entry.snapshot, end.exit, end.duration.count(), end.frozen.count(), end.message);
    row.bind(entry.looks).bind(entry.lost).bind(bytesOf(entry)).bind(entry.id).run();
}

void trimHistory(base::CSqliteDatabase& database, const SHistoryLimits& limits)
{
    base::CSqliteQuery(database,
                       "DELETE FROM history WHERE started < strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-' || ? || ' days')",
                       limits.days)
        .run();
    base::CSqliteQuery(database,
                       "DELETE FROM history WHERE id IN (SELECT id FROM (SELECT id, sum(bytes) OVER (ORDER BY id DESC) "
                       "AS upward FROM history) WHERE upward > ?)",
                       limits.bytes)
        .run();
}

void readHistory(const base::CSqliteDatabase& database, const SHistoryFilter& filter,
                 const std::function<void(SHistoryEntry entry)>& take)
{
    base::CSqliteQuery row(database,
                           "SELECT id, started, host, user, sudo_user, command, snapshot, pid, boot_id, start_time, "
                           "pid_namespace, owner_lock, ended, exit, microseconds, frozen, message, looks, lost "
                           "FROM history WHERE (?1 = '' OR snapshot = ?1) AND started >= ?2 ORDER BY id",
                           filter.snapshot, filter.since);
    base::CSqliteQuery objects(database,
                               "SELECT verb, kind, appliance, cgroup, name, outcome, made_at FROM history_object "
                               "WHERE entry = ? ORDER BY position",
                               0);
    base::CSqliteQuery runs(
        database, "SELECT started, microseconds, command, answer FROM history_run WHERE entry = ? ORDER BY position",
        0);
    while (row.next()) {
        SHistoryEntry entry = entryOf(row);
        objects.again(entry.id);
        entry.objects = objectsOf(objects);
        runs.again(entry.id);
        entry.runs = runsOf(runs);
        take(std::move(entry));
    }
}

}  // namespace fictl
