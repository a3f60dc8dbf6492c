#include "bench/workflow/host_program.h"

#include <dlfcn.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "framework/include/obzx_runtime.h"

namespace bench {

CHostProgram::CHostProgram(const std::string& library)
{
    // Never unloaded: the process ends with the measurement.
    void* const loaded = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr) throw std::runtime_error(dlerror());
    const auto find = [loaded](const char* op) {
        void* const address = dlsym(loaded, (std::string("cdpfi_fi_pgn_") + op).c_str());
        need(address != nullptr, op);
        return address;
    };
#define BENCH_LOOK_UP(op) m_calls.op = reinterpret_cast<obzx_fi_##op##_fn*>(find(#op));
    OBZX_FI_ENTRY_POINTS(BENCH_LOOK_UP)
#undef BENCH_LOOK_UP
}

void CHostProgram::init() const
{
    static obz_context context{};
    obz_version version{};
    need(m_calls.init(&context, &version, nullptr) == OBZ_OK, "init");
}

void need(bool condition, const char* what)
{
    if (!condition) throw std::runtime_error(std::string("failed: ") + what);
}

std::vector<SDisk> readDisks(const std::string& site)
{
    std::ifstream file(site + "/disks");
    std::vector<SDisk> disks;
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        SDisk disk;
        std::getline(fields, disk.path, '\t');
        std::getline(fields, disk.serial, '\t');
        std::getline(fields, disk.group, '\t');
        disks.push_back(disk);
    }
    need(!disks.empty(), "the site's list of disks");
    return disks;
}

}  // namespace bench
