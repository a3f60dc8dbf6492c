#include "host/src/snapshot/importer.h"

#include "host/src/output/error.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/node.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

[[noreturn]] void fail(CProvider& provider, const SDevice& device, const std::string& what, int32_t status)
{
    throw EFictl(EExit::FAILED,
                 "device " + printable(device.source) + ": " + what + " (status " + std::to_string(status) + ")")
        .withReport(provider.takeReport());
}

std::string serialOf(CNode& target)
{
    try {
        return target.state().serialNo;
    } catch (const EFictl&) {
        return {};
    }
}

}  // namespace

void CImporter::makeImage(const SDevice& device)
{
    const CProvider::COwnReport own(m_provider);
    CNode primary(m_provider, device.node);
    CNode target(m_provider, device.target);
    SNodeState state = device.state;
    state.timeImage.clear();
    primary.setState(state);
    target.attach();
    const int32_t status = m_provider.call().init_altnode(primary.record(), nullptr, target.record());
    if (status == OBZ_OK) return;
    fail(m_provider, device, "no time image of group " + groupText(device.group()) + " could be made for this host",
         status);
}

CImporter::SCopy CImporter::findCopy(const SDevice& device)
{
    const CProvider::COwnReport own(m_provider);
    CNode primary(m_provider, device.node);
    CNode target(m_provider, device.target);
    SNodeState state = device.state;
    state.timeImage = naming::imageOfCheckpoint(state.checkPointName);
    primary.setState(state);
    target.attach();
    const int32_t status = m_provider.call().init_altnode(primary.record(), nullptr, target.record());
    const std::string path = target.identityName();
    if (status != OBZ_OK || path.empty() || path == device.target) {
        fail(m_provider, device,
             "time image " + state.timeImage + " of group " + groupText(device.group()) + " does not show on this host",
             status);
    }
    return {path, serialOf(target)};
}

}  // namespace fictl
