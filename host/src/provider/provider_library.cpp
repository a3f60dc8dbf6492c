#include "host/src/provider/provider_library.h"

#include <dlfcn.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/process_stat.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* NEXT = "give the provider with --provider NAME or --provider /PATH/libNAME.so";

std::string lastLoaderError()
{
    const char* const text = dlerror();  // NOLINT(concurrency-mt-unsafe): fictl loads on its one thread
    return text == nullptr ? "unknown error" : text;
}

}  // namespace

std::string CProviderLibrary::pathOf(const std::string& nameOrPath)
{
    if (nameOrPath.find('/') != std::string::npos) return nameOrPath;
    const std::filesystem::path program = base::thisProgram();
    if (program.empty()) {
        const std::string reason = std::error_code(errno, std::generic_category()).message();
        throw EFictl(EExit::PROVIDER, "cannot tell where fictl itself lies: " + reason, NEXT);
    }
    return (program.parent_path() / ".." / FICTL_PROVIDER_DIR / ("lib" + nameOrPath + ".so")).lexically_normal();
}

std::string CProviderLibrary::nameOf(const std::string& nameOrPath)
{
    if (nameOrPath.find('/') == std::string::npos) {
        if (isProviderName(nameOrPath)) return nameOrPath;
        throw EFictl(EExit::PROVIDER, "\"" + printable(nameOrPath) + "\" is not the name of a provider", NEXT);
    }
    const std::string file = std::filesystem::path(nameOrPath).filename();
    constexpr std::string_view HEAD = "lib";
    constexpr std::string_view TAIL = ".so";
    if (file.size() > HEAD.size() + TAIL.size() && file.starts_with(HEAD) && file.ends_with(TAIL)) {
        std::string name = file.substr(HEAD.size(), file.size() - HEAD.size() - TAIL.size());
        if (isProviderName(name)) return name;
    }
    throw EFictl(EExit::PROVIDER, "the file name of provider \"" + printable(nameOrPath) + "\" is not lib<name>.so",
                 NEXT);
}

CProviderLibrary::CProviderLibrary(const std::string& nameOrPath)
    : m_name(nameOf(nameOrPath)), m_path(pathOf(nameOrPath))
{
    void* const library = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw EFictl(EExit::PROVIDER, "provider \"" + m_name + "\" cannot be loaded: " + lastLoaderError(), NEXT);
    }
    lookUp(library);
}

void CProviderLibrary::lookUp(void* library)
{
    const auto find = [this, library](const char* op) {
        const std::string symbol = m_name + "_fi_pgn_" + op;
        void* const address = dlsym(library, symbol.c_str());
        if (address == nullptr) {
            throw EFictl(EExit::PROVIDER, "provider \"" + m_name + "\" (" + m_path + ") has no entry point " + symbol,
                         NEXT);
        }
        return address;
    };
#define FICTL_LOOK_UP(op) m_calls.op = reinterpret_cast<obzx_fi_##op##_fn*>(find(#op));
    OBZX_FI_ENTRY_POINTS(FICTL_LOOK_UP)
#undef FICTL_LOOK_UP
}

}  // namespace fictl
