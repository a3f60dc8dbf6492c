#include <nlohmann/json.hpp>

#include "base/file_read.h"
#include "host/src/catalog/catalog_place.h"
#include "host/src/catalog/command_history.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/commands/plan_execution.h"
#include "host/src/commands/reconciler.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/process/host_name.h"
#include "host/src/provider/provider_library.h"
#include "host/src/reconcile/adoption.h"
#include "host/src/reconcile/plan.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

struct SReconcileRequest
{
    std::string plan{};   ///< file to write; empty: none
    std::string apply{};  ///< file to do; empty: none
    SAdoption adoption{};
};

constexpr EObjectClass CLASSES[] = {EObjectClass::ORPHAN,    EObjectClass::STALE,   EObjectClass::UNKNOWN,
                                    EObjectClass::IN_FLIGHT, EObjectClass::FOREIGN, EObjectClass::OWNED};

json objectJson(const SFoundObject& object)
{
    json evidence = json::array();
    for (const SEvidence& each : object.evidence) {
        evidence.push_back({{"source", each.source}, {"text", each.text}});
    }
    return {{"kind", kindText(object.kind)},
            {"class", classText(object.klass)},
            {"appliance", textOrNull(object.group.first)},
            {"group", textOrNull(object.group.second)},
            {"name", object.name},
            {"time", textOrNull(object.time)},
            {"record", textOrNull(object.record)},
            {"entry", object.entry ? json(*object.entry) : json()},
            {"evidence", std::move(evidence)}};
}

json notToldJson(const SReconciliation& found)
{
    json list = json::array();
    for (const SNotTold& each : found.notTold) {
        list.push_back(
            {{"appliance", textOrNull(each.appliance)}, {"group", textOrNull(each.group)}, {"reason", each.reason}});
    }
    return list;
}

void warnOfNotTold(const SReconciliation& found)
{
    for (const SNotTold& each : found.notTold) {
        const std::string what = each.appliance.empty() ? ""
                                 : each.group.empty()
                                     ? "appliance \"" + printable(each.appliance) + "\": "
                                     : "group " + printable(groupText({each.appliance, each.group})) + ": ";
        CProgress::warn("not everything was told: " + what + printable(each.reason));
    }
}

std::string foundText(const SReconciliation& found)
{
    Rows rows = {{"CLASS", "KIND", "APPLIANCE", "GROUP", "NAME", "TIME", "EVIDENCE"}};
    std::string counts;
    for (const SFoundObject& object : found.objects) {
        rows.push_back({classText(object.klass), kindText(object.kind), object.group.first, object.group.second,
                        object.name, object.time, object.evidenceText()});
    }
    for (const EObjectClass klass : CLASSES) {
        if (const size_t count = found.count(klass)) {
            counts += (counts.empty() ? "" : ", ") + std::to_string(count) + " " + classText(klass);
        }
    }
    if (found.objects.empty()) return "nothing was found\n";
    return formatTable(rows) + counts + "\n";
}

SResult showFound(const SContext& context)
{
    const CReconciler now(context);
    const SReconciliation& found = now.found();
    json objects = json::array();
    for (const SFoundObject& object : found.objects) {
        objects.push_back(objectJson(object));
    }
    json counts = json::object();
    for (const EObjectClass klass : CLASSES) {
        counts[classText(klass)] = found.count(klass);
    }
    warnOfNotTold(found);
    SResult result = resultOf({{"reconcile",
                                {{"host", printable(systemHostName())},
                                 {"catalog", now.catalog().path},
                                 {"provider", now.provider()},
                                 {"objects", std::move(objects)},
                                 {"counts", std::move(counts)},
                                 {"not_told", notToldJson(found)}}}},
                              foundText(found));
    const bool isSettled = found.notTold.empty() && found.count(EObjectClass::ORPHAN) == 0 &&
                           found.count(EObjectClass::STALE) == 0 && found.count(EObjectClass::UNKNOWN) == 0;
    if (!isSettled) result.exit = EExit::FAILED;
    return result;
}

Rows rowsOf(const std::vector<SPlanStep>& steps)
{
    Rows rows = {{"STEP", "ACTION", "APPLIANCE", "GROUP", "NAME", "EVIDENCE"}};
    for (const SPlanStep& step : steps) {
        rows.push_back({std::to_string(rows.size()), actionText(step.action), step.object.group.first,
                        step.object.group.second, step.object.name, step.object.evidenceText()});
    }
    return rows;
}

SResult writePlan(const SContext& context, const std::string& file)
{
    CNewFile out(file, CNewFile::EBusy::REFUSE);
    const CReconciler now(context);
    warnOfNotTold(now.found());
    const SPlan plan{.host = printable(systemHostName()),
                     .catalog = now.catalog().path,
                     .provider = now.provider(),
                     .written = utcSecondsText(std::chrono::system_clock::now()),
                     .steps = stepsFor(now.found(), now.catalog())};
    json document = planJson(plan);
    out.write(document.dump(1, ' ', false, json::error_handler_t::replace) + "\n");
    if (!out.keep(false)) {
        throw EFictl(EExit::EXISTS, "file " + printable(file) + " exists already; nothing was written",
                     "give another file");
    }
    const std::string steps = counted(plan.steps.size(), "step");
    return resultOf({{"planned", {{"file", file}, {"steps", std::move(document["steps"])}}}},
                    (plan.steps.empty() ? "" : formatTable(rowsOf(plan.steps))) + "plan of " + steps +
                        " is written to " + printable(file) + "\n");
}

SPlan planIn(const SContext& context, const std::string& file, const std::string& catalog)
{
    const base::SFileText text = base::readFile(file, PLAN_LIMIT + 1);
    if (!text) {
        throw EFictl(EExit::IO, "cannot read " + printable(file) + ": " + base::reasonOf(text, PLAN_LIMIT + 1));
    }
    SPlan plan = readPlan(text.text);
    const std::string host = printable(systemHostName());
    const std::string provider = CProviderLibrary::nameOf(context.chosenProvider());
    const auto require = [](const char* what, const std::string& planned, const std::string& here) {
        if (planned == here) return;
        throw EFictl(EExit::BAD_RECORD,
                     std::string("the plan is for ") + what + " \"" + printable(planned) + "\", and this is \"" +
                         printable(here) + "\"; nothing was done",
                     "write one here with fictl reconcile --plan FILE");
    };
    require("host", plan.host, host);
    require("catalog", plan.catalog, catalog);
    require("provider", plan.provider, provider);
    return plan;
}

SResult applyPlan(const SContext& context, const std::string& file)
{
    const SPlan plan = planIn(context, file, catalogPath());
    const CGuardian guardian;
    CCatalog catalog;
    catalog.beginHistory();
    CPlanExecution execution(context, catalog);
    json steps = json::array();
    Rows rows = {{"STEP", "ACTION", "APPLIANCE", "GROUP", "NAME", "RESULT", "REASON"}};
    bool isWell = true;
    for (const SPlanStep& step : plan.steps) {
        const SStepResult result = execution.run(step);
        const auto& [appliance, group] = step.object.group;
        isWell = isWell && result.isWell();
        rows.push_back({std::to_string(rows.size()), actionText(step.action), appliance, group, step.object.name,
                        result.result, result.reason});
        steps.push_back({{"action", actionText(step.action)},
                         {"appliance", textOrNull(appliance)},
                         {"group", textOrNull(group)},
                         {"name", step.object.name},
                         {"result", result.result},
                         {"reason", textOrNull(result.reason)}});
    }
    // The entry is about all of them.
    if (CCommandHistory* const history = CCommandHistory::current()) history->concern("");
    SResult result = resultOf({{"applied", {{"file", file}, {"steps", std::move(steps)}}}},
                              plan.steps.empty() ? "the plan has no steps\n" : formatTable(rows));
    if (!isWell) result.exit = EExit::FAILED;
    return result;
}

void warnOfAdopted(const std::vector<const SFoundObject*>& checkpoints)
{
    for (const SFoundObject* const object : checkpoints) {
        if (object->klass == EObjectClass::ORPHAN) continue;
        CProgress::warn("checkpoint " + object->name + " of group " + printable(groupText(object->group)) +
                        " is taken on your word: " + object->evidenceText());
    }
}

SResult adopt(const SContext& context, const SAdoption& adoption)
{
    requireSnapshotName(adoption.name);
    const CGuardian guardian;
    CCatalog catalog;
    SSnapshot record;
    record.name = adoption.name;
    if (catalog.has(adoption.name)) catalog.insert(record);  // refuses, saying what is there
    const CReconciler now(context, CReconciler::EScope::ALL);
    if (now.seen() == nullptr) {
        throw EFictl(EExit::FAILED, "the appliances cannot be looked at: " + now.found().notTold.front().reason,
                     "mend that and run the command again");
    }
    const std::vector<const SFoundObject*> checkpoints = requireAdoptable(adoption, now.found());
    record = recordOf(adoption.name, now.provider(), checkpoints, now.found(), *now.seen());
    record.owner = thisProcess();
    catalog.insert(record);
    warnOfAdopted(checkpoints);
    return snapshotResult(record, "snapshot \"" + record.name + "\" is adopted: checkpoint " + record.checkpoint +
                                      " of " + counted(record.devices.size(), "device") + " in " +
                                      counted(record.groups().size(), "group") + "\n");
}

void requireOneOfThem(const SReconcileRequest& request)
{
    const SAdoption& adoption = request.adoption;
    const bool isAdoption = !adoption.checkpoint.empty();
    const int count = int(!request.plan.empty()) + int(!request.apply.empty()) + int(isAdoption);
    if (count > 1) throw EFictl(EExit::USAGE, "--plan, --apply and --adopt exclude each other", "give one of them");
    if (isAdoption == adoption.name.empty()) {
        throw EFictl(EExit::USAGE, "--adopt and --as belong together", "fictl reconcile --adopt CHECKPOINT --as NAME");
    }
    if (!isAdoption && (!adoption.groups.empty() || !adoption.appliance.empty())) {
        throw EFictl(EExit::USAGE, "--group and --appliance are for --adopt", "fictl reconcile --help");
    }
}

SResult reconcile(const SContext& context, const SReconcileRequest& request)
{
    requireOneOfThem(request);
    if (!request.apply.empty()) return applyPlan(context, request.apply);
    if (!request.adoption.checkpoint.empty()) return adopt(context, request.adoption);
    const CGuardian guardian;
    return request.plan.empty() ? showFound(context) : writePlan(context, request.plan);
}

}  // namespace

CommandRun declareReconcile(COptions& options)
{
    const auto request = std::make_shared<SReconcileRequest>();
    options.newFile("--plan", request->plan, "New file for the steps that would bring it in order (none)");
    options.text("--apply", request->apply, "Do the steps of such a file, each after another look (none)");
    options.text("--adopt", request->adoption.checkpoint, "Make a record of a checkpoint that has none (none)");
    options.text("--as", request->adoption.name, "Name of that record");
    options.words("--group", request->adoption.groups, COptions::EGiven::MAY_BE,
                  "Adopt the checkpoint of this group, proven or not; of several, each (those that are proven)");
    options.text("--appliance", request->adoption.appliance, "Adopt from this appliance only (any)");
    return [request](const SContext& context) { return reconcile(context, *request); };
}

}  // namespace fictl
