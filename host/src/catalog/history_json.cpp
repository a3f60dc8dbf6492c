#include "host/src/catalog/history_json.h"

#include <nlohmann/json.hpp>

#include "host/src/output/exit_codes.h"

namespace fictl {

namespace {

using std::chrono::microseconds;

double secondsOf(microseconds time)
{
    return std::chrono::duration<double>(time).count();
}

json exitJson(const SHistoryEntry& entry)
{
    if (!entry.end) return nullptr;
    return {{"code", entry.end->exit}, {"name", exitName(static_cast<EExit>(entry.end->exit))}};
}

json objectsJson(const SHistoryEntry& entry)
{
    json list = json::array();
    for (const SHistoryObject& object : entry.objects) {
        list.push_back({{"verb", object.verb},
                        {"kind", object.kind},
                        {"appliance", object.appliance},
                        {"group", object.group},
                        {"name", object.name},
                        {"outcome", outcomeText(object.outcome)},
                        {"made_at", textOrNull(object.madeAt)}});
    }
    return list;
}

json commandsJson(const SHistoryEntry& entry)
{
    json list = json::array();
    for (const SHistoryRun& run : entry.runs) {
        list.push_back({{"started", run.started},
                        {"seconds", secondsOf(run.duration)},
                        {"command", run.command},
                        {"answer", run.answer}});
    }
    return list;
}

}  // namespace

const char* historyState(const SHistoryEntry& entry)
{
    if (entry.end) return "ended";
    return isAlive(entry.process) ? "running" : "did not end";
}

json historyJson(const SHistoryEntry& entry)
{
    return {
        {"number", entry.id},
        {"started", entry.started},
        {"host", entry.invoker.host},
        {"user", entry.invoker.user},
        {"sudo_user", textOrNull(entry.invoker.sudoUser)},
        {"command", entry.command},
        {"snapshot", textOrNull(entry.snapshot)},
        {"process", entry.process.pid},
        {"state", historyState(entry)},
        {"exit", exitJson(entry)},
        {"seconds", entry.end ? json(secondsOf(entry.end->duration)) : json()},
        {"frozen_seconds", entry.end && entry.end->frozen.count() > 0 ? json(secondsOf(entry.end->frozen)) : json()},
        {"message", entry.end ? textOrNull(entry.end->message) : json()},
        {"objects", objectsJson(entry)},
        {"commands", commandsJson(entry)},
        {"looks", entry.looks},
        {"lost", entry.lost}};
}

}  // namespace fictl
