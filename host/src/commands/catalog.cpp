#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_check.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/commands/commands.h"
#include "host/src/output/progress.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

json problemsJson(const SCatalogState& state)
{
    json list = json::array();
    for (const SProblem& problem : state.problems) {
        list.push_back({{"table", textOrNull(problem.table)},
                        {"row", textOrNull(problem.row)},
                        {"column", textOrNull(problem.column)},
                        {"text", problem.text}});
    }
    return list;
}

std::string problemsText(const SCatalogState& state)
{
    Rows rows = {{"TABLE", "ROW", "COLUMN", "PROBLEM"}};
    for (const SProblem& problem : state.problems) {
        rows.push_back({problem.table, problem.row, problem.column, problem.text});
    }
    return formatTable(rows);
}

std::string soundText(const std::string& path, bool isThere, const SCatalogState& state)
{
    if (!isThere) return "there is no catalog yet; the first snapshot begins it\n";
    return "catalog " + printable(path) + " is sound: " + counted(state.records, "record") + " with " +
           counted(state.devices, "device") + "\n";
}

SResult checkCatalogContent(const SContext& /*context*/)
{
    CCatalogReader catalog;
    SCatalogState state;
    if (catalog.isThere()) {
        catalog.read([&](const base::CSqliteDatabase& database) { state = checkContent(database); });
    }
    const bool isSound = state.problems.empty();
    const char* const next =
        "keep a copy of the file with its -wal; then put back a sound one, or mend these rows with sqlite3";
    const json document = {{"path", catalog.path()},
                           {"there", catalog.isThere()},
                           {"sound", isSound},
                           {"records", state.records},
                           {"devices", state.devices},
                           {"history", state.entries},
                           {"problems", problemsJson(state)},
                           {"next", textOrNull(isSound ? "" : next)}};
    SResult result = resultOf({{"catalog", document}},
                              isSound ? soundText(catalog.path(), catalog.isThere(), state) : problemsText(state));
    if (isSound) return result;
    result.exit = EExit::CATALOG;
    CProgress::warn("catalog " + printable(catalog.path()) +
                    " is not sound: " + counted(state.problems.size(), "problem") + "; next: " + next);
    return result;
}

}  // namespace

CommandRun declareCatalogCheck(COptions& /*options*/)
{
    return checkCatalogContent;
}

}  // namespace fictl
