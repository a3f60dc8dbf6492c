#include "host/src/provider/node_tree.h"

#include "framework/include/obzx_runtime.h"
#include "host/src/output/error.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/usable_names.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string nameOf(const obzx_objid* identity)
{
    return identity == nullptr || identity->name == nullptr ? std::string() : identity->name;
}

// The identities of one interpose call, freed together.
struct SInterposed
{
    obzx_objid* identity = nullptr;
    obzx_objid** groups = nullptr;
    int32_t groupCount = 0;

    SInterposed() = default;
    SInterposed(const SInterposed&) = delete;
    SInterposed& operator=(const SInterposed&) = delete;
    ~SInterposed()
    {
        obzx_free_objid(identity);
        if (groups != nullptr) obzx_free_objid_array(groups, groupCount);
    }
};

bool claims(CProvider& provider, obzx_objid* identity)
{
    obzx_objid** secondaries = nullptr;
    int32_t count = 0;
    const int32_t result = provider.call().claim(identity, &secondaries, &count);
    if (secondaries != nullptr) obzx_free_objid_array(secondaries, count);
    return result == OBZ_CLAIM_SECONDARY;
}

SOffer notClaimed(const std::string& reason, const std::string& next = {})
{
    SOffer offer;
    offer.reason = reason;
    offer.next = next;
    return offer;
}

std::optional<SNameProblem> findNameProblem(const std::string& provider, const SOffer& offer)
{
    for (const std::string& group : offer.groups) {
        if (auto problem = findNameProblem(provider, ENamed::GROUP, group)) return problem;
    }
    return findNameProblem(provider, ENamed::SERIAL, offer.serial);
}

}  // namespace

CNodeTree::~CNodeTree()
{
    // Devices first: they need what the provider keeps of their groups.
    m_devices.clear();
    m_groups.clear();
}

SOffer CNodeTree::offer(const std::string& device)
{
    CNode offered(m_provider, device);
    SInterposed answer;
    if (m_provider.call().interpose(offered.record(), &answer.identity, &answer.groups, &answer.groupCount) != 1) {
        return notClaimed("no appliance protects it");
    }
    if (!claims(m_provider, answer.identity)) return notClaimed("the provider does not claim it");
    SOffer offer;
    offer.node = nameOf(answer.identity);
    offer.serial = naming::serialOfNode(m_provider.name(), offer.node);
    for (int32_t i = 0; answer.groups != nullptr && i < answer.groupCount; ++i) {
        offer.groups.push_back(nameOf(answer.groups[i]));
    }
    if (offer.serial.empty() || offer.groups.empty()) {
        throw EFictl(EExit::FAILED, "device " + printable(device) + ": the provider's node \"" + printable(offer.node) +
                                        "\" has no serial or no group")
            .withReport(m_provider.takeReport());
    }
    if (const auto problem = findNameProblem(m_provider.name(), offer)) {
        return notClaimed(problem->reason, problem->next);
    }
    CNode node(m_provider, offer.node);
    if (m_provider.call().supports_fitype(node.record(), "any") != 1) {
        return notClaimed("the provider has no snapshot method for it");
    }
    offer.claimed = true;
    return offer;
}

void CNodeTree::initNode(CNode& node, const std::string& what)
{
    const int32_t status = node.init();
    if (status == OBZ_OK && node.record()->name != nullptr) return;
    throw EFictl(
        EExit::FAILED,
        what + " \"" + printable(node.name()) + "\" could not be set up (status " + std::to_string(status) + ")",
        "fictl device list shows what the provider serves")
        .withReport(m_provider.takeReport());
}

CNode& CNodeTree::add(const SOffer& offer)
{
    for (const std::string& group : offer.groups) {
        std::unique_ptr<CNode>& node = m_groups[group];
        if (node) continue;
        node = std::make_unique<CNode>(m_provider, group);
        initNode(*node, "consistency group");
    }
    m_devices.push_back(std::make_unique<CNode>(m_provider, offer.node));
    initNode(*m_devices.back(), "node");
    return *m_devices.back();
}

}  // namespace fictl
