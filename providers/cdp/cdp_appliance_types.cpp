// The one place of the plug-in that knows the implementations of appliances (script/layers).
#include "providers/cdp/cdp_appliance_types.h"

#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi {

namespace {

template <class Appliance>
CAppliancePtr create(const CString& name)
{
    return CAppliancePtr(new Appliance(name));
}

constexpr SCDPApplianceType TYPES[] = {
    {LMR_LIST_MARK, create<CLMRAppliance>},
};

}  // namespace

std::span<const SCDPApplianceType> applianceTypes()
{
    return TYPES;
}

}  // namespace cdpfi
