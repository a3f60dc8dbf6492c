#include "appliance/lmadm/session.h"

#include <nlohmann/json.hpp>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"

namespace lumora {

CSession::CSession(const SOptions& options, CStore::EMode mode)
    : m_options(options), m_store(options.store, mode), m_inventory(m_store)
{
}

SAppliance CSession::appliance()
{
    if (!m_options.appliance.empty()) return m_inventory.appliance(m_options.appliance);
    const std::vector<SAppliance> all = m_inventory.appliances();
    if (all.empty()) {
        throw EApplianceError(EStatus::MISSING, "an appliance does not exist in the store", EObject::APPLIANCE);
    }
    if (all.size() > 1) {
        std::string names;
        for (const SAppliance& each : all) {
            names += (names.empty() ? "" : ", ") + each.name;
        }
        throw EApplianceError(EStatus::MALFORMED,
                              "the store holds several appliances (" + names + "); choose one with --appliance NAME");
    }
    return all.front();
}

Json CSession::describe(const SAppliance& appliance)
{
    return {{"name", appliance.name}, {"created", appliance.created}};
}

Json CSession::describe(const SAppliance& appliance, const SLun& lun) const
{
    return {{"name", lun.name},
            {"group", lun.group},
            {"size", formatSize(lun.size)},
            {"bytes", lun.size},
            {"serial", lun.serial},
            {"device", m_store.layout().lun(appliance.name, lun.name).string()}};
}

Json CSession::describe(const SGroup& group)
{
    return {{"name", group.name},
            {"luns", group.luns},
            {"annotations", group.annotations},
            {"time_images", group.timeImages}};
}

}  // namespace lumora
