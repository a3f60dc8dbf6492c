#include "framework/src/messages/catalog_folder.h"

#include <filesystem>

#include "framework/src/system/library_folder.h"

namespace obzx_pdk_4_4 {
namespace {

std::string catalogsOfThisLibrary()
{
    const std::string folder = libraryFolder();
    if (folder.empty()) return {};
    return (std::filesystem::path(folder) / OBZX_CATALOGS_FROM_LIBRARY).lexically_normal().string();
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
