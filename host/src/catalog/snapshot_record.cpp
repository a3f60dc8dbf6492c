#include "host/src/catalog/snapshot_record.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SStateText
{
    EState state;
    const char* text;
    const char* interrupted;  // null for a state that no process holds
};

constexpr SStateText STATES[] = {
    {EState::CREATING, "creating", "interrupted"},
    {EState::PARTIAL, "partial", nullptr},
    {EState::FAILED, "failed", nullptr},
    {EState::COMPLETE, "complete", nullptr},
    {EState::IMPORTING, "importing", "import-interrupted"},
    {EState::IMPORT_FAILED, "import-failed", nullptr},
    {EState::IMPORTED, "imported", nullptr},
    {EState::RELEASING, "releasing", "release-interrupted"},
    {EState::RELEASE_FAILED, "release-failed", nullptr},
    {EState::DELETING, "deleting", "delete-interrupted"},
    {EState::DELETE_FAILED, "delete-failed", nullptr},
};

const SStateText& entryOf(EState state)
{
    for (const SStateText& entry : STATES) {
        if (entry.state == state) return entry;
    }
    throw std::invalid_argument("no such state");
}

}  // namespace

const char* stateText(EState state)
{
    return entryOf(state).text;
}

std::optional<EState> stateOf(const std::string& text)
{
    for (const SStateText& entry : STATES) {
        if (text == entry.text) return entry.state;
    }
    return std::nullopt;
}

bool isOfProcess(EState state)
{
    return entryOf(state).interrupted != nullptr;
}

std::vector<std::string> shownStates()
{
    std::vector<std::string> texts;
    for (const SStateText& entry : STATES) {
        texts.emplace_back(entry.text);
        if (entry.interrupted != nullptr) texts.emplace_back(entry.interrupted);
    }
    return texts;
}

const char* madeText(EMade made)
{
    switch (made) {
        case EMade::NO:
            return "no";
        case EMade::YES:
            return "yes";
        case EMade::UNKNOWN:
            break;
    }
    return "unknown";
}

std::string groupText(const GroupKey& group)
{
    return "\"" + printable(group.second) + "\" of appliance \"" + printable(group.first) + "\"";
}

std::set<GroupKey> SSnapshot::groups() const
{
    std::set<GroupKey> groups;
    for (const SDevice& device : devices) {
        groups.insert(device.group());
    }
    return groups;
}

std::set<GroupKey> SSnapshot::groupsToDispose() const
{
    std::set<GroupKey> groups;
    for (const SDevice& device : devices) {
        if (device.made != EMade::NO) groups.insert(device.group());
    }
    return groups;
}

std::vector<SDevice*> SSnapshot::devicesOf(const GroupKey& group)
{
    std::vector<SDevice*> found;
    for (SDevice& device : devices) {
        if (device.group() == group) found.push_back(&device);
    }
    return found;
}

std::vector<const SDevice*> SSnapshot::devicesOf(const GroupKey& group) const
{
    std::vector<const SDevice*> found;
    for (const SDevice& device : devices) {
        if (device.group() == group) found.push_back(&device);
    }
    return found;
}

bool SSnapshot::isImported(const GroupKey& group) const
{
    const std::vector<const SDevice*> in = devicesOf(group);
    return std::any_of(in.begin(), in.end(), [](const SDevice* device) { return !device->importPath.empty(); });
}

bool SSnapshot::isImageAsked(const GroupKey& group) const
{
    const std::vector<const SDevice*> in = devicesOf(group);
    return std::any_of(in.begin(), in.end(), [](const SDevice* device) { return device->imageAsked; });
}

bool SSnapshot::isWhole() const
{
    switch (state) {
        case EState::COMPLETE:
        case EState::IMPORTING:
        case EState::IMPORT_FAILED:
        case EState::IMPORTED:
        case EState::RELEASING:
        case EState::RELEASE_FAILED:
            return true;
        default:
            return false;
    }
}

bool SSnapshot::isInterrupted() const
{
    return isOfProcess(state) && !isAlive(owner);
}

bool SSnapshot::isHeld() const
{
    return isOfProcess(state) && isAlive(owner);
}

std::string SSnapshot::shownState() const
{
    const SStateText& entry = entryOf(state);
    return isInterrupted() ? entry.interrupted : entry.text;
}

}  // namespace fictl
