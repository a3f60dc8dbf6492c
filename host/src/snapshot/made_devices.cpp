#include "host/src/snapshot/made_devices.h"

#include "host/src/output/error.h"
#include "host/src/provider/node.h"

namespace fictl {

namespace {

void markMade(SSnapshot& record, const std::vector<CNode*>& nodes, const SMakeResult& made)
{
    for (size_t i = 0; i < record.devices.size(); ++i) {
        SDevice& device = record.devices[i];
        if (!made.made.contains(device.node)) continue;
        device.made = EMade::YES;
        const auto target = made.targets.find(device.node);
        if (target != made.targets.end()) device.target = target->second;
        try {
            device.state = nodes[i]->state();
        } catch (const EFictl& error) {
            // The copy is there, and the state that was recorded before make names it well enough.
            CProgress::warn(error.what());
        }
    }
}

// Whether the appliance made the checkpoint of a group after all is not known, unless it was never asked. A name that
// is taken is another snapshot's checkpoint, which must never be disposed of here.
void markUnanswered(SSnapshot& record, const SMakeResult& made)
{
    for (SDevice& device : record.devices) {
        if (device.made == EMade::YES) continue;
        const SGroupMade& group = made.groups.at(device.group());
        device.made = group.wasAsked && !saysAlreadyThere(group.report) ? EMade::UNKNOWN : EMade::NO;
    }
}

void enterTime(const std::vector<SDevice*>& devices, const std::string& time)
{
    for (SDevice* const device : devices) {
        device->madeAt = time;
    }
}

}  // namespace

void enterMade(SSnapshot& record, const std::vector<CNode*>& nodes, const SMakeResult& made)
{
    markMade(record, nodes, made);
    markUnanswered(record, made);
}

void enterCheckpointTimes(SSnapshot& record, const SInspection& seen)
{
    for (const GroupKey& key : record.groups()) {
        enterTime(record.devicesOf(key), seen.checkpointTime(key, record.checkpoint));
    }
}

std::string compareWithAppliances(SSnapshot& record, CKnowledge& knowledge)
{
    std::string contradiction;
    const SInspection* const seen = knowledge.lookForCheckpoints();
    for (const GroupKey& key : record.groups()) {
        const EThere there = seen == nullptr ? EThere::UNKNOWN : seen->hasCheckpoint(key, record.checkpoint);
        if (there == EThere::UNKNOWN) {
            knowledge.warnUnguarded("whether group " + groupText(key) + " has checkpoint " + record.checkpoint,
                                    knowledge.doubt(key));
        }
        const std::vector<SDevice*> devices = record.devicesOf(key);
        if (there == EThere::YES) enterTime(devices, seen->checkpointTime(key, record.checkpoint));
        if (there != EThere::NO) continue;
        if (devices.front()->made == EMade::YES) contradiction += (contradiction.empty() ? "" : ", ") + groupText(key);
        for (SDevice* const device : devices) {
            device->made = EMade::NO;
        }
    }
    return contradiction;
}

}  // namespace fictl
