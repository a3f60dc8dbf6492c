#include "framework/src/system/folder_names.h"

#include <dirent.h>

#include <memory>

namespace obzx_pdk_4_4 {

namespace {

struct SCloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

}  // namespace

std::vector<std::string> folderNames(const std::string& folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, SCloseFolder> listing(::opendir(folder.c_str()));
    if (listing == nullptr) return names;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): unsafe only where threads share a stream; this one is the call's own
    while (const dirent* const entry = ::readdir(listing.get())) {
        names.emplace_back(entry->d_name);
    }
    return names;
}

}  // namespace obzx_pdk_4_4
