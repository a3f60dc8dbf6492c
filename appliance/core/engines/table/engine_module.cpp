#include "appliance/core/engines/table/engine_module.h"

#include <dlfcn.h>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/tool.h"
#include "base/process_stat.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void refuse(const std::string& engine, const std::string& why)
{
    throw EApplianceError(EStatus::UNUSABLE, "engine " + inQuotes(engine) + " cannot be used: " + why);
}

// The loader begins with the name of the library that it did not find.
std::string packageOf(const std::string& reason)
{
    for (const std::string library : {"librbd", "librados"}) {
        if (reason.find(library + ".so") != std::string::npos) return "; install the package " + library + "1";
    }
    return "; build it where the packages librbd-dev and librados-dev are installed";
}

const SEngineModule& load(const std::string& engine)
{
    const fs::path folder = base::thisProgram().parent_path();
    const fs::path file = (folder / ".." / CDPFI_ENGINE_DIR / ("engine-" + engine + ".so")).lexically_normal();
    void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const said = ::dlerror();  // NOLINT(concurrency-mt-unsafe): one thread loads
        const std::string reason = said == nullptr ? "unknown" : said;
        refuse(engine, reason + packageOf(reason));
    }
    const auto* const module = static_cast<const SEngineModule*>(::dlsym(library, ENGINE_MODULE_SYMBOL));
    if (module == nullptr || module->version != ENGINE_MODULE_VERSION) {
        refuse(engine, file.string() + " is not of this build");
    }
    setToolEnd(module->end);
    return *module;
}

}  // namespace

const SEngineModule& cephModule()
{
    static const SEngineModule& module = load("ceph");
    return module;
}

}  // namespace lumora
