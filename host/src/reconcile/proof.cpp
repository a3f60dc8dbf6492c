#include "host/src/reconcile/proof.h"

#include <algorithm>
#include <iterator>

#include "host/src/text/plain_text.h"
#include "host/src/text/shell_words.h"

namespace fictl {

std::string entryText(const SHistoryEntry& entry)
{
    return "entry " + std::to_string(entry.id) + " of the history (" + entry.started + ", " + printable(entry.command) +
           ")";
}

CHistoryProof::CHistoryProof(const std::vector<SHistoryEntry>& history, std::string host, std::string doubt)
    : m_host(std::move(host)), m_doubt(std::move(doubt))
{
    for (const SHistoryEntry& entry : history) {
        enterCommand(entry);
        for (const SHistoryObject& object : entry.objects) {
            const Key key{{object.appliance, object.group}, object.kind + " " + object.name};
            m_events[key].push_back({&entry, &object});
        }
    }
}

void CHistoryProof::enterCommand(const SHistoryEntry& entry)
{
    const std::vector<std::string> words = shellWords(entry.command);
    if (hasCommand(words, "snapshot", "export")) m_exports[entry.snapshot] = &entry;
    for (const std::string& checkpoint : valuesOf(words, "--adopt")) {
        m_adopted.emplace(checkpoint, entry.snapshot);
    }
}

SProof CHistoryProof::of(const std::string& kind, const GroupKey& group, const std::string& name,
                         const std::string& time) const
{
    const auto events = m_events.find({group, kind + " " + name});
    if (events == m_events.end()) return {.text = "no entry of the history names it"};
    const SEvent* made = nullptr;
    const SEvent* tried = nullptr;
    const SEvent* gone = nullptr;
    for (const SEvent& event : events->second) {
        const EOutcome outcome = event.object->outcome;
        if (event.object->verb == "create" && outcome == EOutcome::SURE) {
            made = &event;
            gone = tried = nullptr;
        } else if (event.object->verb == "create" && outcome != EOutcome::REFUSED) {
            tried = &event;
        } else if (event.object->verb == "delete" && outcome == EOutcome::SURE) {
            gone = &event;
            made = tried = nullptr;
        }
    }
    if (made != nullptr) return judge(*made, time);
    if (tried != nullptr) {
        const std::string& found = tried->object->madeAt;
        const bool isAnother = !found.empty() && !time.empty() && found != time;
        return {.proof = isAnother ? EProof::ANOTHER : EProof::DOUBT,
                .entry = tried->entry->id,
                .text = entryText(*tried->entry) + " asked for it, and " +
                        (isAnother ? "found one of " + found : "whether it was made by that is not known")};
    }
    if (gone != nullptr) {
        return {.proof = EProof::ANOTHER,
                .entry = gone->entry->id,
                .text = entryText(*gone->entry) + " has deleted the one that it knew"};
    }
    return {.text = "no entry of the history has made it"};
}

SProof CHistoryProof::judge(const SEvent& made, const std::string& time) const
{
    const SHistoryEntry& entry = *made.entry;
    const std::string& known = made.object->madeAt;
    SProof proof{.proof = EProof::DOUBT, .entry = entry.id, .text = entryText(entry) + " has made it"};
    if (entry.invoker.host != m_host) {
        proof.proof = EProof::ANOTHER;
        proof.text = entryText(entry) + " has made it on host \"" + printable(entry.invoker.host) +
                     "\", and this is host \"" + printable(m_host) + "\"";
    } else if (known.empty()) {
        proof.text += ", and does not tell at what time of the appliance";
    } else if (time.empty()) {
        proof.text += " at " + known + ", and the appliance tells no time";
    } else if (time != known) {
        proof.proof = EProof::ANOTHER;
        proof.text = entryText(entry) + " has made one at " + known + ", and this is of " + time;
    } else if (const SHistoryEntry* const handed = exportAfter(made)) {
        proof.text += " at " + known + ", and another host may have its record: " + entryText(*handed);
    } else if (!m_doubt.empty()) {
        proof.text += " at " + known + ", and " + m_doubt;
    } else {
        proof.proof = EProof::OURS;
        proof.text += " at " + known;
    }
    return proof;
}

const SHistoryEntry* CHistoryProof::exportAfter(const SEvent& creation) const
{
    std::vector<std::string> names = {creation.entry->snapshot};
    const auto [from, until] = m_adopted.equal_range(creation.object->name);
    std::transform(from, until, std::back_inserter(names), [](const auto& adopted) { return adopted.second; });
    for (const std::string& name : names) {
        const auto found = m_exports.find(name);
        if (found != m_exports.end() && found->second->id > creation.entry->id) return found->second;
    }
    return nullptr;
}

}  // namespace fictl
