#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/selection/record_difference.h"

namespace fictl {

namespace {

SResult showSnapshot(const std::string& name)
{
    CCatalogReader catalog;
    const SSnapshot snapshot = catalog.get(name);
    Rows head = {
        {"SNAPSHOT", snapshot.name},   {"STATE", snapshot.shownState()},    {"PROVIDER", snapshot.provider},
        {"CREATED", snapshot.created}, {"CHECKPOINT", snapshot.checkpoint}, {"ORIGIN", snapshot.origin},
    };
    if (!snapshot.creator.empty()) head.push_back({"CREATOR", snapshot.creator});
    if (!snapshot.labels.empty()) head.push_back({"LABELS", labelsText(snapshot.labels)});
    if (!snapshot.note.empty()) head.push_back({"NOTE", snapshot.note});
    if (!snapshot.message.empty()) head.push_back({"MESSAGE", snapshot.message});
    if (!snapshot.thaw.empty()) head.push_back({"THAW", snapshot.thaw});
    Rows rows = {{"DEVICE", "APPLIANCE", "GROUP", "SERIAL", "MADE", "IMPORTED AS", "TARGET"}};
    for (const SDevice& device : snapshot.devices) {
        rows.push_back({device.source, device.state.applianceName, device.state.consistencyGroup, device.state.serialNo,
                        madeText(device.made), device.importPath, device.target});
    }
    return snapshotResult(snapshot, formatValues(head) + "\n" + formatTable(rows));
}

json valueJson(const std::optional<std::string>& value)
{
    return value ? json(*value) : json();
}

// A label may have an empty value, which is not the same as none.
std::string valueText(const std::optional<std::string>& value)
{
    return value && value->empty() ? "\"\"" : value.value_or("");
}

SResult showDifference(const std::string& one, const std::string& other)
{
    CCatalogReader catalog;
    json list = json::array();
    Rows rows = {{"WHAT", one, other}};
    for (const SDifference& each : differencesOf(catalog.get(one), catalog.get(other))) {
        list.push_back({{"what", each.what},
                        {"of", textOrNull(each.of)},
                        {"a", valueJson(each.one)},
                        {"b", valueJson(each.other)}});
        rows.push_back(
            {each.what + (each.of.empty() ? "" : " " + each.of), valueText(each.one), valueText(each.other)});
    }
    const bool isSame = list.empty();
    return resultOf({{"diff", {{"a", one}, {"b", other}, {"differences", std::move(list)}}}},
                    isSame ? "no difference\n" : formatTable(rows));
}

}  // namespace

CommandRun declareShow(COptions& options)
{
    const auto name = std::make_shared<std::string>();
    options.word("NAME", *name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    return [name](const SContext&) { return showSnapshot(*name); };
}

CommandRun declareDiff(COptions& options)
{
    const auto names = std::make_shared<std::pair<std::string, std::string>>();
    options.word("A", names->first, COptions::EGiven::MUST_BE, "Name of a snapshot");
    options.word("B", names->second, COptions::EGiven::MUST_BE, "Name of another one");
    return [names](const SContext&) { return showDifference(names->first, names->second); };
}

}  // namespace fictl
