#include "host/src/commands/creation.h"

#include <algorithm>
#include <charconv>

#include "host/src/catalog/command_history.h"
#include "host/src/devices/device_offer.h"
#include "host/src/output/error.h"
#include "host/src/process/invoker.h"
#include "host/src/process/signals.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/usable_names.h"
#include "host/src/snapshot/creation_outcome.h"
#include "host/src/snapshot/made_devices.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/utc_text.h"

namespace fictl {

namespace {

void addProcessOf(const std::string& checkpoint, std::vector<int64_t>& ids)
{
    if (!naming::isCheckpointName(checkpoint)) return;
    const std::string digits = checkpoint.substr(naming::checkpointPrefix().size());
    int64_t id = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), id).ec == std::errc()) ids.push_back(id);
}

}  // namespace

SResult CSnapshotCreation::run()
{
    refuseEarly();
    // What is on the appliances is looked at while the provider reads its inventory of them.
    m_knowledge.beginLookAtInventory();
    m_context.progress.step("start provider");
    m_provider.emplace(m_context.chosenProvider());
    m_tree.emplace(*m_provider);
    setUp();
    lookBefore();
    const SMakeResult made = make();
    try {
        return settle(made);
    } catch (EFictl& error) {
        error.frozenFor(made.frozenSeconds);
        throw;
    }
}

void CSnapshotCreation::refuseEarly()
{
    m_record.name = m_request.name;
    m_record.owner = thisProcess();
    m_record.origin = "created";
    m_record.created = utcSecondsText(std::chrono::system_clock::now());
    m_record.creator = SInvoker::ofThisProcess().text();
    m_record.labels = m_request.labels;
    m_record.note = m_request.note;
    m_record.thaw = m_request.hooks.thaw;
    m_record.checkpoint = naming::checkpointOfProcess(m_record.owner.pid);
    if (m_catalog.has(m_request.name)) m_catalog.insert(m_record);  // refuses, saying what is there
    // The checkpoint's name is made from the process id, which the system uses again after a while.
    if (m_catalog.carrierOf(m_record.checkpoint)) goOnElsewhere(nullptr);
}

void CSnapshotCreation::goOnElsewhere(const SInspection* seen)
{
    SNameInUse inUse;
    for (const std::string& checkpoint : m_catalog.checkpoints()) {
        addProcessOf(checkpoint, inUse.ids);
    }
    for (const GroupKey& key : m_record.groups()) {
        const SInspectedGroup* const group = seen == nullptr ? nullptr : seen->group(key);
        if (group == nullptr || !group->annotations) continue;
        for (const auto& [name, time] : *group->annotations) {
            addProcessOf(name, inUse.ids);
        }
    }
    std::sort(inUse.ids.begin(), inUse.ids.end());
    throw inUse;
}

void CSnapshotCreation::refuseDevice(const std::string& path, const std::string& reason, const std::string& next)
{
    if (!next.empty()) {
        throw EFictl(EExit::NOT_CLAIMED, "device " + path + ": " + reason + "; nothing was made", next);
    }
    // A provider that could not read an appliance's inventory serves none of its devices.
    SApplianceReport report = m_provider->takeReport();
    const bool isKnown = report.empty();
    const std::string doubt = isKnown ? "" : ", as far as the appliances answered";
    throw EFictl(isKnown ? EExit::NOT_CLAIMED : EExit::FAILED,
                 "device " + path + ": " + reason + doubt + "; nothing was made", "fictl device list " + path)
        .withReport(std::move(report));
}

void CSnapshotCreation::setUp()
{
    m_record.provider = m_provider->name();
    const KnownPaths knownPaths = [this] { return pathsOf(inventory()); };
    for (const std::string& given : m_request.devices) {
        stopPoint();
        m_context.progress.step("set up " + given);
        const auto [path, offer] = offerByAnyName(*m_tree, given, knownPaths);
        if (!offer.claimed) refuseDevice(given, offer.reason, offer.next);
        for (const SDevice& other : m_record.devices) {
            if (other.node != offer.node) continue;
            throw EFictl(EExit::USAGE,
                         "devices " + other.source + " and " + path + " show the same LUN " + offer.serial,
                         "give one of them");
        }
        CNode& node = m_tree->add(offer);
        SDevice device;
        device.source = path;
        device.node = offer.node;
        device.state = node.state();
        if (const auto problem = findNameProblem(m_record.provider, device.state)) {
            refuseDevice(given, problem->reason, problem->next);
        }
        device.state.checkPointName = m_record.checkpoint;
        device.target = naming::targetDevice(m_record.provider, offer.serial, m_record.checkpoint);
        device.made = EMade::UNKNOWN;
        m_record.devices.push_back(std::move(device));
        m_nodes.push_back(&node);
    }
}

// All groups, and not those of the snapshot alone: a LUN may stand in another one, too.
const SInspection* CSnapshotCreation::inventory()
{
    if (!m_hasLooked) {
        m_context.progress.step("look at the groups");
        m_knowledge.lookAtInventory();
    }
    m_hasLooked = true;
    return m_knowledge.seen();
}

// Before anything is made: which names are there, and whether each LUN is where the provider finds it.
void CSnapshotCreation::lookBefore()
{
    const SInspection* const seen = inventory();
    m_knowledge.concern(m_record.groups());
    stopPoint();
    if (seen == nullptr) {
        m_knowledge.warnUnguarded(
            "whether the devices are ambiguous and checkpoint " + m_record.checkpoint + " is in use already",
            m_knowledge.why());
        return;
    }
    requireUnambiguous(*seen);
    requireListable(*seen);
    requireFreeName(*seen);
}

void CSnapshotCreation::requireUnambiguous(const SInspection& seen) const
{
    for (const SDevice& device : m_record.devices) {
        const std::string& serial = device.state.serialNo;
        const SAmbiguousLun* const ambiguous = seen.ambiguity(serial);
        std::string reason = ambiguous == nullptr ? "" : printable(ambiguous->reason);
        if (reason.empty() && seen.hasLun(device.group(), serial) == EThere::NO) {
            reason = "group " + groupText(device.group()) + ", in which the provider finds it, does not hold it";
        }
        if (reason.empty()) continue;
        throw EFictl(EExit::NOT_CLAIMED,
                     "device " + printable(device.source) + ": LUN " + printable(serial) + " is ambiguous: " + reason +
                         "; nothing was made",
                     "give the group another name, or keep the LUN in one group");
    }
}

// The appliance takes a snapshot of such a LUN, and nobody can import it.
void CSnapshotCreation::requireListable(const SInspection& seen)
{
    for (const SDevice& device : m_record.devices) {
        const auto found = seen.unlistable.find(device.state.serialNo);
        if (found == seen.unlistable.end()) continue;
        refuseDevice(printable(device.source),
                     "no copy of LUN " + printable(found->first) + " could be imported: " + printable(found->second),
                     "give the LUN another name on the appliance");
    }
}

void CSnapshotCreation::requireFreeName(const SInspection& seen)
{
    for (const GroupKey& key : m_record.groups()) {
        const EThere there = seen.hasCheckpoint(key, m_record.checkpoint);
        if (there == EThere::YES) goOnElsewhere(&seen);
        if (there == EThere::NO) continue;
        m_knowledge.warnUnguarded(
            "whether checkpoint " + m_record.checkpoint + " is in use already in group " + groupText(key),
            seen.doubt(key));
    }
}

SMakeResult CSnapshotCreation::make()
{
    bool recorded = false;
    const auto recordIntent = [this, &recorded] {
        m_catalog.insert(m_record);
        recorded = true;
    };
    GroupNodes groups;
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        groups[m_record.devices[i].group()].push_back(m_nodes[i]);
    }
    CSnapshotMaker maker(*m_provider, m_context.progress, "fictl-" + m_request.name, groups, m_knowledge.parallel());
    try {
        return maker.run({.hooks = m_request.hooks, .snapshot = m_request.name, .devices = m_request.devices},
                         recordIntent);
    } catch (const EFictl&) {
        // Nothing was asked of the appliance, so there is nothing to remember.
        if (recorded) m_catalog.remove(m_request.name);
        throw;
    }
}

SResult CSnapshotCreation::settle(const SMakeResult& made)
{
    m_context.progress.step("record");
    enterMade(m_record, m_nodes, made);
    std::string contradiction;
    if (m_knowledge.seen() != nullptr) {
        m_context.progress.step("look whether the checkpoints are there");
        contradiction = compareWithAppliances(m_record, m_knowledge);
    }
    m_record.thaw = made.thawFailure.empty() ? "" : m_request.hooks.thaw;
    const CCreationOutcome outcome(m_record, made, contradiction);
    if (CCommandHistory* const history = CCommandHistory::current()) history->settleCheckpoints(m_record);
    m_record.state = outcome.state();
    m_record.message = outcome.message();
    m_catalog.update(m_record);
    if (m_record.state == EState::COMPLETE) return outcome.complete();
    if (m_record.state == EState::PARTIAL) throw outcome.partial();
    // A checkpoint that is there, or may be, is not deleted: where the answer to its creation was lost it may be
    // another host's that came to the same name, and that answer the refusal.
    const bool isClean = m_record.groupsToDispose().empty();
    if (isClean) m_catalog.remove(m_record.name);
    throw outcome.nothingMade(isClean);
}

}  // namespace fictl
