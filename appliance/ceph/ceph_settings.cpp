#include "appliance/ceph/ceph_settings.h"

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

std::string valueOf(const SEngineSetup& setup, const std::string& key, const char* otherwise)
{
    const auto found = setup.settings.find(key);
    return found == setup.settings.end() || found->second.empty() ? otherwise : found->second;
}

[[noreturn]] void refuse(const SEngineSetup& setup, const std::string& key, const std::string& value, const char* why)
{
    throw EApplianceError(EStatus::UNUSABLE, "configuration of store " + setup.store.string() + ": " + key + " " +
                                                 inQuotes(value) + " " + why);
}

std::optional<SCatalogPlace> placeOf(const SEngineSetup& setup, const std::string& value)
{
    if (value.empty()) return std::nullopt;
    const size_t slash = value.find('/');
    if (slash == 0 || slash == std::string::npos || slash + 1 == value.size() ||
        value.find_first_of("/?#%:", slash + 1) != std::string::npos) {
        refuse(setup, "CATALOG", value, "is not POOL/NAME");
    }
    return SCatalogPlace{value.substr(0, slash), value.substr(slash + 1)};
}

}  // namespace

SCephSettings readCephSettings(const SEngineSetup& setup)
{
    SCephSettings settings;
    settings.cluster.configuration = valueOf(setup, "CEPH_CONF", "/etc/ceph/ceph.conf");
    if (!settings.cluster.configuration.is_absolute()) {
        refuse(setup, "CEPH_CONF", settings.cluster.configuration.string(), "is not an absolute path");
    }
    settings.cluster.user = valueOf(setup, "CEPH_USER", "appliance");
    settings.cluster.clients = setup.store / "var/lib/lumora/ceph.clients";
    settings.pool = valueOf(setup, "POOL", "images");
    settings.catalog = placeOf(setup, valueOf(setup, "CATALOG", ""));
    settings.attach = readAttach(setup.store, setup.settings);
    return settings;
}

EAttach attachOfExports(const SEngineSetup& setup)
{
    const EAttach attach = readAttach(setup.store, setup.settings);
    return attach == EAttach::RBD ? EAttach::AUTO : attach;
}

}  // namespace lumora
