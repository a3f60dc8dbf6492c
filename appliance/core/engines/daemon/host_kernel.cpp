#include "appliance/core/engines/daemon/host_kernel.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/file_io.h"
#include "base/file_read.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr size_t LONGEST = 4096;
constexpr uint64_t SECTOR = 512;  // of all sizes in /sys, whatever the device's own sectors are

}  // namespace

std::string kernelLine(const fs::path& file)
{
    const base::SFileText read = base::readFile(file.string(), LONGEST);
    return read.text.substr(0, read.text.find('\n'));
}

std::optional<uint64_t> blockDeviceSize(const SHostKernel& kernel, const std::string& device)
{
    const std::string line = kernelLine(kernel.sys / "block" / device / "size");
    uint64_t sectors = 0;
    const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), sectors);
    if (error != std::errc() || rest != line.data() + line.size() || sectors == 0) return std::nullopt;
    return sectors * SECTOR;
}

bool isDeviceOf(const std::string& driver, const std::string& name)
{
    return name.size() > driver.size() && name.starts_with(driver) &&
           std::all_of(name.begin() + static_cast<ptrdiff_t>(driver.size()), name.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

std::string linkedDevice(const SHostKernel& kernel, const fs::path& path, const std::string& driver)
{
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    if (error || target.parent_path() != kernel.dev) return "";
    return isDeviceOf(driver, target.filename().string()) ? target.filename().string() : "";
}

void linkDevice(const SHostKernel& kernel, const std::string& device, const fs::path& path, const fs::path& folder)
{
    makeFolder(path.parent_path());
    const fs::path link = folder / "link";
    ::unlink(link.c_str());  // whoever was killed here left it
    if (::symlink((kernel.dev / device).c_str(), link.c_str()) != 0) throwStorage("create link", link.string(), errno);
    if (::rename(link.c_str(), path.c_str()) != 0) throwStorage("replace", path.string(), errno);
}

void unlinkDevice(const SHostKernel& kernel, const fs::path& path, const std::string& driver)
{
    if (linkedDevice(kernel, path, driver).empty()) return;
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) throwStorage("remove", path.string(), errno);
}

}  // namespace lumora
