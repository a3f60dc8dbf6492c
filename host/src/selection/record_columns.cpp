#include "host/src/selection/record_columns.h"

#include <algorithm>

#include "host/src/output/error.h"
#include "host/src/text/age_text.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Each text once, in order of names. That of bytes is mostly the same and costs little, so it is tried first.
std::string joined(std::vector<std::string> texts)
{
    std::ranges::sort(texts);
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    if (!std::ranges::is_sorted(texts, SNameOrder())) std::ranges::sort(texts, SNameOrder());
    std::string list;
    for (const std::string& text : texts) {
        if (!list.empty()) list += ',';
        list += text;
    }
    return list;
}

template <class TextOf>
std::string ofDevices(const SSnapshot& snapshot, TextOf textOf)
{
    std::vector<std::string> texts;
    texts.reserve(snapshot.devices.size());
    for (const SDevice& device : snapshot.devices) {
        if (std::string text = textOf(device); !text.empty()) texts.push_back(std::move(text));
    }
    return joined(std::move(texts));
}

std::string ageOfRecord(const SSnapshot& snapshot, UtcTime now)
{
    const std::optional<UtcTime> created = utcSecondsOf(snapshot.created);
    return created ? ageText(std::chrono::duration_cast<std::chrono::seconds>(now - *created)) : "";
}

using enum ERecordParts;

const SRecordColumn COLUMNS[] = {
    {"name", "NAME", OUTLINE, [](const SSnapshot& snapshot, UtcTime) { return snapshot.name; }},
    {"state", "STATE", OUTLINE, [](const SSnapshot& snapshot, UtcTime) { return snapshot.shownState(); }},
    {"created", "CREATED", OUTLINE, [](const SSnapshot& snapshot, UtcTime) { return snapshot.created; }},
    {"age", "AGE", OUTLINE, ageOfRecord, [](const SSnapshot& snapshot) { return snapshot.created; }, true},
    {"creator", "CREATOR", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return snapshot.creator; }},
    {"origin", "ORIGIN", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return snapshot.origin; }},
    {"provider", "PROVIDER", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return snapshot.provider; }},
    {"checkpoint", "CHECKPOINT", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return snapshot.checkpoint; }},
    {"devices", "DEVICES", OUTLINE,
     [](const SSnapshot& snapshot, UtcTime) { return std::to_string(snapshot.devices.size()); }},
    {"groups", "GROUPS", OUTLINE, [](const SSnapshot& snapshot, UtcTime) { return groupNames(snapshot); }},
    {"luns", "LUNS", OF_LISTS,
     [](const SSnapshot& snapshot, UtcTime) {
         return ofDevices(snapshot, [](const SDevice& device) -> const std::string& { return device.state.serialNo; });
     }},
    {"imported", "IMPORTED AS", OF_LISTS,
     [](const SSnapshot& snapshot, UtcTime) {
         return ofDevices(snapshot, [](const SDevice& device) -> const std::string& { return device.importPath; });
     }},
    {"labels", "LABELS", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return labelsText(snapshot.labels); }},
    {"note", "NOTE", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return snapshot.note; }},
    {"message", "MESSAGE", OF_LISTS, [](const SSnapshot& snapshot, UtcTime) { return snapshot.message; }},
};

const SRecordColumn& columnOf(const std::string& name)
{
    const auto* const found = std::ranges::find(COLUMNS, name, &SRecordColumn::name);
    if (found != std::end(COLUMNS)) return *found;
    throw EFictl(EExit::USAGE, "\"" + printable(name) + "\" is no column of the list", "known are " + knownColumns());
}

}  // namespace

std::string groupNames(const SSnapshot& snapshot)
{
    return ofDevices(snapshot, [](const SDevice& device) {
        return device.state.applianceName + "/" + device.state.consistencyGroup;
    });
}

std::string knownColumns()
{
    std::string names;
    for (const SRecordColumn& column : COLUMNS) {
        names += (names.empty() ? "" : ",") + std::string(column.name);
    }
    return names;
}

RecordColumns parseColumns(const std::vector<std::string>& texts)
{
    RecordColumns columns;
    for (const std::string& name : commaSeparated(texts)) {
        columns.push_back(&columnOf(name));
    }
    return columns;
}

std::vector<SSortKey> parseSortKeys(const std::vector<std::string>& texts)
{
    std::vector<SSortKey> keys;
    for (const std::string& text : commaSeparated(texts)) {
        const bool isDescending = text.starts_with('-');
        keys.push_back({.column = &columnOf(text.substr(isDescending ? 1 : 0)), .isDescending = isDescending});
    }
    return keys;
}

SortPlace sortPlaceOf(const SSnapshot& snapshot, const std::vector<SSortKey>& keys)
{
    SortPlace place;
    place.reserve(keys.size() + 1);
    for (const SSortKey& key : keys) {
        const SRecordColumn& column = *key.column;
        place.push_back(nameOrderKey(column.order == nullptr ? column.text(snapshot, {}) : column.order(snapshot)));
    }
    place.push_back(nameOrderKey(snapshot.name));
    return place;
}

bool comesBefore(const SortPlace& one, const SortPlace& other, const std::vector<SSortKey>& keys)
{
    for (size_t i = 0; i < keys.size(); ++i) {
        if (one[i] == other[i]) continue;
        return (one[i] < other[i]) != (keys[i].isDescending != keys[i].column->isBackwards);
    }
    return one.back() < other.back();
}

}  // namespace fictl
