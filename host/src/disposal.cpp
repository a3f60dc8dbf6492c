#include "host/src/disposal.h"

#include "host/src/node.h"

namespace fictl {

SDisposal disposeGroup(CProvider& provider, const SDevice& device)
{
    CNode primary(provider, device.node);
    primary.setState(device.state);
    CNode target(provider, device.target);
    provider.forgetReport();
    SDisposal disposal;
    disposal.status = provider.call().dispose(primary.record(), target.record(), nullptr, OBZ_DISP_REMOVE);
    disposal.report = provider.takeReport();
    disposal.confirmed = disposal.status == OBZ_OK && confirmsDeletion(disposal.report);
    return disposal;
}

}  // namespace fictl
