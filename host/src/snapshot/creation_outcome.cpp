#include "host/src/snapshot/creation_outcome.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/src/catalog/record_json.h"
#include "host/src/snapshot/checkpoint_times.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

bool isMade(const SDevice& device)
{
    return device.made == EMade::YES;
}

void append(std::string& list, const std::string& entry)
{
    list += (list.empty() ? "" : ", ") + entry;
}

void tellTimes(const CheckpointTimes& times, json& groups)
{
    for (json& group : groups) {
        const auto time = times.find({group["appliance"], group["group"]});
        group["made_from"] = time == times.end() ? json() : json(utcText(time->second.from));
        group["made_until"] = time == times.end() ? json() : json(utcText(time->second.until));
    }
}

}  // namespace

EState CCreationOutcome::state() const
{
    const std::vector<SDevice>& devices = m_record.devices;
    const bool isAll = std::all_of(devices.begin(), devices.end(), isMade);
    if (m_made.status == OBZ_OK && isAll && !isCutShort()) return EState::COMPLETE;
    return std::none_of(devices.begin(), devices.end(), isMade) ? EState::FAILED : EState::PARTIAL;
}

std::string CCreationOutcome::message() const
{
    switch (state()) {
        case EState::COMPLETE:
            return m_made.thawFailure.empty() ? "" : "thaw command failed: " + m_made.thawFailure;
        case EState::PARTIAL:
            return partialMessage();
        default:
            return nothingMessage();
    }
}

std::string CCreationOutcome::partialMessage() const
{
    std::string yes;
    std::string no;
    for (const GroupKey& key : m_record.groups()) {
        const std::vector<const SDevice*> devices = m_record.devicesOf(key);
        const bool isGroupMade =
            std::any_of(devices.begin(), devices.end(), [](const SDevice* device) { return isMade(*device); });
        append(isGroupMade ? yes : no, groupText(key));
    }
    std::string text = (isCutShort() ? m_made.cutShort + "; " : "") + "made: group " + yes;
    if (!no.empty()) text += "; not made: group " + no;
    if (!m_contradiction.empty()) text += "; the provider says otherwise of group " + m_contradiction;
    if (!m_made.thawFailure.empty()) text += "; thaw command failed: " + m_made.thawFailure;
    return text;
}

std::string CCreationOutcome::nothingMessage() const
{
    std::string text = m_made.cutShort;
    if (!isCutShort() && m_contradiction.empty()) {
        text = "the provider made no checkpoint (status " + std::to_string(m_made.status) + ")";
    } else if (!isCutShort()) {
        text = "the provider reported checkpoint " + m_record.checkpoint + " as made, but it is not in group " +
               m_contradiction;
    }
    if (!m_made.thawFailure.empty()) text += "; the thaw command failed: " + m_made.thawFailure;
    return text;
}

SResult CCreationOutcome::complete() const
{
    if (!m_made.thawFailure.empty()) {
        throw EFictl(EExit::HOOK,
                     quotedName() + " is complete, but the thaw command failed: " + m_made.thawFailure +
                         "; the application may still be frozen",
                     "thaw the application by hand")
            .about(m_record.name);
    }
    json document = snapshotJson(m_record);
    document["frozen_seconds"] = m_made.frozenSeconds;
    const CheckpointTimes times = checkpointTimes(m_record, m_made);
    tellTimes(times, document["groups"]);
    const std::optional<double> apart = mostSecondsApart(m_record, times);
    document["groups_apart_seconds"] = apart ? json(*apart) : json();
    std::string text = quotedName() + " is complete: checkpoint " + m_record.checkpoint + " of " +
                       counted(m_record.devices.size(), "device") + " in " +
                       counted(m_record.groups().size(), "group") + "\n";
    if (apart) text += "the groups' checkpoints are at most " + secondsText(*apart) + " apart\n";
    if (m_made.frozenSeconds > 0) text += "the application was frozen for " + secondsText(m_made.frozenSeconds) + "\n";
    SResult result = resultOf({{"snapshot", std::move(document)}}, std::move(text));
    result.frozenSeconds = m_made.frozenSeconds;
    return result;
}

EFictl CCreationOutcome::partial() const
{
    return EFictl(isCutShort() ? m_made.cutShortExit : EExit::PARTIAL,
                  quotedName() + " is partial (status " + std::to_string(m_made.status) + "): " + m_record.message,
                  "fictl snapshot delete " + m_record.name)
        .withReport(m_made.report)
        .about(m_record.name);
}

EFictl CCreationOutcome::nothingMade(bool isClean) const
{
    const std::string kept = isClean ? "; nothing is left on the appliance and nothing was recorded"
                                     : "; whether the appliance made one is not known, so the record stays";
    std::string next = "fictl snapshot delete " + m_record.name;
    if (isClean) {
        next = isCutShort()                      ? m_made.cutShortNext
               : saysAlreadyThere(m_made.report) ? "run the command again: another process id gives another checkpoint"
                                                 : "mend what the appliance reports, then run the command again";
    }
    return EFictl(isCutShort() ? m_made.cutShortExit : EExit::FAILED, quotedName() + ": " + m_record.message + kept,
                  next)
        .withReport(m_made.report);
}

}  // namespace fictl
