#include "host/src/snapshot/disposal.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <vector>

#include "base/side_by_side.h"
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

/// Deletes what one group has, and judges by what was run for that.
SDisposal dispose(CProvider& provider, const SDevice& device, EImageDisposal image)
{
    const CProvider::COwnReport own(provider);
    SNodeState state = device.state;
    state.timeImage = image == EImageDisposal::DELETE ? naming::imageOfCheckpoint(state.checkPointName)
                                                      : naming::absentImageOfCheckpoint(state.checkPointName);
    CNode primary(provider, device.node);
    primary.setState(state);
    // A name without the provider's prefix: the objects are then those that the states name. It tells the groups apart,
    // because a provider may keep one state for all nodes of one name.
    CNode target(provider, state.timeImage + "." + state.serialNo);
    target.setState(state);
    SDisposal disposal;
    disposal.status = provider.call().dispose(primary.record(), target.record(), nullptr, OBZ_DISP_REMOVE);
    disposal.report = provider.takeReport();
    // A provider that runs no programs tells the outcome by its status.
    disposal.confirmed = disposal.status == OBZ_OK &&
                         (provider.countRuns() == 0 || confirmsDeletion(disposal.report, state.applianceName,
                                                                        state.consistencyGroup, state.checkPointName));
    return disposal;
}

/// The groups of one call, side by side.
class CDisposals
{
  public:
    CDisposals(CProvider& provider, const SDisposalSteps& steps) : m_provider(provider), m_steps(steps) {}

    void run(const SSnapshot& snapshot, const DisposalGroups& groups, size_t atOnce);
    void settle(const SSnapshot& snapshot, CKnowledge& knowledge);
    std::map<GroupKey, SDisposal> take() { return std::move(m_done); }

  private:
    void begin(const GroupKey& group);
    void enter(const GroupKey& group, SDisposal disposal);

    CProvider& m_provider;
    const SDisposalSteps& m_steps;
    std::mutex m_lock;  // guards what is done, and is held during each step
    std::map<GroupKey, SDisposal> m_done;
};

void CDisposals::begin(const GroupKey& group)
{
    const std::lock_guard guard(m_lock);
    m_steps.begin(group);
}

void CDisposals::enter(const GroupKey& group, SDisposal disposal)
{
    const std::lock_guard guard(m_lock);
    const bool isConfirmed = disposal.confirmed;
    m_done[group] = std::move(disposal);
    if (isConfirmed && m_steps.confirmed) m_steps.confirmed(group);
}

void CDisposals::run(const SSnapshot& snapshot, const DisposalGroups& groups, size_t atOnce)
{
    std::vector<base::CSideBySide::Task> tasks;
    for (const auto& [group, image] : groups) {
        tasks.emplace_back([this, &snapshot, &group = group, image = image] {
            begin(group);
            enter(group, dispose(m_provider, *snapshot.devicesOf(group).front(), image));
        });
    }
    base::runSideBySide(std::move(tasks), atOnce);
}

// One look serves all that the appliance's answers did not confirm.
void CDisposals::settle(const SSnapshot& snapshot, CKnowledge& knowledge)
{
    const bool isAll =
        std::all_of(m_done.begin(), m_done.end(), [](const auto& done) { return done.second.confirmed; });
    const SInspection* const seen = isAll ? nullptr : knowledge.lookToSettle();
    if (seen == nullptr) return;
    for (auto& [group, disposal] : m_done) {
        if (disposal.confirmed) continue;
        const std::string& checkpoint = snapshot.devicesOf(group).front()->state.checkPointName;
        disposal.confirmed = leftOf(*seen, group, naming::imageOfCheckpoint(checkpoint), checkpoint) == EThere::NO;
        if (disposal.confirmed && m_steps.confirmed) m_steps.confirmed(group);
    }
}

}  // namespace

std::map<GroupKey, SDisposal> disposeOfGroups(CProvider& provider, CKnowledge& knowledge, const SSnapshot& snapshot,
                                              const DisposalGroups& groups, const SDisposalSteps& steps)
{
    CDisposals disposals(provider, steps);
    std::exception_ptr failure;
    try {
        disposals.run(snapshot, groups, knowledge.parallel());
    } catch (const EFictl&) {
        failure = std::current_exception();
    }
    disposals.settle(snapshot, knowledge);
    if (failure) std::rethrow_exception(failure);
    return disposals.take();
}

}  // namespace fictl
