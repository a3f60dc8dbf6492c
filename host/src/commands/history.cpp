#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/history_json.h"
#include "host/src/catalog/history_table.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/commands/since.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SHistoryRequest
{
    std::string name{};
    std::string since{};
};

std::string secondsOf(std::chrono::microseconds time)
{
    return secondsText(std::chrono::duration<double>(time).count());
}

void addRows(const SHistoryEntry& entry, Rows& commands, Rows& objects)
{
    const bool wasFrozen = entry.end && entry.end->frozen.count() > 0;
    commands.push_back({std::to_string(entry.id), entry.started, entry.invoker.text(),
                        entry.end ? std::to_string(entry.end->exit) : historyState(entry),
                        entry.end ? secondsOf(entry.end->duration) : "", wasFrozen ? secondsOf(entry.end->frozen) : "",
                        entry.command});
    for (const SHistoryObject& object : entry.objects) {
        objects.push_back({std::to_string(entry.id), object.verb, object.kind, object.appliance, object.group,
                           object.name, outcomeText(object.outcome), object.madeAt});
    }
}

SResult showHistory(const SHistoryRequest& request)
{
    if (!request.name.empty()) requireSnapshotName(request.name);
    const SHistoryFilter filter = {.snapshot = request.name, .since = sinceText(request.since)};
    json list = json::array();
    Rows commands;
    Rows objects;
    CCatalogReader catalog;
    const auto read = [&](const base::CSqliteDatabase& database) {
        list.clear();
        commands = {{"NUMBER", "STARTED", "WHO", "EXIT", "TOOK", "FROZEN", "COMMAND"}};
        objects = {{"NUMBER", "VERB", "KIND", "APPLIANCE", "GROUP", "NAME", "OUTCOME", "MADE AT"}};
        readHistory(database, filter, [&](const SHistoryEntry& entry) {
            list.push_back(historyJson(entry));
            addRows(entry, commands, objects);
        });
    };
    if (catalog.isThere()) catalog.read(read);
    if (list.empty()) return resultOf({{"history", list}}, "nothing is known\n");
    const bool isDetailed = !request.name.empty() && objects.size() > 1;
    return resultOf({{"history", std::move(list)}},
                    formatTable(commands) + (isDetailed ? "\n" + formatTable(objects) : ""));
}

}  // namespace

CommandRun declareHistory(COptions& options)
{
    const auto request = std::make_shared<SHistoryRequest>();
    options.word("NAME", request->name, COptions::EGiven::MAY_BE, "Name of the snapshot (all)");
    options.text("--since", request->since, "Only what began at or after a time, or within an age such as 2d (all)");
    return [request](const SContext&) { return showHistory(*request); };
}

}  // namespace fictl
