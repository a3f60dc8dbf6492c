#include "host/src/inspection/inspection.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "host/src/text/plain_text.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

using nlohmann::json;

constexpr const char* FORMAT = "obzx-inspection";
constexpr int64_t VERSION = 1;

std::string textOr(const json& value, const char* otherwise)
{
    return value.is_string() ? value.get<std::string>() : otherwise;
}

std::optional<std::set<std::string>> namesOf(const json& list)
{
    if (list.is_null()) return std::nullopt;
    std::set<std::string> names;
    for (const json& entry : list) {
        names.insert(entry.get<std::string>());
    }
    return names;
}

// What is told as an instant; "" for any other time.
std::string instantOf(const json& entry, const char* key)
{
    const auto told = entry.find(key);
    const std::string time = told == entry.end() ? "" : textOr(*told, "");
    return isInstantText(time) ? time : "";
}

std::optional<std::map<std::string, std::string>> readAnnotations(const json& list)
{
    if (list.is_null()) return std::nullopt;
    std::map<std::string, std::string> annotations;
    for (const json& entry : list) {
        annotations.emplace(entry.at("name").get<std::string>(), instantOf(entry, "time"));
    }
    return annotations;
}

SInspectedImage readImage(const json& entry)
{
    SInspectedImage image;
    image.name = entry.at("name").get<std::string>();
    image.created = instantOf(entry, "created");
    image.permissions = namesOf(entry.at("permissions"));
    for (const json& lun : entry.at("luns")) {
        image.luns.push_back({.serial = lun.at("target").get<std::string>(),
                              .source = lun.at("source").get<std::string>(),
                              .path = textOr(lun.at("path"), ""),
                              .device = {}});
    }
    return image;
}

SInspectedGroup readGroup(const json& entry)
{
    SInspectedGroup group;
    group.read = entry.at("read").get<bool>();
    group.permissions = namesOf(entry.at("permissions"));
    group.annotations = readAnnotations(entry.at("annotations"));
    group.imagesRead = entry.at("images_read").get<bool>();
    for (const json& lun : entry.at("luns")) {
        group.luns.push_back({.serial = lun.at("serial").get<std::string>(),
                              .source = {},
                              .path = textOr(lun.at("path"), ""),
                              .device = textOr(lun.value("device", json()), "")});
    }
    for (const json& image : entry.at("images")) {
        group.images.emplace(image.at("name").get<std::string>(), readImage(image));
    }
    return group;
}

SInspectedAppliance readAppliance(const json& entry)
{
    SInspectedAppliance appliance;
    appliance.reachable = entry.at("reachable").get<bool>();
    appliance.reason = textOr(entry.at("reason"), "");
    if (entry.at("host_here").is_object()) appliance.host = entry.at("host_here").at("name").get<std::string>();
    appliance.groupsRead = entry.at("groups_read").get<bool>();
    for (const json& group : entry.at("groups")) {
        appliance.groups.emplace(group.at("name").get<std::string>(), readGroup(group));
    }
    return appliance;
}

size_t parallelOf(const json& document)
{
    const auto told = document.find("parallel");
    if (told == document.end() || !told->is_number_unsigned()) return USUAL_PARALLEL;
    return std::clamp(told->get<size_t>(), size_t{1}, MOST_PARALLEL);
}

void readAll(const json& document, SInspection& inspection)
{
    inspection.parallel = parallelOf(document);
    const json& disks = document.at("disks");
    inspection.disksRead = disks.at("read").get<bool>();
    for (const json& disk : disks.at("devices")) {
        inspection.disks.emplace(disk.at("path").get<std::string>(), disk.at("serial").get<std::string>());
    }
    for (const json& appliance : document.at("appliances")) {
        inspection.appliances.emplace(appliance.at("name").get<std::string>(), readAppliance(appliance));
    }
    for (const json& entry : document.at("ambiguous")) {
        inspection.ambiguous.push_back({entry.at("serial").get<std::string>(), entry.at("reason").get<std::string>()});
    }
    // An inspector that does not tell knows of none.
    for (const json& entry : document.value("unlistable", json::array())) {
        inspection.unlistable.emplace(entry.at("serial").get<std::string>(), entry.at("reason").get<std::string>());
    }
}

EThere thereIf(bool there)
{
    return there ? EThere::YES : EThere::NO;
}

}  // namespace

bool SInspectedGroup::holds(const std::string& serial) const
{
    return std::any_of(luns.begin(), luns.end(), [&](const SInspectedLun& lun) { return lun.serial == serial; });
}

std::optional<SInspection> SInspection::read(const std::string& text, std::string& reason)
{
    try {
        SInspection inspection;
        inspection.document = std::make_shared<const json>(json::parse(text));
        const json& document = *inspection.document;
        if (document.at("format") != FORMAT || document.at("schema_version") != VERSION) {
            reason = "its document is of another kind or version";
            return std::nullopt;
        }
        readAll(document, inspection);
        return inspection;
    } catch (const json::exception& error) {
        reason = "its document cannot be read: " + printable(error.what());
        return std::nullopt;
    }
}

const SInspectedAppliance* SInspection::appliance(const std::string& name) const
{
    const auto entry = appliances.find(name);
    return entry == appliances.end() ? nullptr : &entry->second;
}

const SInspectedGroup* SInspection::group(const GroupKey& key) const
{
    const SInspectedAppliance* const found = appliance(key.first);
    if (found == nullptr) return nullptr;
    const auto entry = found->groups.find(key.second);
    return entry == found->groups.end() ? nullptr : &entry->second;
}

const SInspectedImage* SInspection::image(const GroupKey& key, const std::string& name) const
{
    const SInspectedGroup* const found = group(key);
    if (found == nullptr) return nullptr;
    const auto entry = found->images.find(name);
    return entry == found->images.end() ? nullptr : &entry->second;
}

EThere SInspection::hasGroup(const GroupKey& key) const
{
    if (group(key) != nullptr) return EThere::YES;
    const SInspectedAppliance* const found = appliance(key.first);
    return found != nullptr && found->groupsRead ? EThere::NO : EThere::UNKNOWN;
}

EThere SInspection::hasLun(const GroupKey& key, const std::string& serial) const
{
    const SInspectedGroup* const found = group(key);
    if (found == nullptr) return hasGroup(key);
    return found->read ? thereIf(found->holds(serial)) : EThere::UNKNOWN;
}

EThere SInspection::hasCheckpoint(const GroupKey& key, const std::string& name) const
{
    const SInspectedGroup* const found = group(key);
    if (found == nullptr) return EThere::UNKNOWN;
    return found->read && found->annotations ? thereIf(found->annotations->contains(name)) : EThere::UNKNOWN;
}

std::string SInspection::checkpointTime(const GroupKey& key, const std::string& name) const
{
    if (hasCheckpoint(key, name) != EThere::YES) return {};
    return group(key)->annotations->at(name);
}

bool SInspection::hasReplacedCheckpoint(const SDevice& device) const
{
    const std::string time = checkpointTime(device.group(), device.state.checkPointName);
    return !time.empty() && !device.madeAt.empty() && time != device.madeAt;
}

EThere SInspection::hasImage(const GroupKey& key, const std::string& name) const
{
    const SInspectedGroup* const found = group(key);
    if (found == nullptr) return EThere::UNKNOWN;
    if (found->images.contains(name)) return EThere::YES;
    return found->imagesRead ? EThere::NO : EThere::UNKNOWN;
}

std::optional<std::set<std::string>> SInspection::hostsOfImage(const GroupKey& key, const std::string& name) const
{
    const SInspectedImage* const found = image(key, name);
    if (found == nullptr || !found->permissions) return std::nullopt;
    std::set<std::string> hosts = *found->permissions;
    if (const SInspectedGroup* const whole = group(key); whole->permissions) {
        hosts.insert(whole->permissions->begin(), whole->permissions->end());
    }
    return hosts;
}

EThere SInspection::isGrantedHere(const GroupKey& key, const std::string& name) const
{
    const std::optional<std::set<std::string>> hosts = hostsOfImage(key, name);
    if (!hosts) return EThere::UNKNOWN;
    const SInspectedAppliance* const found = appliance(key.first);
    return thereIf(!found->host.empty() && hosts->contains(found->host));
}

EThere SInspection::shows(const std::string& path, const std::string& serial) const
{
    if (!disksRead) return EThere::UNKNOWN;
    const auto disk = disks.find(path);
    return thereIf(disk != disks.end() && disk->second == serial);
}

bool SInspection::showsAnother(const std::string& path, const std::string& serial) const
{
    const auto disk = disks.find(path);
    return !serial.empty() && disk != disks.end() && disk->second != serial;
}

const SAmbiguousLun* SInspection::ambiguity(const std::string& serial) const
{
    const auto found = std::find_if(ambiguous.begin(), ambiguous.end(),
                                    [&](const SAmbiguousLun& lun) { return lun.serial == serial; });
    return found == ambiguous.end() ? nullptr : &*found;
}

std::string SInspection::doubt(const GroupKey& key) const
{
    const SInspectedAppliance* const found = appliance(key.first);
    if (found == nullptr) return "appliance \"" + printable(key.first) + "\" is not configured on this host";
    if (!found->groupsRead) return found->reason.empty() ? "the appliance did not answer" : found->reason;
    const SInspectedGroup* const there = group(key);
    if (there == nullptr) return "the appliance lists no such group";
    if (there->read && !there->annotations) return "the appliance does not tell the group's checkpoints";
    if (there->read && there->imagesRead) return {};
    return found->reason.empty() ? "the appliance did not show the group as a whole" : found->reason;
}

}  // namespace fictl
