#include "framework/src/messages/catalog_folder.h"

#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <filesystem>

namespace obzx_pdk_4_4 {
namespace {

const char MARKER = 0;  // its address lies in this library

std::string catalogsOfThisLibrary()
{
    Dl_info info{};
    if (dladdr(&MARKER, &info) == 0 || info.dli_fname == nullptr) return {};
    // The loader may have been given a relative path or a link to the library. No memory is asked for: what is found
    // here is kept for the life of the process.
    char library[PATH_MAX];
    if (::realpath(info.dli_fname, library) == nullptr) return {};
    return (std::filesystem::path(library).parent_path() / OBZX_CATALOGS_FROM_LIBRARY).lexically_normal().string();
}

}  // namespace

std::string catalogFolder(const std::string& component)
{
    static const std::string catalogs = catalogsOfThisLibrary();
    const bool isPlain = !component.empty() && component.front() != '.' && component.size() <= 255 &&
                         component.find('/') == std::string::npos && component.find('\0') == std::string::npos;
    if (!isPlain || catalogs.empty()) return {};
    return catalogs + "/" + component;
}

}  // namespace obzx_pdk_4_4
