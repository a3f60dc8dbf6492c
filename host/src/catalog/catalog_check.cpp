#include "host/src/catalog/catalog_check.h"

#include <limits>
#include <set>
#include <span>

#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/record_check.h"
#include "host/src/catalog/record_rows.h"
#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct STextColumn
{
    const char* name;
    bool (*isRight)(const std::string& text);
    const char* complaint;
};

struct SNumberColumn
{
    const char* name;
    int64_t least;
    int64_t most;
};

bool isPlain(const std::string& text)
{
    return isPlainText(text);
}

bool isPlainAndThere(const std::string& text)
{
    return !text.empty() && isPlainText(text);
}

bool isUtf8Text(const std::string& text)
{
    return isUtf8(text);
}

constexpr const char* NOT_UTF8 = "holds bytes that are not UTF-8";
constexpr const char* NOT_PLAIN = "holds control characters, or bytes that are not UTF-8";
constexpr const char* NOT_PLAIN_OR_EMPTY = "is empty, or holds control characters or bytes that are not UTF-8";
constexpr int64_t MOST = std::numeric_limits<int64_t>::max();

// The thaw command is not among them: it is whatever the user gave.
const STextColumn SNAPSHOT_TEXTS[] = {
    {"name", [](const std::string& text) { return isSnapshotName(text); }, "is not a snapshot's name"},
    {"state", [](const std::string& text) { return stateOf(text).has_value(); }, "is no state"},
    {"provider", [](const std::string& text) { return isProviderName(text); }, "is not a provider's name"},
    {"checkpoint", [](const std::string& text) { return naming::isCheckpointName(text); },
     "is not a checkpoint's name"},
    {"created", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"origin",
     [](const std::string& text) { return text == "created" || text == "received" || text == ORIGIN_ADOPTED; },
     "is neither \"created\" nor \"received\" nor \"adopted\""},
    {"message", isUtf8Text, NOT_UTF8},
    {"boot_id", isPlain, NOT_PLAIN},
    {"pid_namespace", isPlain, NOT_PLAIN},
    {"creator", isPlain, NOT_PLAIN},
    {"note", [](const std::string& text) { return isNote(text); }, "is no note"},
};
constexpr SNumberColumn SNAPSHOT_NUMBERS[] = {{"pid", 0, std::numeric_limits<int32_t>::max()},
                                              {"start_time", -1, MOST},
                                              {"exported", 0, 1},
                                              {"owner_lock", 0, MOST}};

const STextColumn DEVICE_TEXTS[] = {
    {"source", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"node", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"target", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"import_path", isPlain, NOT_PLAIN},
    {"appliance_type", isPlain, NOT_PLAIN},
    {"appliance", isPlain, NOT_PLAIN},
    {"cgroup", isPlain, NOT_PLAIN},
    {"time_image", isPlain, NOT_PLAIN},
    {"checkpoint", isPlain, NOT_PLAIN},
    {"serial", isPlain, NOT_PLAIN},
    {"import_serial", isPlain, NOT_PLAIN},
};
constexpr SNumberColumn DEVICE_NUMBERS[] = {{"position", 0, MOST}, {"made", 0, 2}, {"image_asked", 0, 1}};

const STextColumn TIME_TEXTS[] = {
    {"appliance", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"cgroup", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"made_at", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
};

const STextColumn LABEL_TEXTS[] = {
    {"label_key", [](const std::string& text) { return isLabelKey(text); }, "is no label's key"},
    {"label_value", [](const std::string& text) { return isLabelValue(text); }, "is no label's value"},
};

const STextColumn HISTORY_TEXTS[] = {
    {"started", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"host", isPlain, NOT_PLAIN},
    {"user", isPlain, NOT_PLAIN},
    {"sudo_user", isPlain, NOT_PLAIN},
    {"command", isUtf8Text, NOT_UTF8},
    {"message", isUtf8Text, NOT_UTF8},
    {"snapshot", isPlain, NOT_PLAIN},
    {"boot_id", isPlain, NOT_PLAIN},
    {"pid_namespace", isPlain, NOT_PLAIN},
};
constexpr SNumberColumn HISTORY_NUMBERS[] = {{"pid", 0, std::numeric_limits<int32_t>::max()},
                                             {"start_time", -1, MOST},
                                             {"owner_lock", 0, MOST},
                                             {"ended", 0, 1},
                                             {"exit", 0, 255},
                                             {"microseconds", 0, MOST},
                                             {"frozen", 0, MOST},
                                             {"looks", 0, MOST},
                                             {"lost", 0, MOST},
                                             {"bytes", 0, MOST}};

const STextColumn OBJECT_TEXTS[] = {
    {"verb", [](const std::string& text) { return text == "create" || text == "delete"; },
     "is neither \"create\" nor \"delete\""},
    {"kind", [](const std::string& text) { return text == "checkpoint" || text == "image"; },
     "is neither \"checkpoint\" nor \"image\""},
    {"appliance", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"cgroup", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"name", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"outcome", [](const std::string& text) { return outcomeOf(text).has_value(); }, "is no outcome"},
    {"made_at", isPlain, NOT_PLAIN},
};
const STextColumn RUN_TEXTS[] = {
    {"started", isPlainAndThere, NOT_PLAIN_OR_EMPTY},
    {"command", isUtf8Text, NOT_UTF8},
    {"answer", isUtf8Text, NOT_UTF8},
};
constexpr SNumberColumn RUN_NUMBERS[] = {{"microseconds", 0, MOST}};

/// A table as it is looked at: its columns, and how one row is found.
struct STable
{
    const char* name;
    std::span<const STextColumn> texts;
    std::span<const SNumberColumn> numbers;
    const char* key;

    std::string query() const
    {
        std::string columns;
        for (const STextColumn& column : texts) {
            columns += (columns.empty() ? "" : ", ") + std::string(column.name);
        }
        for (const SNumberColumn& column : numbers) {
            columns += ", " + std::string(column.name);
        }
        return "SELECT " + columns + " FROM " + name + " WHERE " + key;
    }
};

const STable SNAPSHOTS = {"snapshot", SNAPSHOT_TEXTS, SNAPSHOT_NUMBERS, "name = ?"};
const STable DEVICES = {"device", DEVICE_TEXTS, DEVICE_NUMBERS, "snapshot = ? AND position = ?"};
const STable TIMES = {"checkpoint_time", TIME_TEXTS, {}, "snapshot = ? AND appliance = ? AND cgroup = ?"};
const STable LABELS = {"label", LABEL_TEXTS, {}, "snapshot = ? AND label_key = ?"};
const STable HISTORY = {"history", HISTORY_TEXTS, HISTORY_NUMBERS, "id = ?"};
const STable OBJECTS = {"history_object", OBJECT_TEXTS, {}, "entry = ? AND position = ?"};
const STable RUNS = {"history_run", RUN_TEXTS, RUN_NUMBERS, "entry = ? AND position = ?"};

class CCatalogCheck
{
  public:
    explicit CCatalogCheck(const base::CSqliteDatabase& database) : m_database(database), m_records(database) {}

    SCatalogState run()
    {
        checkFile();
        checkSnapshots();
        checkDevices();
        checkTimes();
        checkLabels();
        checkHistory();
        return std::move(m_state);
    }

  private:
    void add(const SProblem& problem) { m_state.problems.push_back(problem); }

    void checkFile()
    {
        for (base::CSqliteQuery row(m_database, "PRAGMA main.integrity_check(100)"); row.next();) {
            if (row.text(0) != "ok") add({.text = row.text(0)});
        }
    }

    void checkSnapshots()
    {
        base::CSqliteQuery values(m_database, SNAPSHOTS.query().c_str(), "");
        for (base::CSqliteQuery row(m_database, "SELECT name FROM snapshot ORDER BY name"); row.next();) {
            const std::string name = row.text(0);
            m_names.insert(name);
            ++m_state.records;
            values.again(name);
            // What can be told of its columns is told by them.
            if (checkRow(SNAPSHOTS, name, values)) checkRecord(name);
        }
    }

    void checkDevices()
    {
        base::CSqliteQuery values(m_database, DEVICES.query().c_str(), "", 0);
        base::CSqliteQuery row(m_database, "SELECT snapshot, position FROM device ORDER BY snapshot, position");
        while (row.next()) {
            const std::string snapshot = row.text(0);
            const std::string name = snapshot + "/" + std::to_string(row.integer(1));
            ++m_state.devices;
            checkSnapshotOf(DEVICES, name, snapshot);
            values.again(snapshot, row.integer(1));
            checkRow(DEVICES, name, values);
        }
    }

    void checkTimes()
    {
        base::CSqliteQuery values(m_database, TIMES.query().c_str(), "", "", "");
        base::CSqliteQuery row(m_database, "SELECT snapshot, appliance, cgroup FROM checkpoint_time ORDER BY 1, 2, 3");
        while (row.next()) {
            const std::string snapshot = row.text(0);
            const std::string name = snapshot + "/" + row.text(1) + "/" + row.text(2);
            checkSnapshotOf(TIMES, name, snapshot);
            values.again(snapshot, row.text(1), row.text(2));
            checkRow(TIMES, name, values);
        }
    }

    void checkLabels()
    {
        base::CSqliteQuery values(m_database, LABELS.query().c_str(), "", "");
        base::CSqliteQuery row(m_database, "SELECT snapshot, label_key FROM label ORDER BY 1, 2");
        while (row.next()) {
            const std::string snapshot = row.text(0);
            const std::string name = snapshot + "/" + row.text(1);
            checkSnapshotOf(LABELS, name, snapshot);
            values.again(snapshot, row.text(1));
            checkRow(LABELS, name, values);
        }
    }

    void checkHistory()
    {
        base::CSqliteQuery values(m_database, HISTORY.query().c_str(), 0);
        std::set<int64_t> entries;
        for (base::CSqliteQuery row(m_database, "SELECT id FROM history ORDER BY id"); row.next();) {
            entries.insert(row.integer(0));
            ++m_state.entries;
            values.again(row.integer(0));
            checkRow(HISTORY, std::to_string(row.integer(0)), values);
        }
        checkPartsOfHistory(OBJECTS, "SELECT entry, position FROM history_object ORDER BY 1, 2", entries);
        checkPartsOfHistory(RUNS, "SELECT entry, position FROM history_run ORDER BY 1, 2", entries);
    }

    void checkPartsOfHistory(const STable& table, const char* keys, const std::set<int64_t>& entries)
    {
        base::CSqliteQuery values(m_database, table.query().c_str(), 0, 0);
        for (base::CSqliteQuery row(m_database, keys); row.next();) {
            const std::string name = std::to_string(row.integer(0)) + "/" + std::to_string(row.integer(1));
            if (!entries.contains(row.integer(0))) add({table.name, name, "entry", "there is no entry of this number"});
            values.again(row.integer(0), row.integer(1));
            checkRow(table, name, values);
        }
    }

    void checkSnapshotOf(const STable& table, const std::string& name, const std::string& snapshot)
    {
        if (!m_names.contains(snapshot)) add({table.name, name, "snapshot", "there is no snapshot of this name"});
    }

    // False when something is wrong with it.
    bool checkRow(const STable& table, const std::string& name, base::CSqliteQuery& values)
    {
        const size_t before = m_state.problems.size();
        try {
            if (values.next()) {
                checkValues(table, name, values);
            } else {
                add({table.name, name, "", "its row cannot be found"});
            }
        } catch (const base::ESqlite& error) {
            add({table.name, name, "", error.what()});
        }
        return m_state.problems.size() == before;
    }

    void checkValues(const STable& table, const std::string& name, const base::CSqliteQuery& values)
    {
        int index = 0;
        for (const STextColumn& column : table.texts) {
            const std::string text = values.text(index++);
            if (!column.isRight(text)) add({table.name, name, column.name, "\"" + text + "\" " + column.complaint});
        }
        for (const SNumberColumn& column : table.numbers) {
            const int64_t number = values.integer(index++);
            if (number >= column.least && number <= column.most) continue;
            add({table.name, name, column.name, std::to_string(number) + " is out of range"});
        }
    }

    void checkRecord(const std::string& name)
    {
        try {
            const std::optional<SSnapshot> snapshot = m_records.find(name);
            if (!snapshot) return;
            if (snapshot->devices.empty()) add({SNAPSHOTS.name, name, "", "it has no devices"});
            const std::string found = findDisagreement(*snapshot);
            if (!found.empty()) add({SNAPSHOTS.name, name, "", "it does not agree with itself: " + found});
        } catch (const std::runtime_error& error) {
            add({SNAPSHOTS.name, name, "", error.what()});
        }
    }

    const base::CSqliteDatabase& m_database;
    CRecordRows m_records;
    std::set<std::string> m_names;
    SCatalogState m_state;
};

}  // namespace

SCatalogState checkContent(const base::CSqliteDatabase& database)
{
    return CCatalogCheck(database).run();
}

}  // namespace fictl
