#include "host/src/commands/plan_execution.h"

#include <sys/stat.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "host/src/commands/deletion.h"
#include "host/src/commands/reconciler.h"
#include "host/src/output/error.h"
#include "host/src/output/error_text.h"
#include "host/src/output/progress.h"
#include "host/src/process/signals.h"
#include "host/src/reconcile/adoption.h"
#include "host/src/reconcile/left_files.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

SStepResult skipped(const std::string& reason)
{
    return {.result = "skipped", .reason = reason};
}

}  // namespace

SStepResult CPlanExecution::run(const SPlanStep& step)
{
    stopPoint();
    m_context.progress.step(std::string(actionText(step.action)) + " " + printable(step.object.name));
    try {
        return act(step);
    } catch (const EFictl& error) {
        if (error.exit() == EExit::CATALOG || error.exit() == EExit::STOPPED) throw;
        CProgress::write(errorText(error));
        return {.result = "failed", .reason = error.what()};
    }
}

SStepResult CPlanExecution::act(const SPlanStep& step)
{
    switch (step.action) {
        case EAction::DELETE_CHECKPOINT:
            return m_catalog.has(step.object.record) ? goOnDeleting(step) : deleteCheckpoint(step);
        case EAction::FORGET_RECORD:
            return forgetRecord(step);
        default:
            return removeFile(step);
    }
}

SStepResult CPlanExecution::deleteCheckpoint(const SPlanStep& step)
{
    const GroupKey& group = step.object.group;
    const CReconciler now(m_context, CReconciler::EScope::OBJECTS, {group});
    const SFoundObject* const object = now.found().find(step.object);
    if (object == nullptr) {
        const bool isGone = now.seen() != nullptr && now.seen()->hasCheckpoint(group, step.object.name) == EThere::NO;
        if (isGone) return {.result = "gone"};
        return skipped("it is not told any more: " + (now.found().notTold.empty()
                                                          ? "the appliance lists no such group"
                                                          : printable(now.found().notTold.front().reason)));
    }
    const std::string difference = differenceOf(step, now.found(), *object);
    if (!difference.empty()) return skipped(difference);
    SSnapshot record = recordOf(step.object.record, now.provider(), {object}, now.found(), *now.seen());
    record.owner = thisProcess();
    m_catalog.insert(record);
    return deleteAdopted(step);
}

// An earlier run of the plan has made the record and came no further.
SStepResult CPlanExecution::goOnDeleting(const SPlanStep& step)
{
    const SSnapshot record = m_catalog.get(step.object.record);
    const bool isOwn = record.origin == ORIGIN_ADOPTED && record.checkpoint == step.object.name &&
                       record.groups() == std::set<GroupKey>{step.object.group} &&
                       record.devices.front().madeAt == step.object.time && !record.exported;
    if (!isOwn) return skipped("record \"" + record.name + "\" is of something else");
    return deleteAdopted(step);
}

SStepResult CPlanExecution::deleteAdopted(const SPlanStep& step)
{
    const std::string& name = step.object.record;
    json groups;
    try {
        groups = deleteRecorded(m_context, m_catalog, name, {});
    } catch (const EFictl& error) {
        if (error.exit() != EExit::CATALOG) dropUntouched(name);
        throw;
    }
    for (const json& group : groups) {
        if (group.at("result") != "removed") return skipped("it was kept: it is another one's by now");
    }
    return {};
}

// Where nothing was asked of the appliance, all is to be as it was.
void CPlanExecution::dropUntouched(const std::string& name)
{
    const EState state = m_catalog.get(name).state;
    if (state == EState::COMPLETE || state == EState::IMPORTED) m_catalog.drop(name, {state}, "forgotten");
}

SStepResult CPlanExecution::forgetRecord(const SPlanStep& step)
{
    const std::string& name = step.object.name;
    if (!m_catalog.has(name)) return {.result = "gone"};
    const SSnapshot record = m_catalog.get(name);
    const CReconciler now(m_context, CReconciler::EScope::OBJECTS, record.groups());
    const SFoundObject* const object = now.found().find(step.object);
    if (object == nullptr) return {.result = "gone"};
    const std::string difference = differenceOf(step, now.found(), *object);
    if (!difference.empty()) return skipped(difference);
    if (!record.thaw.empty()) return skipped("the application may still be frozen: " + printable(record.thaw));
    m_catalog.drop(name, DELETABLE, "forgotten");
    return {};
}

SStepResult CPlanExecution::removeFile(const SPlanStep& step) const
{
    const CReconciler now(m_context, CReconciler::EScope::FILES);
    const SFoundObject* const object = now.found().find(step.object);
    if (object == nullptr) {
        struct stat status = {};
        const bool isGone = lstat(step.object.name.c_str(), &status) != 0 && errno == ENOENT;
        return isGone ? SStepResult{.result = "gone"} : skipped("it is nothing that a command has left");
    }
    const std::string difference = differenceOf(step, now.found(), *object);
    if (!difference.empty()) return skipped(difference);
    const std::string why = removeLeftFile(object->name, object->time);
    return why.empty() ? SStepResult{} : SStepResult{.result = "failed", .reason = why};
}

}  // namespace fictl
