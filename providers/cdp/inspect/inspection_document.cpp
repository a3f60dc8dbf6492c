#include "providers/cdp/inspect/inspection_document.h"

#include <nlohmann/json.hpp>

#include "pdk/include/cfipluginname.h"

namespace cdpfi::inspect {

using CJson = nlohmann::ordered_json;

static constexpr int SCHEMA_VERSION = 1;

// In the namespace of the records, not in an unnamed one: listOf finds the toJson of its records, which is declared
// behind it, by the namespace of their type.

template <class T>
static CJson orNull(const std::optional<T>& value)
{
    return value ? CJson(*value) : CJson();
}

template <class T>
static CJson listOf(const std::vector<T>& records)
{
    CJson list = CJson::array();
    for (const T& record : records) {
        list.push_back(toJson(record));
    }
    return list;
}

static CJson toJson(const SReadFile& file)
{
    return {{"path", file.path}, {"read", !file.problem}, {"reason", orNull(file.problem)}};
}

static CJson toJson(const SValue& value)
{
    CJson json{{"name", value.name}, {"value", value.value}, {"file", nullptr}, {"line", nullptr}};
    if (value.line) {
        json["file"] = value.line->file;
        json["line"] = value.line->number;
    }
    return json;
}

static CJson toJson(const SLine& line)
{
    return {{"file", line.file}, {"line", line.number}, {"text", line.text}};
}

static CJson toJson(const SConfiguredAppliance& appliance)
{
    return {{"name", appliance.name},
            {"port", orNull(appliance.port)},
            {"file", appliance.line.file},
            {"line", appliance.line.number}};
}

static CJson toJson(const SConfiguration& configuration)
{
    CJson commented = CJson::array();
    for (const SConfiguredAppliance& appliance : configuration.commented) {
        CJson line = toJson(appliance.line);
        line["appliance"] = appliance.name;
        commented.push_back(std::move(line));
    }
    return {{"files", listOf(configuration.files)},
            {"values", listOf(configuration.values)},
            {"unreadable_lines", listOf(configuration.unreadableLines)},
            {"commented_appliances", std::move(commented)},
            {"appliances", listOf(configuration.appliances)}};
}

static CJson toJson(const STool& tool)
{
    return {{"name", tool.name},
            {"path", tool.path},
            {"exists", tool.exists},
            {"executable", tool.executable},
            {"answers", tool.use.tried ? CJson(tool.use.answered) : CJson()},
            {"seconds", tool.use.answered ? CJson(tool.use.slowest) : CJson()},
            {"reason", orNull(tool.problem)}};
}

static CJson toJson(const SHostName& host)
{
    return {{"name", orNull(host.name)}, {"further_names", host.furtherNames}, {"reason", orNull(host.problem)}};
}

static CJson toJson(const SDevice& device)
{
    return {{"path", device.path}, {"serial", device.serial}};
}

static CJson toJson(const SDisks& disks)
{
    return {{"read", !disks.problem}, {"reason", orNull(disks.problem)}, {"devices", listOf(disks.devices)}};
}

static CJson toJson(const SGroupLun& lun)
{
    return {{"device", lun.device}, {"serial", lun.serial}, {"path", orNull(lun.path)}};
}

static CJson toJson(const SImageLun& lun)
{
    return {{"source", lun.source}, {"target", lun.target}, {"path", orNull(lun.path)}};
}

static CJson toJson(const SAnnotation& annotation)
{
    return {{"name", annotation.name}, {"time", orNull(annotation.time)}, {"message", orNull(annotation.message)}};
}

static CJson toJson(const SImage& image)
{
    return {{"name", image.name},
            {"read", !image.problem},
            {"reason", orNull(image.problem)},
            {"annotation", orNull(image.annotation)},
            {"created", orNull(image.created)},
            {"permissions", orNull(image.permissions)},
            {"luns", listOf(image.luns)}};
}

static CJson toJson(const SGroup& group)
{
    return {{"name", group.name},
            {"read", group.read},
            {"reason", orNull(group.problem)},
            {"luns", listOf(group.luns)},
            {"permissions", orNull(group.permissions)},
            {"annotations", group.annotations ? listOf(*group.annotations) : CJson()},
            {"images_read", group.imagesRead},
            {"images", listOf(group.images)}};
}

static CJson toJson(const SHost& host)
{
    return {{"name", host.name}, {"luns", orNull(host.luns)}};
}

static CJson toJson(const SHostHere& host)
{
    return {{"name", host.name}, {"by", host.byName ? "name" : "address"}};
}

static CJson toJson(const SNoListing& answer)
{
    return {{"command", answer.command}, {"lines", answer.lines}};
}

static CJson toJson(const SAppliance& appliance)
{
    return {{"name", appliance.name},
            {"reachable", appliance.reachable},
            {"reason", orNull(appliance.problem)},
            {"not_listings", listOf(appliance.noListings)},
            {"host_here", appliance.hostHere ? toJson(*appliance.hostHere) : CJson()},
            {"hosts_read", appliance.hostsRead},
            {"hosts", listOf(appliance.hosts)},
            {"groups_read", appliance.groupsRead},
            {"groups", listOf(appliance.groups)}};
}

static CJson toJson(const SPlace& place)
{
    return {{"appliance", place.appliance}, {"group", place.group}};
}

static CJson toJson(const SAmbiguousSerial& serial)
{
    return {{"serial", serial.serial}, {"reason", serial.reason}, {"places", listOf(serial.places)}};
}

static CJson toJson(const SUnlistableLun& lun)
{
    return {{"serial", lun.serial}, {"reason", lun.reason}};
}

static CJson toJson(const SToolRun& run)
{
    return {{"appliance", orNull(run.appliance)}, {"command", run.command}, {"exit", orNull(run.exitStatus)},
            {"signal", orNull(run.signal)},       {"seconds", run.seconds}, {"output", run.output}};
}

static std::string textOf(const CJson& json)
{
    return json.dump(2, ' ', false, CJson::error_handler_t::replace) + '\n';
}

std::string documentOf(const SInspection& inspection)
{
    return textOf({{"format", "obzx-inspection"},
                   {"schema_version", SCHEMA_VERSION},
                   {"provider", cfi_pgn_name_str},
                   {"provider_version", CDPFI_VERSION},
                   {"taken", inspection.taken},
                   {"seconds", inspection.seconds},
                   {"configuration", toJson(inspection.configuration)},
                   {"tools", listOf(inspection.tools)},
                   {"parallel", inspection.parallel},
                   {"host", toJson(inspection.host)},
                   {"disks", toJson(inspection.disks)},
                   {"appliances", listOf(inspection.appliances)},
                   {"ambiguous", listOf(inspection.ambiguous)},
                   {"unlistable", listOf(inspection.unlistable)},
                   {"raw", inspection.raw ? listOf(*inspection.raw) : CJson()}});
}

std::string documentOf(const SImageRelease& release, bool raw)
{
    return textOf({{"format", "obzx-release"},
                   {"schema_version", SCHEMA_VERSION},
                   {"appliance", release.appliance},
                   {"group", release.group},
                   {"image", release.image},
                   {"released", !release.problem},
                   {"reason", orNull(release.problem)},
                   {"exit", orNull(release.exitStatus)},
                   {"output", release.output},
                   {"raw", raw ? listOf(release.runs) : CJson()}});
}

}  // namespace cdpfi::inspect
