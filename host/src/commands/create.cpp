#include <algorithm>
#include <charconv>
#include <optional>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/devices/device_offer.h"
#include "host/src/guardian/guardian.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/output/error.h"
#include "host/src/process/other_process.h"
#include "host/src/process/signals.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/node_tree.h"
#include "host/src/snapshot/disposal.h"
#include "host/src/snapshot/snapshot_maker.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string counted(size_t number, const char* noun)
{
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

/// The checkpoint that this process would make is in use; ids are those of all processes whose checkpoint is, in order.
struct SNameInUse
{
    std::vector<int64_t> ids;
};

void addProcessOf(const std::string& checkpoint, std::vector<int64_t>& ids)
{
    if (!naming::isCheckpointName(checkpoint)) return;
    const std::string digits = checkpoint.substr(naming::checkpointPrefix().size());
    int64_t id = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), id).ec == std::errc()) ids.push_back(id);
}

/// One run of "snapshot create": the record is built while the nodes are set up, entered as an intent right before the
/// appliance is asked for anything, and settled with what make left behind and what is on the appliances then.
class CSnapshotCreation
{
  public:
    CSnapshotCreation(const SContext& context, const SCreateRequest& request) : m_context(context), m_request(request)
    {
    }

    SResult run()
    {
        refuseEarly();
        m_context.progress.step("start provider");
        m_provider.emplace(m_context.chosenProvider());
        m_tree.emplace(*m_provider);
        setUp();
        lookBefore();
        const SMakeResult made = make();
        try {
            settle(made);
            return result(made);
        } catch (EFictl& error) {
            error.frozenFor(made.frozenSeconds);
            throw;
        }
    }

  private:
    void refuseEarly();
    void setUp();
    void lookBefore();
    void requireUnambiguous(const SInspection& seen) const;
    void requireFreeName(const SInspection& seen);
    [[noreturn]] void goOnElsewhere(const SInspection* seen);
    void lookAfter(const SMakeResult& made);
    [[noreturn]] void refuseDevice(const std::string& path, const std::string& reason);
    SMakeResult make();
    void settle(const SMakeResult& made);
    void markDevices(const SMakeResult& made);
    void markUnanswered(const SMakeResult& made);
    [[noreturn]] void nothingMade(const SMakeResult& made);
    bool keepsNothing(const GroupKey& group);
    [[noreturn]] void partlyMade(const SMakeResult& made);
    SResult result(const SMakeResult& made) const;
    std::string quotedName() const { return "snapshot \"" + m_request.name + "\""; }

    const SContext& m_context;
    const SCreateRequest& m_request;
    CCatalog m_catalog;
    std::optional<CProvider> m_provider;
    std::optional<CNodeTree> m_tree;
    std::vector<CNode*> m_nodes;  // one for each device of the record, in the tree
    std::optional<CKnowledge> m_knowledge;
    SSnapshot m_record;
    std::string m_contradiction;  // groups without the checkpoint that the provider says it made
};

void CSnapshotCreation::refuseEarly()
{
    m_record.name = m_request.name;
    m_record.owner = thisProcess();
    m_record.origin = "created";
    m_record.created = utcNow();
    m_record.thaw = m_request.hooks.thaw;
    m_record.checkpoint = naming::checkpointOfProcess(m_record.owner.pid);
    if (m_catalog.has(m_request.name)) m_catalog.insert(m_record);  // refuses, saying what is there
    // The checkpoint's name is made from the process id, which the system uses again after a while.
    if (m_catalog.carrierOf(m_record.checkpoint)) goOnElsewhere(nullptr);
}

void CSnapshotCreation::goOnElsewhere(const SInspection* seen)
{
    SNameInUse inUse;
    for (const SSnapshot& other : m_catalog.list()) {
        addProcessOf(other.checkpoint, inUse.ids);
    }
    for (const GroupKey& key : m_record.groups()) {
        const SInspectedGroup* const group = seen == nullptr ? nullptr : seen->group(key);
        if (group == nullptr || !group->annotations) continue;
        for (const std::string& name : *group->annotations) {
            addProcessOf(name, inUse.ids);
        }
    }
    std::sort(inUse.ids.begin(), inUse.ids.end());
    throw inUse;
}

void CSnapshotCreation::refuseDevice(const std::string& path, const std::string& reason)
{
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
    const KnownPaths knownPaths = inspectedPaths(m_context.chosenProvider(), m_context.timeout);
    for (const std::string& given : m_request.devices) {
        stopPoint();
        m_context.progress.step("set up " + given);
        const auto [path, offer] = offerByAnyName(*m_tree, given, knownPaths);
        if (!offer.claimed) refuseDevice(given, offer.reason);
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
        device.state.checkPointName = m_record.checkpoint;
        device.target = naming::targetDevice(m_record.provider, offer.serial, m_record.checkpoint);
        device.made = EMade::UNKNOWN;
        m_record.devices.push_back(std::move(device));
        m_nodes.push_back(&node);
    }
}

// Before anything is made: which names are there, and whether each LUN is where the provider finds it.
void CSnapshotCreation::lookBefore()
{
    m_context.progress.step("look at the groups");
    m_knowledge.emplace(m_context.chosenProvider(), m_context.timeout, m_record.groups());
    // All groups: a LUN may stand in another one, too.
    const SInspection* const seen = m_knowledge->lookAtInventory();
    stopPoint();
    if (seen == nullptr) {
        m_knowledge->warnUnguarded(
            "whether the devices are ambiguous and checkpoint " + m_record.checkpoint + " is in use already",
            m_knowledge->why());
        return;
    }
    requireUnambiguous(*seen);
    requireFreeName(*seen);
}

void CSnapshotCreation::requireUnambiguous(const SInspection& seen) const
{
    for (const SDevice& device : m_record.devices) {
        const std::string& serial = device.state.serialNo;
        std::string reason;
        for (const SAmbiguousLun& lun : seen.ambiguous) {
            if (lun.serial == serial) reason = printable(lun.reason);
        }
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

void CSnapshotCreation::requireFreeName(const SInspection& seen)
{
    for (const GroupKey& key : m_record.groups()) {
        const EThere there = seen.hasCheckpoint(key, m_record.checkpoint);
        if (there == EThere::YES) goOnElsewhere(&seen);
        if (there == EThere::NO) continue;
        m_knowledge->warnUnguarded(
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
    CSnapshotMaker maker(*m_provider, m_context.progress, "fictl-" + m_request.name, m_nodes);
    try {
        return maker.run({m_request.hooks, m_request.name, m_request.devices}, recordIntent);
    } catch (const EFictl&) {
        // Nothing was asked of the appliance, so there is nothing to remember.
        if (recorded) m_catalog.remove(m_request.name);
        throw;
    }
}

void CSnapshotCreation::markDevices(const SMakeResult& made)
{
    for (size_t i = 0; i < m_record.devices.size(); ++i) {
        SDevice& device = m_record.devices[i];
        if (!made.made.contains(device.node)) continue;
        device.made = EMade::YES;
        const auto target = made.targets.find(device.node);
        if (target != made.targets.end()) device.target = target->second;
        try {
            device.state = m_nodes[i]->state();
        } catch (const EFictl& error) {
            // The copy is there and the record written before it names it well enough.
            CProgress::warn(error.what());
        }
    }
}

// A provider makes the groups' checkpoints in order and stops at the first that fails: whether the appliance made that
// one after all is not known, later ones were never asked for. A name that is taken is another snapshot's checkpoint,
// which must never be disposed of here.
void CSnapshotCreation::markUnanswered(const SMakeResult& made)
{
    std::set<GroupKey> missing;
    for (const SDevice& device : m_record.devices) {
        if (device.made != EMade::YES) missing.insert(device.group());
    }
    const bool isInOrder = made.status != OBZ_OK && !missing.empty();
    for (SDevice& device : m_record.devices) {
        if (device.made == EMade::YES) continue;
        const bool wasAsked = !isInOrder || device.group() == *missing.begin();
        device.made = wasAsked && !saysAlreadyThere(made.report) ? EMade::UNKNOWN : EMade::NO;
    }
}

// What is on the appliances counts for more than what the provider says of it.
void CSnapshotCreation::lookAfter(const SMakeResult& made)
{
    const bool hadLook = m_knowledge->seen() != nullptr;
    markUnanswered(made);
    if (!hadLook) return;
    m_context.progress.step("look whether the checkpoints are there");
    const SInspection* const seen = m_knowledge->lookToSettle();
    for (const GroupKey& key : m_record.groups()) {
        const EThere there = seen == nullptr ? EThere::UNKNOWN : seen->hasCheckpoint(key, m_record.checkpoint);
        const std::vector<SDevice*> devices = m_record.devicesOf(key);
        if (there == EThere::UNKNOWN) {
            m_knowledge->warnUnguarded("whether group " + groupText(key) + " has checkpoint " + m_record.checkpoint,
                                       seen == nullptr ? m_knowledge->why() : seen->doubt(key));
        }
        if (there != EThere::NO) continue;
        if (devices.front()->made == EMade::YES) {
            m_contradiction += (m_contradiction.empty() ? "" : ", ") + groupText(key);
        }
        for (SDevice* device : devices) {
            device->made = EMade::NO;
        }
    }
}

void CSnapshotCreation::settle(const SMakeResult& made)
{
    m_context.progress.step("record");
    markDevices(made);
    lookAfter(made);
    m_record.thaw = made.thawFailure.empty() ? "" : m_request.hooks.thaw;
    const auto isMade = [](const SDevice& device) { return device.made == EMade::YES; };
    const bool isAll = std::all_of(m_record.devices.begin(), m_record.devices.end(), isMade);
    if (made.status == OBZ_OK && isAll && made.cutShort.empty()) {
        m_record.state = EState::COMPLETE;
        if (!made.thawFailure.empty()) m_record.message = "thaw command failed: " + made.thawFailure;
        m_catalog.update(m_record);
        return;
    }
    if (std::none_of(m_record.devices.begin(), m_record.devices.end(), isMade)) nothingMade(made);
    partlyMade(made);
}

void CSnapshotCreation::nothingMade(const SMakeResult& made)
{
    const std::string thaw = made.thawFailure.empty() ? "" : "; the thaw command failed: " + made.thawFailure;
    const bool isCutShort = !made.cutShort.empty();
    m_record.state = EState::FAILED;
    m_record.message =
        (isCutShort                ? made.cutShort
         : m_contradiction.empty() ? "the provider made no checkpoint (status " + std::to_string(made.status) + ")"
                                   : "the provider reported checkpoint " + m_record.checkpoint +
                                         " as made, but it is not in group " + m_contradiction) +
        thaw;
    m_catalog.update(m_record);
    // The nodes go first: disposal sets up nodes of the same names.
    m_nodes.clear();
    m_tree.reset();
    bool isClean = true;
    for (const GroupKey& key : m_record.groupsToDispose()) {
        isClean = keepsNothing(key) && isClean;
    }
    if (isClean) m_catalog.remove(m_record.name);
    const std::string kept = isClean ? "; nothing is left on the appliance and nothing was recorded"
                                     : "; whether the appliance made one is not known, so the record stays";
    const bool isTaken = saysAlreadyThere(made.report);
    const std::string mend = isCutShort ? made.cutShortNext
                             : isTaken  ? "run the command again: another process id gives another checkpoint"
                                        : "mend what the appliance reports, then run the command again";
    throw EFictl(isCutShort ? made.cutShortExit : EExit::FAILED, quotedName() + ": " + m_record.message + kept,
                 isClean ? mend : "fictl snapshot delete " + m_record.name)
        .withReport(made.report);
}

bool CSnapshotCreation::keepsNothing(const GroupKey& group)
{
    // Who stops fictl is not made to wait for an appliance that has just not answered.
    const SInspection* const seen = m_knowledge->seen();
    const bool isSilent = m_knowledge->inspector().isThere() && (seen == nullptr || !seen->doubt(group).empty());
    if (stopRequested() && isSilent) return false;
    m_context.progress.step("make sure that group " + groupText(group) + " keeps no checkpoint");
    return disposeGroup(*m_provider, *m_knowledge, *m_record.devicesOf(group).front()).confirmed;
}

void CSnapshotCreation::partlyMade(const SMakeResult& made)
{
    std::string yes;
    std::string no;
    for (const GroupKey& key : m_record.groups()) {
        const bool isMade =
            std::any_of(m_record.devices.begin(), m_record.devices.end(),
                        [&key](const SDevice& device) { return device.group() == key && device.made == EMade::YES; });
        std::string& list = isMade ? yes : no;
        list += (list.empty() ? "" : ", ") + groupText(key);
    }
    m_record.state = EState::PARTIAL;
    const bool isCutShort = !made.cutShort.empty();
    m_record.message = (isCutShort ? made.cutShort + "; " : "") + "made: group " + yes;
    if (!no.empty()) m_record.message += "; not made: group " + no;
    if (!m_contradiction.empty()) m_record.message += "; the provider says otherwise of group " + m_contradiction;
    if (!made.thawFailure.empty()) m_record.message += "; thaw command failed: " + made.thawFailure;
    m_catalog.update(m_record);
    throw EFictl(isCutShort ? made.cutShortExit : EExit::PARTIAL,
                 quotedName() + " is partial (status " + std::to_string(made.status) + "): " + m_record.message,
                 "fictl snapshot delete " + m_record.name)
        .withReport(made.report)
        .about(m_record.name);
}

SResult CSnapshotCreation::result(const SMakeResult& made) const
{
    if (!made.thawFailure.empty()) {
        throw EFictl(EExit::HOOK,
                     quotedName() + " is complete, but the thaw command failed: " + made.thawFailure +
                         "; the application may still be frozen",
                     "thaw the application by hand")
            .about(m_record.name);
    }
    json document = snapshotJson(m_record);
    document["frozen_seconds"] = made.frozenSeconds;
    std::string text = quotedName() + " is complete: checkpoint " + m_record.checkpoint + " of " +
                       counted(m_record.devices.size(), "device") + " in " +
                       counted(m_record.groups().size(), "group") + "\n";
    if (made.frozenSeconds > 0) text += "the application was frozen for " + secondsText(made.frozenSeconds) + "\n";
    return {{{"snapshot", std::move(document)}}, text};
}

}  // namespace

SResult createSnapshot(const SContext& context, const SCreateRequest& request)
{
    requireSnapshotName(request.name);
    requireDevices(request.devices);
    if (request.hooks.freeze.empty() != request.hooks.thaw.empty()) {
        throw EFictl(EExit::USAGE, "--freeze and --thaw belong together", "give both, or neither");
    }
    SNameInUse inUse;
    try {
        const CGuardian guardian;
        return CSnapshotCreation(context, request).run();
    } catch (const SNameInUse& found) {
        inUse = found;
    }
    context.progress.step("go on in another process: the name of this one's checkpoint is in use");
    throw SEndedElsewhere{runInAnotherProcess(inUse.ids)};
}

}  // namespace fictl
