#include "host/src/snapshot/disposal.h"

#include "host/src/provider/naming.h"
#include "host/src/provider/node.h"

namespace fictl {

namespace {

// Whether one of the two is left.
EThere leftOf(const SInspection& seen, const GroupKey& group, const std::string& image, const std::string& checkpoint)
{
    const EThere ofImage = seen.hasImage(group, image);
    const EThere ofCheckpoint = seen.hasCheckpoint(group, checkpoint);
    if (ofImage == EThere::YES || ofCheckpoint == EThere::YES) return EThere::YES;
    return ofImage == EThere::NO && ofCheckpoint == EThere::NO ? EThere::NO : EThere::UNKNOWN;
}

}  // namespace

SDisposal disposeGroup(CProvider& provider, CKnowledge& knowledge, const SDevice& device)
{
    SNodeState state = device.state;
    state.timeImage = naming::imageOfCheckpoint(state.checkPointName);
    CNode primary(provider, device.node);
    primary.setState(state);
    // A name without the provider's prefix: the objects are then those that the states name.
    CNode target(provider, state.timeImage);
    target.setState(state);
    provider.forgetReport();
    SDisposal disposal;
    disposal.status = provider.call().dispose(primary.record(), target.record(), nullptr, OBZ_DISP_REMOVE);
    disposal.report = provider.takeReport();
    // A provider that runs no programs tells the outcome by its status.
    disposal.confirmed = disposal.status == OBZ_OK &&
                         (provider.countRuns() == 0 || confirmsDeletion(disposal.report, state.applianceName,
                                                                        state.consistencyGroup, state.checkPointName));
    if (disposal.confirmed) return disposal;
    if (const SInspection* const seen = knowledge.lookToSettle()) {
        disposal.confirmed = leftOf(*seen, device.group(), state.timeImage, state.checkPointName) == EThere::NO;
    }
    return disposal;
}

}  // namespace fictl
