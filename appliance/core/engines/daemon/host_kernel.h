#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace lumora {

/// Where the kernel shows its devices.
struct SHostKernel
{
    std::filesystem::path sys = "/sys";
    std::filesystem::path dev = "/dev";
};

/// The first line of a file of /sys; empty when it is not there.
std::string kernelLine(const std::filesystem::path& file);
/// Bytes of a block device, such as "nbd0"; none while it has no size.
std::optional<uint64_t> blockDeviceSize(const SHostKernel& kernel, const std::string& device);
/// The name of the block device that the link at the path leads to, if it begins with `driver` and goes on with a
/// number; empty for anything else.
std::string linkedDevice(const SHostKernel& kernel, const std::filesystem::path& path, const std::string& driver);
/// Whether the name is `driver` and a number.
bool isDeviceOf(const std::string& driver, const std::string& name);
/// Makes a link to a block device, or replaces what is at the path by it, in one step. `folder`, on the same file
/// system, belongs to the caller alone.
void linkDevice(const SHostKernel& kernel, const std::string& device, const std::filesystem::path& path,
                const std::filesystem::path& folder);
/// Removes a link to a block device of the driver; anything else stays.
void unlinkDevice(const SHostKernel& kernel, const std::filesystem::path& path, const std::string& driver);

}  // namespace lumora
