#pragma once

#include <chrono>
#include <optional>

#include "appliance/core/engines/daemon/attachment.h"
#include "appliance/core/engines/daemon/host_kernel.h"

namespace lumora {

/// Where the images of an appliance are, and who asks for them.
struct SImagePlace
{
    std::string pool;
    std::string space;                    ///< namespace in the pool; the appliance's own
    std::string user;                     ///< without "client."
    std::filesystem::path configuration;  ///< of the cluster
    std::filesystem::path folder;         ///< the daemon's own
    std::filesystem::path log;            ///< of what the program has to say
    std::filesystem::path links;          ///< folder of the links to what is mapped
};

/// Presents images of a cluster as block devices of the kernel's driver rbd: the path is a link to /dev/rbdN. What each
/// shows the kernel tells itself, so that nothing else is asked.
class CRbdAttachment : public CBaseAttachment
{
  public:
    static constexpr std::chrono::seconds PATIENCE{30};

    /// An image that does not show within `patience` is given up.
    explicit CRbdAttachment(SImagePlace place, SHostKernel kernel = {}, std::chrono::milliseconds patience = PATIENCE);

    std::vector<std::string> programs() const override;
    /// An image that is mapped already gets its link.
    void attachAll(const std::vector<SHostDevice>& devices) const override;
    /// A link to what is no image of this place goes, and what it leads to stays mapped.
    void detach(const std::filesystem::path& path) const override;
    bool isAttached(const SHostDevice& device) const override;

    /// Whether the kernel has the driver.
    static bool isThere(const SHostKernel& kernel);
    /// The images of this place that are mapped on this host.
    std::vector<std::string> mapped() const;
    /// Takes back what is mapped of an image, with the links to it, also where none leads to it.
    void unmap(const std::string& image) const;

  private:
    void attach(const SHostDevice& device) const;
    void run(const std::vector<std::string>& words) const;
    std::string imageOf(const std::string& device) const;
    std::vector<std::string> devices() const;
    bool shows(const std::string& device, const std::string& image) const;
    std::optional<std::string> deviceOf(const std::string& image) const;
    void unmapDevice(const std::string& device) const;

    const SImagePlace m_place;
    const SHostKernel m_kernel;
    const std::chrono::milliseconds m_patience;
};

}  // namespace lumora
