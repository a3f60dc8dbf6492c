#include "providers/cdp/inspect/unlistable_luns.h"

#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"

namespace cdpfi::inspect {

namespace {

std::string reasonFor(const std::string& what, const std::string& name)
{
    const size_t mark = name.find_first_of(IMAGE_LUN_MARKS);
    if (mark == std::string::npos) return {};
    return what + " \"" + name + "\" holds \"" + name[mark] + "\", a mark of the listing of a time image";
}

}  // namespace

std::vector<SUnlistableLun> findUnlistable(const std::vector<SAppliance>& appliances)
{
    std::vector<SUnlistableLun> unlistable;
    for (const SAppliance& appliance : appliances) {
        for (const SGroup& group : appliance.groups) {
            for (const SGroupLun& lun : group.luns) {
                std::string reason = reasonFor("its serial", lun.serial);
                if (reason.empty()) reason = reasonFor("its name on the appliance", lun.device);
                if (!reason.empty()) unlistable.push_back({lun.serial, std::move(reason)});
            }
        }
    }
    return unlistable;
}

}  // namespace cdpfi::inspect
