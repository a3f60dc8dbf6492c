#include "host/src/selection/record_difference.h"

#include <map>
#include <utility>

#include "host/src/text/display_text.h"

namespace fictl {

namespace {

/// What a record has of one kind, each under its name.
using Parts = std::map<std::string, std::string, SNameOrder>;

std::string pathOf(const GroupKey& group)
{
    return group.first + "/" + group.second;
}

Parts groupsOf(const SSnapshot& snapshot)
{
    Parts parts;
    for (const GroupKey& group : snapshot.groups()) {
        parts[pathOf(group)] = "there";
    }
    return parts;
}

Parts lunsOf(const SSnapshot& snapshot)
{
    Parts parts;
    for (const SDevice& device : snapshot.devices) {
        parts[pathOf(device.group()) + "/" + device.state.serialNo] = device.source;
    }
    return parts;
}

Parts timesOf(const SSnapshot& snapshot)
{
    Parts parts;
    for (const SDevice& device : snapshot.devices) {
        if (!device.madeAt.empty()) parts[pathOf(device.group())] = device.madeAt;
    }
    return parts;
}

Parts labelsOf(const SSnapshot& snapshot)
{
    return {snapshot.labels.begin(), snapshot.labels.end()};
}

std::optional<std::string> valueIn(const Parts& parts, const std::string& name)
{
    const auto found = parts.find(name);
    return found == parts.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> valueOf(const std::string& text)
{
    return text.empty() ? std::nullopt : std::optional(text);
}

void compare(const char* what, const Parts& one, const Parts& other, std::vector<SDifference>& differences)
{
    Parts all = one;
    all.insert(other.begin(), other.end());
    for (const auto& [name, ignored] : all) {
        const SDifference difference = {what, name, valueIn(one, name), valueIn(other, name)};
        if (difference.one != difference.other) differences.push_back(difference);
    }
}

}  // namespace

std::vector<SDifference> differencesOf(const SSnapshot& one, const SSnapshot& other)
{
    std::vector<SDifference> differences;
    const std::pair<const char*, std::pair<std::string, std::string>> values[] = {
        {"state", {one.shownState(), other.shownState()}}, {"created", {one.created, other.created}},
        {"creator", {one.creator, other.creator}},         {"origin", {one.origin, other.origin}},
        {"provider", {one.provider, other.provider}},      {"note", {one.note, other.note}},
    };
    for (const auto& [what, texts] : values) {
        if (texts.first != texts.second) {
            differences.push_back({what, "", valueOf(texts.first), valueOf(texts.second)});
        }
    }
    compare("group", groupsOf(one), groupsOf(other), differences);
    compare("made at", timesOf(one), timesOf(other), differences);
    compare("LUN", lunsOf(one), lunsOf(other), differences);
    compare("label", labelsOf(one), labelsOf(other), differences);
    return differences;
}

}  // namespace fictl
