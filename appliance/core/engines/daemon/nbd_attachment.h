#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>

#include "appliance/core/engines/daemon/attachment.h"
#include "appliance/core/engines/daemon/host_kernel.h"

namespace lumora {

/**
 * Presents exports of a storage daemon as block devices of the kernel's driver nbd: the path is a link to /dev/nbdN.
 *
 * The kernel does not tell what a device of the driver shows, and after a restart of the machine the same one may show
 * anything. So each has a note, <daemon's folder>/nbd-devices/nbdN, with the path, the export and its size, the process
 * that the kernel names for it, and the start of the machine: a device is attached only where all of that still holds.
 */
class CNbdAttachment : public CBaseAttachment
{
  public:
    static constexpr std::chrono::seconds PATIENCE{30};

    /// An export that does not show within `patience` is given up.
    explicit CNbdAttachment(SExportPlace place, SHostKernel kernel = {}, std::chrono::milliseconds patience = PATIENCE);

    std::vector<std::string> programs() const override;
    void attachAll(const std::vector<SHostDevice>& devices) const override;
    /// A device that is somebody else's by now is not disconnected; the link and the note go.
    void detach(const std::filesystem::path& path) const override;
    std::vector<std::filesystem::path> writtenDown() const override;
    bool isAttached(const SHostDevice& device) const override;

    /// Whether the kernel has the driver, and the devices are there to be opened.
    static bool isThere(const SHostKernel& kernel);

  private:
    using Clock = std::chrono::steady_clock;

    struct SNote
    {
        std::string device;  // such as "nbd0"
        SHostDevice shown;
        std::string pid;   // as the kernel writes it; empty until the device shows
        std::string boot;  // base::bootId()
    };

    void attach(const SHostDevice& device) const;
    std::string connect(const SHostDevice& device, Clock::time_point end) const;
    SNote waitFor(const std::string& device, const SHostDevice& shown, Clock::time_point end) const;
    bool comesBack(const SHostDevice& device) const;
    void disconnect(const std::string& device) const;
    void takeBack(const SNote& written) const;

    std::string pidOf(const std::string& device) const;
    bool holds(const SNote& note) const;
    std::optional<pid_t> clientOf(const SNote& note) const;
    SNote withClient(SNote note) const;
    bool isAwaited(const std::string& device) const;
    std::filesystem::path noteOf(const std::string& device) const { return m_notes / device; }
    std::optional<SNote> readNote(const std::string& device) const;
    std::vector<SNote> notes() const;
    void write(const SNote& note) const;
    void removeNote(const std::string& device) const;

    const SExportPlace m_place;
    const SHostKernel m_kernel;
    const std::chrono::milliseconds m_patience;
    const std::filesystem::path m_notes;
};

}  // namespace lumora
