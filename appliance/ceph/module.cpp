// The engine ceph as a module: everything that links the libraries of a cluster.
#include <unistd.h>

#include <cstdio>

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
struct SProcessCatalog
{
    explicit SProcessCatalog(const SEngineSetup& setup) : settings(readCephSettings(setup)) {}

    const SCephSettings settings;
    CCephCluster cluster{settings.cluster};
    const CFenceWatch watch{settings.cluster, *settings.catalog};
};

std::unique_ptr<SProcessCatalog> g_catalog;

std::string prepareCatalog(const SEngineSetup& setup)
{
    if (g_catalog == nullptr) g_catalog = std::make_unique<SProcessCatalog>(setup);
    return catalogName(g_catalog->cluster, *g_catalog->settings.catalog);
}

// No handler of an exiting process is run. That of the cryptography takes away what the threads of each client of the
// cluster use, and was seen to crash them; a handler is also all that would end the client of libcephsqlite.
void endProcess(int status)
{
    g_catalog.reset();
    endLibraryClient();
    std::fflush(nullptr);
    ::_exit(status);
}

}  // namespace

}  // namespace lumora

extern "C" {
__attribute__((visibility("default"))) extern const lumora::SEngineModule LUMORA_ENGINE_MODULE;
const lumora::SEngineModule LUMORA_ENGINE_MODULE = {lumora::ENGINE_MODULE_VERSION, lumora::makeCephEngine,
                                                    lumora::prepareCatalog, lumora::endProcess};
}
