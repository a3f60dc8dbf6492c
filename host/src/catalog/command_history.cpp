#include "host/src/catalog/command_history.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "host/src/catalog/history_table.h"
#include "host/src/output/progress.h"
#include "host/src/process/invoker.h"
#include "host/src/provider/naming.h"
#include "host/src/runs/appliance_answer.h"
#include "host/src/runs/appliance_report.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

// Of a command on thousands of groups the first ones and the number of the others tell enough.
constexpr size_t MOST_RUNS = 1000;
constexpr size_t LONGEST_TEXT = 4000;

CCommandHistory* g_current = nullptr;

std::string cut(const std::string& text)
{
    return asUtf8(text.size() <= LONGEST_TEXT ? text : text.substr(0, LONGEST_TEXT) + "...");
}

SHistoryObject objectOf(const GroupKey& group, const char* verb, const char* kind, std::string name)
{
    return {.verb = verb, .kind = kind, .appliance = group.first, .group = group.second, .name = std::move(name)};
}

/// A command about an object that it changes, with what its answer says; nothing for any other run.
std::optional<SHistoryObject> changeOf(const SRunRecord& run)
{
    const std::optional<SObjectCommand> command = run.isInputWhole() ? objectCommandOf(run.input) : std::nullopt;
    if (!command || (command->verb != "create" && command->verb != "delete")) return std::nullopt;
    if (naming::isAbsentImageName(command->name)) return std::nullopt;  // stands for no object
    SHistoryObject object = objectOf({command->server, command->group}, command->verb.c_str(),
                                     command->kind == "annotation" ? "checkpoint" : "image", command->name);
    switch (judge(run)) {
        case EAnswer::DONE:
            object.outcome = EOutcome::SURE;
            break;
        case EAnswer::NOT_THERE:
        case EAnswer::EXISTS_ALREADY:
            object.outcome = EOutcome::REFUSED;
            break;
        default:
            // A program that was never started sent nothing.
            object.outcome = run.process == 0 ? EOutcome::REFUSED : EOutcome::LOST;
            break;
    }
    return object;
}

SHistoryObject* find(std::vector<SHistoryObject>& objects, const SHistoryObject& wanted)
{
    const auto found = std::find_if(objects.begin(), objects.end(),
                                    [&](const SHistoryObject& object) { return object.isSameAs(wanted); });
    return found == objects.end() ? nullptr : &*found;
}

// Of several answers about one object: it was changed once one of them says so.
void enterAnswer(std::vector<SHistoryObject>& objects, const SHistoryObject& answer)
{
    SHistoryObject* const there = find(objects, answer);
    if (there == nullptr) {
        objects.push_back(answer);
    } else if (there->outcome == EOutcome::ASKED || there->outcome == EOutcome::REFUSED ||
               answer.outcome == EOutcome::SURE) {
        there->outcome = answer.outcome;
        if (!answer.madeAt.empty()) there->madeAt = answer.madeAt;
    }
}

}  // namespace

EHistory::~EHistory() = default;

CCommandHistory::CCommandHistory(const std::string& command)
    : m_whole(g_current),
      m_listening([this](const SRunRecord& run, const obzx_run& whole) { addRun(run, creationTimeIn(run, whole)); })
{
    const UtcTime now = std::chrono::system_clock::now();
    m_entry.started = utcSecondsText(now);
    m_entry.invoker = SInvoker::ofThisProcess();
    m_entry.command = cut(command);
    g_current = this;
}

CCommandHistory::~CCommandHistory()
{
    g_current = m_whole;
}

CCommandHistory* CCommandHistory::current()
{
    return g_current;
}

void CCommandHistory::attach(const std::string& path, std::shared_ptr<base::CSqliteDatabase> database)
{
    m_path = path;
    m_database = std::move(database);
    m_lock.emplace(path + "-owners");
    m_entry.process = thisProcess();
}

void CCommandHistory::leave()
{
    m_database.reset();
    m_lock.reset();
}

void CCommandHistory::enter(const std::vector<SHistoryObject>& asked)
{
    if (!m_database) return;
    try {
        if (m_isBegun) {
            if (!asked.empty()) enterHistoryObjects(*m_database, m_entry.id, asked);
        } else {
            trimHistory(*m_database, SHistoryLimits::current());
            m_entry.id = enterHistory(*m_database, m_entry);
            enterHistoryObjects(*m_database, m_entry.id, asked);
        }
    } catch (const base::ESqlite& error) {
        throw EHistory(error.what());
    }
    m_entry.objects.insert(m_entry.objects.end(), asked.begin(), asked.end());
}

void CCommandHistory::entered()
{
    m_isBegun = m_database != nullptr;
}

void CCommandHistory::giveUp(const std::string& why)
{
    if (!m_database) return;
    leave();
    CProgress::warn("catalog " + printable(m_path) + ": its history may lack this command: " + printable(why));
}

void CCommandHistory::settle(const SHistoryObject& object)
{
    m_settled.push_back(object);
}

void CCommandHistory::settleCheckpoints(const SSnapshot& snapshot)
{
    for (const GroupKey& group : snapshot.groups()) {
        const SDevice& device = *snapshot.devicesOf(group).front();
        SHistoryObject object = objectOf(group, "create", "checkpoint", snapshot.checkpoint);
        object.madeAt = device.madeAt;
        object.outcome = device.made == EMade::YES  ? EOutcome::SURE
                         : device.made == EMade::NO ? EOutcome::REFUSED
                                                    : EOutcome::LOST;
        settle(object);
    }
}

void CCommandHistory::addRun(const SRunRecord& run, const std::string& creationTime)
{
    if (this != g_current) return;
    const std::lock_guard guard(m_runLock);
    if (!creationTime.empty()) enterCreationTime(run, creationTime);
    const std::optional<SHistoryObject> change = changeOf(run);
    if (change) enterAnswer(m_answered, *change);
    const bool isWanted = run.stopped != EStop::CANCEL && run.stopped != EStop::UNUSED;
    if (!change && (run.result == 0 || !isWanted)) {
        ++m_entry.looks;
        return;
    }
    if (m_entry.runs.size() == MOST_RUNS) {
        ++m_entry.lost;
        return;
    }
    const UtcTime started{std::chrono::seconds(run.startSeconds) + std::chrono::nanoseconds(run.startNanoseconds)};
    m_entry.runs.push_back({.started = utcText(started),
                            .duration = std::chrono::duration_cast<std::chrono::microseconds>(run.duration),
                            .command = cut(commandLine(run)),
                            .answer = run.result == 0 ? "done" : cut(answerLine(run))});
}

// An image's time is told by the very command that lists the one that was made: a look of its own is not needed.
void CCommandHistory::enterCreationTime(const SRunRecord& run, const std::string& time)
{
    const std::optional<SObjectCommand> shown = objectCommandOf(run.input);
    if (!shown) return;
    const SHistoryObject made = objectOf({shown->server, shown->group}, "create", "image", shown->name);
    SHistoryObject* const answered = find(m_answered, made);
    if (answered != nullptr && answered->outcome == EOutcome::SURE) answered->madeAt = time;
}

void CCommandHistory::resolve(bool isSuccess)
{
    std::vector<SHistoryObject> objects = std::exchange(m_entry.objects, {});
    for (const SHistoryObject& answer : m_answered) {
        enterAnswer(objects, answer);
    }
    for (const SHistoryObject& settled : m_settled) {
        SHistoryObject* const there = find(objects, settled);
        if (there == nullptr) continue;
        there->outcome = settled.outcome;
        if (!settled.madeAt.empty()) there->madeAt = settled.madeAt;
    }
    // Of a provider that runs no programs nothing but the end of the command is known; of any other that the command
    // was never sent.
    const bool isSilent = m_entry.runs.empty() && m_entry.looks == 0 && m_entry.lost == 0;
    for (SHistoryObject& object : objects) {
        if (object.outcome != EOutcome::ASKED) {
            m_entry.objects.push_back(object);
        } else if (isSilent && m_settled.empty()) {
            object.outcome = isSuccess ? EOutcome::SURE : EOutcome::LOST;
            m_entry.objects.push_back(object);
        }
    }
}

void CCommandHistory::end(const SHistoryEnd& end)
{
    if (!m_database) return;
    m_entry.end = end;
    m_entry.end->message = cut(end.message);
    resolve(end.exit == 0);
    try {
        writeEnd();
    } catch (const base::ESqlite& error) {
        giveUp(error.what());
    }
    leave();
}

void CCommandHistory::writeEnd()
{
    base::CSqliteTransaction transaction(*m_database, base::CSqliteTransaction::EKind::WRITE);
    if (!m_isBegun) {
        trimHistory(*m_database, SHistoryLimits::current());
        m_entry.id = enterHistory(*m_database, m_entry);
    }
    completeHistory(*m_database, m_entry);
    transaction.commit();
}

std::vector<SHistoryObject> aboutToBeAsked(const SSnapshot& snapshot)
{
    std::vector<SHistoryObject> objects;
    const bool isDeletion = snapshot.state == EState::DELETING;
    if (snapshot.state == EState::CREATING) {
        for (const GroupKey& group : snapshot.groups()) {
            objects.push_back(objectOf(group, "create", "checkpoint", snapshot.checkpoint));
        }
    } else if (isDeletion || snapshot.state == EState::RELEASING) {
        const std::string image = naming::imageOfCheckpoint(snapshot.checkpoint);
        for (const GroupKey& group : isDeletion ? snapshot.groupsToDispose() : snapshot.groups()) {
            objects.push_back(objectOf(group, "delete", "image", image));
            if (isDeletion) objects.push_back(objectOf(group, "delete", "checkpoint", snapshot.checkpoint));
        }
    }
    return objects;
}

std::vector<SHistoryObject> imageAboutToBeAsked(const SSnapshot& snapshot, const GroupKey& group)
{
    if (snapshot.state != EState::IMPORTING || !snapshot.isImageAsked(group)) return {};
    return {objectOf(group, "create", "image", naming::imageOfCheckpoint(snapshot.checkpoint))};
}

}  // namespace fictl
