// The engine ceph as a module: everything that links the libraries of a cluster.
#include "appliance/ceph/ceph_catalog.h"
#include "appliance/ceph/ceph_engine.h"
#include "appliance/core/engines/table/engine_module.h"

namespace lumora {

namespace {

std::unique_ptr<CBaseStorageEngine> makeCephEngine(const SEngineSetup& setup, const SApplianceHome& home)
{
    return std::make_unique<CCephEngine>(setup, home.folder);
}

// One catalog in a process: the watch lasts as long as it.
std::string prepareCatalog(const SEngineSetup& setup)
{
    static const SCephSettings settings = readCephSettings(setup);
    static CCephCluster cluster(settings.cluster);
    static const CFenceWatch watch(settings.cluster, *settings.catalog);
    return catalogName(cluster, *settings.catalog);
}

}  // namespace

}  // namespace lumora

extern "C" {
__attribute__((visibility("default"))) extern const lumora::SEngineModule lumoraEngineModule;
const lumora::SEngineModule lumoraEngineModule = {lumora::ENGINE_MODULE_VERSION, lumora::makeCephEngine,
                                                  lumora::prepareCatalog};
}
