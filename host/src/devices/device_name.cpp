#include "host/src/devices/device_name.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fictl {

namespace {

namespace fs = std::filesystem;

// The kernel tells the name of each block device that it has, below /dev.
std::string kernelNode(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISBLK(status.st_mode)) return {};
    std::ifstream event("/sys/dev/block/" + std::to_string(major(status.st_rdev)) + ":" +
                        std::to_string(minor(status.st_rdev)) + "/uevent");
    constexpr std::string_view NAME = "DEVNAME=";
    for (std::string line; std::getline(event, line);) {
        if (!line.starts_with(NAME)) continue;
        std::string node = "/dev/" + line.substr(NAME.size());
        // In a container the folder may hold other devices than the kernel names.
        return identifyDevice(node) == identifyDevice(path) ? node : std::string();
    }
    return {};
}

void addOnce(std::vector<std::string>& names, const std::string& name)
{
    if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

}  // namespace

std::optional<SDeviceIdentity> identifyDevice(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    const uint32_t kind = status.st_mode & S_IFMT;
    if (S_ISBLK(status.st_mode) || S_ISCHR(status.st_mode)) return SDeviceIdentity{kind, 0, status.st_rdev};
    return SDeviceIdentity{kind, status.st_dev, status.st_ino};
}

std::vector<std::string> localNames(const std::string& given)
{
    std::vector<std::string> names;
    std::error_code error;
    const bool isAbsolute = given.starts_with('/');
    addOnce(names, isAbsolute ? given : (fs::current_path(error) / given).lexically_normal().string());
    addOnce(names, fs::canonical(given, error).string());
    addOnce(names, kernelNode(given));
    return names;
}

std::optional<std::string> resolveDevice(
    const std::string& given, const std::set<std::string>& knownPaths,
    const std::function<std::optional<SDeviceIdentity>(const std::string&)>& identify)
{
    if (knownPaths.contains(given)) return given;
    const std::optional<SDeviceIdentity> wanted = identify(given);
    if (!wanted) return std::nullopt;
    for (const std::string& path : knownPaths) {
        if (identify(path) == wanted) return path;
    }
    return std::nullopt;
}

}  // namespace fictl
