#include "framework/src/system/library_folder.h"

#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <filesystem>

namespace obzx_pdk_4_4 {
namespace {

const char MARKER = 0;  // its address lies in this library

}  // namespace

std::string libraryFolder()
{
    Dl_info info{};
    if (dladdr(&MARKER, &info) == 0 || info.dli_fname == nullptr) return {};
    // The loader may have been given a relative path or a link to the library. No memory is asked for: what is found
    // here may be kept for the life of the process.
    char library[PATH_MAX];
    if (::realpath(info.dli_fname, library) == nullptr) return {};
    return std::filesystem::path(library).parent_path().string();
}

}  // namespace obzx_pdk_4_4
