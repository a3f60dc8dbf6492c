#include "host/src/reconcile/plan.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "host/src/output/error.h"
#include "host/src/output/result.h"
#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/strict_json.h"

namespace fictl {

namespace {

constexpr const char* FORMAT = "fictl-reconcile-plan";
constexpr int64_t VERSION = 1;
constexpr int DEEPEST = 5;

constexpr EAction ACTIONS[] = {EAction::DELETE_CHECKPOINT, EAction::FORGET_RECORD, EAction::REMOVE_FILE};
constexpr EObjectKind KINDS[] = {EObjectKind::CHECKPOINT, EObjectKind::RECORD, EObjectKind::PART_FILE,
                                 EObjectKind::SCRIPT};

[[noreturn]] void reject(const std::string& reason)
{
    throw EFictl(EExit::BAD_RECORD, "not a usable plan: " + reason + "; nothing was done",
                 "write a new one with fictl reconcile --plan FILE");
}

std::string freeName(const std::string& checkpoint, std::set<std::string>& taken)
{
    const std::string number = checkpoint.substr(naming::checkpointPrefix().size());
    std::string name = "orphan-" + number;
    for (int again = 2; !taken.insert(name).second; ++again) {
        name = "orphan-" + number + "-" + std::to_string(again);
    }
    return name;
}

// A checkpoint goes only with an image that goes, too; of another form no record can be made.
bool isDeletable(const SFoundObject& object, const SFoundObject* image)
{
    return object.klass == EObjectClass::ORPHAN && naming::isCheckpointName(object.name) &&
           (image == nullptr || image->klass == EObjectClass::ORPHAN);
}

json textsOf(const SFoundObject& object)
{
    json texts = json::array();
    for (const SEvidence& each : object.evidence) {
        texts.push_back(asUtf8(each.text));
    }
    return texts;
}

json stepJson(const SPlanStep& step)
{
    const SFoundObject& object = step.object;
    return {{"action", actionText(step.action)},
            {"kind", kindText(object.kind)},
            {"appliance", object.group.first},
            {"group", object.group.second},
            {"name", object.name},
            {"time", object.time},
            {"record", object.record},
            {"entry", object.entry ? json(*object.entry) : json()},
            {"with_image", step.withImage},
            {"evidence", textsOf(object)}};
}

std::string textOf(const json& object, const char* key)
{
    const json& value = object.at(key);
    if (!value.is_string()) reject(std::string("\"") + key + "\" is not a text");
    return value.get<std::string>();
}

template <class Value, size_t COUNT>
Value valueOf(const std::string& text, const Value (&values)[COUNT], const char* (*textOfValue)(Value),
              const char* what)
{
    for (const Value value : values) {
        if (text == textOfValue(value)) return value;
    }
    reject("\"" + printable(text) + "\" is no " + what);
}

SPlanStep readStep(const json& entry)
{
    requireKeys(entry,
                {"action", "kind", "appliance", "group", "name", "time", "record", "entry", "with_image", "evidence"},
                "a step");
    SPlanStep step;
    step.action = valueOf(textOf(entry, "action"), ACTIONS, actionText, "action");
    step.object.kind = valueOf(textOf(entry, "kind"), KINDS, kindText, "kind of object of a step");
    if (!SPlanStep::isFor(step.action, step.object.kind)) {
        reject(std::string("\"") + actionText(step.action) + "\" is nothing for a " + kindText(step.object.kind));
    }
    step.object.klass = SPlanStep::classFor(step.action);
    step.object.group = {textOf(entry, "appliance"), textOf(entry, "group")};
    step.object.name = textOf(entry, "name");
    step.object.time = textOf(entry, "time");
    step.object.record = textOf(entry, "record");
    if (step.action != EAction::REMOVE_FILE && !isSnapshotName(step.object.record)) {
        reject("\"" + printable(step.object.record) + "\" is not a snapshot's name");
    }
    const json& number = entry.at("entry");
    if (!number.is_null() && !number.is_number_integer()) reject("\"entry\" is not a number");
    if (number.is_number_integer()) step.object.entry = number.get<int64_t>();
    if (!entry.at("with_image").is_boolean()) reject("\"with_image\" is neither true nor false");
    step.withImage = entry.at("with_image").get<bool>();
    if (!entry.at("evidence").is_array()) reject("\"evidence\" is not a list");
    for (const json& text : entry.at("evidence")) {
        if (!text.is_string()) reject("\"evidence\" holds something that is no text");
        step.object.add("", text.get<std::string>());
    }
    return step;
}

SPlan readWhole(std::string_view text)
{
    if (text.size() > PLAN_LIMIT) reject("it is larger than 64 MiB");
    const json document = parseStrictly(text, DEEPEST);
    if (!document.is_object() || document.value("format", json()) != FORMAT) {
        reject(std::string("its \"format\" is not \"") + FORMAT + "\"");
    }
    const json version = document.value("version", json());
    if (version != VERSION) reject("version " + version.dump() + " is unknown; this fictl reads version 1");
    requireKeys(document, {"format", "version", "host", "catalog", "provider", "written", "steps"}, "the plan");
    SPlan plan{.host = textOf(document, "host"),
               .catalog = textOf(document, "catalog"),
               .provider = textOf(document, "provider"),
               .written = textOf(document, "written"),
               .steps = {}};
    if (!document.at("steps").is_array()) reject("its \"steps\" are not a list");
    for (const json& entry : document.at("steps")) {
        plan.steps.push_back(readStep(entry));
    }
    return plan;
}

}  // namespace

const char* actionText(EAction action)
{
    constexpr const char* TEXTS[] = {"delete checkpoint", "forget record", "remove file"};
    return TEXTS[static_cast<size_t>(action)];
}

EObjectClass SPlanStep::classFor(EAction action)
{
    return action == EAction::FORGET_RECORD ? EObjectClass::STALE : EObjectClass::ORPHAN;
}

bool SPlanStep::isFor(EAction action, EObjectKind kind)
{
    switch (action) {
        case EAction::DELETE_CHECKPOINT:
            return kind == EObjectKind::CHECKPOINT;
        case EAction::FORGET_RECORD:
            return kind == EObjectKind::RECORD;
        default:
            return kind == EObjectKind::PART_FILE || kind == EObjectKind::SCRIPT;
    }
}

std::vector<SPlanStep> stepsFor(const SReconciliation& found, const SCatalogView& catalog)
{
    std::set<std::string> taken;
    for (const SSnapshot& record : catalog.records.snapshots) {
        taken.insert(record.name);
    }
    for (const SUnreadable& record : catalog.records.unreadable) {
        taken.insert(record.name);
    }
    std::vector<SPlanStep> steps;
    for (const SFoundObject& object : found.objects) {
        if (object.kind == EObjectKind::CHECKPOINT) {
            const SFoundObject* const image = found.imageOf(object);
            if (!isDeletable(object, image)) continue;
            steps.push_back({EAction::DELETE_CHECKPOINT, object, image != nullptr});
            steps.back().object.record = freeName(object.name, taken);
        } else if (object.kind == EObjectKind::RECORD && object.klass == EObjectClass::STALE) {
            // One that may still have to thaw an application tells a person how.
            const SSnapshot* const record = catalog.record(object.name);
            if (record != nullptr && record->thaw.empty()) steps.push_back({EAction::FORGET_RECORD, object});
        } else if (object.klass == EObjectClass::ORPHAN && SPlanStep::isFor(EAction::REMOVE_FILE, object.kind)) {
            steps.push_back({EAction::REMOVE_FILE, object});
        }
    }
    return steps;
}

json planJson(const SPlan& plan)
{
    json steps = json::array();
    for (const SPlanStep& step : plan.steps) {
        steps.push_back(stepJson(step));
    }
    return {{"format", FORMAT},         {"version", VERSION},        {"host", plan.host},
            {"catalog", plan.catalog},  {"provider", plan.provider}, {"written", plan.written},
            {"steps", std::move(steps)}};
}

SPlan readPlan(std::string_view text)
{
    try {
        return readWhole(text);
    } catch (const EStrictJson& error) {
        reject(error.what());
    } catch (const json::exception& error) {
        reject(printable(error.what()));
    }
}

std::string differenceOf(const SPlanStep& step, const SReconciliation& found, const SFoundObject& now)
{
    const SFoundObject& then = step.object;
    if (now.klass != SPlanStep::classFor(step.action)) {
        return std::string("it is ") + classText(now.klass) + " now: " + now.evidenceText();
    }
    if (now.time != then.time || now.entry != then.entry || textsOf(now) != textsOf(then)) {
        return "what is known of it is not what it was: " + now.evidenceText();
    }
    if (step.action != EAction::DELETE_CHECKPOINT) return {};
    const SFoundObject* const image = found.imageOf(now);
    if (image != nullptr && image->klass != EObjectClass::ORPHAN) {
        return std::string("its time image is ") + classText(image->klass) + ": " + image->evidenceText();
    }
    return step.withImage == (image != nullptr) ? "" : "its time image has come or gone";
}

}  // namespace fictl
