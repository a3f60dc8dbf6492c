#include "host/src/catalog/record_document.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <vector>

#include "host/src/catalog/record_check.h"
#include "host/src/output/error.h"
#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/strict_json.h"

namespace fictl {

namespace {

using nlohmann::json;

constexpr const char* FORMAT = "fictl-snapshot";
constexpr int64_t VERSION = 1;
constexpr int64_t VERSION_WITH_LABELS = 2;
constexpr int64_t ANSWER_VERSION = 1;
constexpr int DEEPEST = 4;
constexpr size_t LONGEST_TEXT = 4096;
constexpr size_t MOST_DEVICES = 4096;

[[noreturn]] void reject(const std::string& reason)
{
    throw EFictl(EExit::BAD_RECORD, "not a usable snapshot document: " + reason,
                 "write it again with fictl snapshot export NAME on the host that has the snapshot");
}

json parse(std::string_view text)
{
    if (text.size() > DOCUMENT_LIMIT) reject("it is larger than 1 MiB");
    return parseStrictly(text, DEEPEST);
}

std::string rawText(const json& object, const char* key, const std::string& what)
{
    const json& value = object.at(key);
    if (!value.is_string()) reject(what + ": \"" + key + "\" is not a text");
    std::string text = value.get<std::string>();
    if (text.empty() || text.size() > LONGEST_TEXT) reject(what + ": \"" + key + "\" is empty or too long");
    return text;
}

std::string plainText(const json& object, const char* key, const std::string& what)
{
    std::string text = rawText(object, key, what);
    if (!isPlainText(text)) reject(what + ": \"" + key + "\" holds control characters");
    return text;
}

SDevice readDevice(const json& entry, const std::string& what)
{
    requireKeys(entry, {"source", "node", "target", "state"}, what);
    SDevice device;
    device.source = plainText(entry, "source", what);
    device.node = plainText(entry, "node", what);
    device.target = plainText(entry, "target", what);
    device.made = EMade::YES;
    const std::optional<SNodeState> state = parseNodeState(rawText(entry, "state", what));
    if (!state) reject(what + ": \"state\" is not a node's state");
    device.state = *state;
    const std::string text = state->applianceType + state->applianceName + state->consistencyGroup + state->serialNo;
    if (!isPlainText(text)) reject(what + ": \"state\" holds control characters");
    return device;
}

void checkHead(const json& document)
{
    if (!document.is_object()) reject("it is not an object");
    const auto format = document.find("format");
    if (format == document.end() || *format != FORMAT) reject("its \"format\" is not \"fictl-snapshot\"");
    const auto version = document.find("version");
    if (version == document.end() || !version->is_number_integer()) reject("its \"version\" is not a number");
    if (*version != VERSION && *version != VERSION_WITH_LABELS) {
        reject("version " + version->dump() + " is unknown; this fictl reads versions 1 and 2");
    }
    // The version of the documents of fictl's answers, of which this can be one; it says nothing about the record.
    json record = document;
    if (record.value("schema_version", json(ANSWER_VERSION)) != ANSWER_VERSION) {
        reject("its \"schema_version\" is unknown");
    }
    record.erase("schema_version");
    if (*version == VERSION_WITH_LABELS) {
        requireKeys(record,
                    {"format", "version", "name", "provider", "created", "checkpoint", "devices", "labels", "note"},
                    "the document");
        return;
    }
    requireKeys(record, {"format", "version", "name", "provider", "created", "checkpoint", "devices"}, "the document");
}

std::string dump(const json& document)
{
    try {
        return document.dump(1) + "\n";
    } catch (const json::type_error&) {
        reject("a name in it is not valid UTF-8");
    }
}

void readAnnotation(const json& document, SSnapshot& snapshot)
{
    if (document.at("version") != VERSION_WITH_LABELS) return;
    const json& labels = document.at("labels");
    if (!labels.is_object() || labels.size() > MOST_LABELS) {
        reject("its \"labels\" are not an object with at most " + std::to_string(MOST_LABELS) + " labels");
    }
    for (const auto& [key, value] : labels.items()) {
        const bool isLabel = isLabelKey(key) && value.is_string() && isLabelValue(value.get_ref<const std::string&>());
        if (!isLabel) reject("\"" + printable(key) + "\" in its \"labels\" is no label");
        snapshot.labels.emplace(key, value);
    }
    const json& note = document.at("note");
    if (!note.is_string() || !isNote(note.get_ref<const std::string&>())) reject("its \"note\" is no note");
    snapshot.note = note;
}

SSnapshot readRecord(std::string_view text)
{
    const json document = parse(text);
    checkHead(document);
    SSnapshot snapshot;
    snapshot.state = EState::COMPLETE;
    snapshot.origin = "received";
    snapshot.name = plainText(document, "name", "the document");
    snapshot.provider = plainText(document, "provider", "the document");
    snapshot.created = plainText(document, "created", "the document");
    snapshot.checkpoint = plainText(document, "checkpoint", "the document");
    if (!isSnapshotName(snapshot.name)) reject("its \"name\" is not a snapshot's name");
    if (!isProviderName(snapshot.provider)) reject("its \"provider\" is not a provider's name");
    if (!naming::isCheckpointName(snapshot.checkpoint)) reject("its \"checkpoint\" is not a checkpoint's name");
    readAnnotation(document, snapshot);
    const json& devices = document.at("devices");
    if (!devices.is_array() || devices.empty() || devices.size() > MOST_DEVICES) {
        reject("its \"devices\" is not a list of 1 to " + std::to_string(MOST_DEVICES) + " devices");
    }
    std::set<std::string> sources;
    std::set<std::string> nodes;
    for (const json& entry : devices) {
        const std::string what = "device " + std::to_string(snapshot.devices.size() + 1);
        snapshot.devices.push_back(readDevice(entry, what));
        const SDevice& device = snapshot.devices.back();
        if (!sources.insert(device.source).second) reject(what + ": its \"source\" stands twice");
        if (!nodes.insert(device.node).second) reject(what + ": its \"node\" stands twice");
    }
    const std::string found = findDisagreement(snapshot);
    if (!found.empty()) reject(found);
    return snapshot;
}

}  // namespace

std::string writeDocument(const SSnapshot& snapshot)
{
    json devices = json::array();
    for (const SDevice& device : snapshot.devices) {
        devices.push_back({{"source", device.source},
                           {"node", device.node},
                           {"target", device.target},
                           {"state", writeNodeState(device.state)}});
    }
    const bool isAnnotated = !snapshot.labels.empty() || !snapshot.note.empty();
    json document = {{"format", FORMAT},
                     {"version", isAnnotated ? VERSION_WITH_LABELS : VERSION},
                     {"schema_version", ANSWER_VERSION},
                     {"name", snapshot.name},
                     {"provider", snapshot.provider},
                     {"created", snapshot.created},
                     {"checkpoint", snapshot.checkpoint},
                     {"devices", devices}};
    if (isAnnotated) {
        document["labels"] = snapshot.labels;
        document["note"] = snapshot.note;
    }
    std::string text = dump(document);
    // Reading it back shows now, not on the other host, that it cannot be carried.
    readDocument(text);
    return text;
}

SSnapshot readDocument(std::string_view text)
{
    try {
        return readRecord(text);
    } catch (const EStrictJson& error) {
        reject(error.what());
    }
}

}  // namespace fictl
