#include "appliance/core/engines/daemon/rbd_attachment.h"

#include <system_error>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/programs.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr const char* DRIVER = "rbd";
constexpr const char* NO_SNAPSHOT = "-";  // in current_snap, of a device that shows the image itself
constexpr std::chrono::milliseconds LOOK_AGAIN{2};

}  // namespace

CRbdAttachment::CRbdAttachment(SImagePlace place, SHostKernel kernel, std::chrono::milliseconds patience)
    : m_place(std::move(place)), m_kernel(std::move(kernel)), m_patience(patience)
{
}

std::vector<std::string> CRbdAttachment::programs() const
{
    return {"rbd"};
}

bool CRbdAttachment::isAttached(const SHostDevice& device) const
{
    const std::string linked = linkedDevice(m_kernel, device.path, DRIVER);
    return !linked.empty() && shows(linked, device.name) && blockDeviceSize(m_kernel, linked) == device.size;
}

void CRbdAttachment::attachAll(const std::vector<SHostDevice>& devices) const
{
    if (devices.empty()) return;
    checkPrograms("ATTACH=rbd", programs());
    for (const SHostDevice& device : devices) {
        attach(device);
    }
}

void CRbdAttachment::attach(const SHostDevice& device) const
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + m_patience;
    if (!deviceOf(device.name)) {
        const std::string image = m_place.pool + "/" + m_place.space + "/" + device.name;
        run({"device", "map", image});
    }
    for (;;) {
        const std::optional<std::string> mapped = deviceOf(device.name);
        if (mapped && blockDeviceSize(m_kernel, *mapped) == device.size) {
            linkDevice(m_kernel, *mapped, device.path, m_place.folder);
            return;
        }
        if (Clock::now() >= end) break;
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
    tidyUp([&] { unmap(device.name); });
    throw EApplianceError(EStatus::STORAGE,
                          "cannot attach " + device.path.string() + ": its image does not show its size in time");
}

void CRbdAttachment::detach(const fs::path& path) const
{
    const std::string linked = linkedDevice(m_kernel, path, DRIVER);
    if (linked.empty()) return;
    if (!imageOf(linked).empty()) unmapDevice(linked);
    unlinkDevice(m_kernel, path, DRIVER);
}

bool CRbdAttachment::isThere(const SHostKernel& kernel)
{
    std::error_code error;
    return fs::exists(kernel.sys / "bus/rbd/devices", error);
}

std::vector<std::string> CRbdAttachment::mapped() const
{
    std::vector<std::string> images;
    for (const std::string& device : devices()) {
        if (const std::string image = imageOf(device); !image.empty()) images.push_back(image);
    }
    return images;
}

void CRbdAttachment::unmap(const std::string& image) const
{
    for (const std::string& device : devices()) {
        if (imageOf(device) != image) continue;
        std::error_code error;
        for (fs::directory_iterator link(m_place.links, error), end; !error && link != end; link.increment(error)) {
            if (linkedDevice(m_kernel, *link, DRIVER) == device) unlinkDevice(m_kernel, *link, DRIVER);
        }
        unmapDevice(device);
    }
}

// Also one that is in use: who uses it gets errors.
void CRbdAttachment::unmapDevice(const std::string& device) const
{
    run({"device", "unmap", "-o", "force", (m_kernel.dev / device).string()});
}

void CRbdAttachment::run(const std::vector<std::string>& words) const
{
    std::vector<std::string> all = {"rbd", "--conf", m_place.configuration.string(), "--id", m_place.user};
    all.insert(all.end(), words.begin(), words.end());
    runProgram(all, m_place.log, m_patience);
}

// Of this place; empty for a device that shows anything else, such as a snapshot.
std::string CRbdAttachment::imageOf(const std::string& device) const
{
    const fs::path shown = m_kernel.sys / "bus/rbd/devices" / device.substr(std::string(DRIVER).size());
    const bool isOurs = kernelLine(shown / "pool") == m_place.pool && kernelLine(shown / "pool_ns") == m_place.space &&
                        kernelLine(shown / "current_snap") == NO_SNAPSHOT;
    return isOurs ? kernelLine(shown / "name") : std::string();
}

std::vector<std::string> CRbdAttachment::devices() const
{
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(m_kernel.sys / "bus/rbd/devices", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = DRIVER + entry->path().filename().string();
        if (isDeviceOf(DRIVER, name)) names.push_back(name);
    }
    return names;
}

// And takes writes: somebody may have mapped the image to look at it.
bool CRbdAttachment::shows(const std::string& device, const std::string& image) const
{
    return imageOf(device) == image && kernelLine(m_kernel.sys / "block" / device / "ro") == "0";
}

std::optional<std::string> CRbdAttachment::deviceOf(const std::string& image) const
{
    for (const std::string& device : devices()) {
        if (shows(device, image)) return device;
    }
    return std::nullopt;
}

}  // namespace lumora
