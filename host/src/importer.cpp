#include "host/src/importer.h"

#include "host/src/error.h"
#include "host/src/names.h"
#include "host/src/naming.h"
#include "host/src/node.h"

namespace fictl {

namespace {

[[noreturn]] void fail(CProvider& provider, const SDevice& device, const std::string& what, int32_t status)
{
    throw EFictl(EExit::FAILED,
                 "device " + printable(device.source) + ": " + what + " (status " + std::to_string(status) + ")")
        .withReport(provider.takeReport());
}

}  // namespace

std::string CImporter::import(const SDevice& device, bool& imageMade)
{
    m_provider.forgetReport();
    CNode primary(m_provider, device.node);
    CNode target(m_provider, device.target);
    SNodeState state = device.state;
    state.timeImage.clear();
    primary.setState(state);
    target.attach();
    int32_t status = m_provider.call().init_altnode(primary.record(), nullptr, target.record());
    imageMade = status == OBZ_OK;
    const std::string group = groupText(device.group());
    if (!imageMade)
        fail(m_provider, device, "no time image of group " + group + " could be made for this host", status);

    state.timeImage = naming::imageOfCheckpoint(state.checkPointName);
    primary.setState(state);
    status = m_provider.call().init_altnode(primary.record(), nullptr, target.record());
    std::string path = target.identityName();
    if (status != OBZ_OK || path.empty() || path == device.target) {
        fail(m_provider, device, "time image " + state.timeImage + " of group " + group + " does not show on this host",
             status);
    }
    return path;
}

}  // namespace fictl
