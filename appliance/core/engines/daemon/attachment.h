#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace lumora {

/// A device as the host sees it, and what stands behind it.
struct SHostDevice
{
    std::filesystem::path path;  ///< where the host sees it
    std::string name;            ///< of the export, or the image, that it shows
    uint64_t size = 0;           ///< bytes
};

/// Where a storage daemon serves what is presented on its machine.
struct SExportPlace
{
    std::filesystem::path folder;  ///< the daemon's own
    std::filesystem::path socket;  ///< that it serves NBD on
    std::filesystem::path log;     ///< of what the programs have to say
};

/// A way in which the devices of an appliance are presented on this host. Used by whoever has the daemon's lock, but
/// for isAttached(), which anybody may ask.
class CBaseAttachment
{
  public:
    CBaseAttachment() = default;
    virtual ~CBaseAttachment() = default;
    CBaseAttachment(const CBaseAttachment&) = delete;
    CBaseAttachment& operator=(const CBaseAttachment&) = delete;

    /// The programs of the search path that it needs.
    virtual std::vector<std::string> programs() const = 0;
    /// Makes devices usable at their paths, none of which is attached; what is left there of earlier times is taken
    /// back. Returns when all can be used; status storage when one cannot.
    virtual void attachAll(const std::vector<SHostDevice>& devices) const = 0;
    /// Takes back what attachAll() made at the path, also when it is in use: its users get errors from then on. What is
    /// there in another way, or not at all, is left alone.
    virtual void detach(const std::filesystem::path& path) const = 0;
    /// Paths of which it is written down that something was presented there, perhaps by somebody who was killed before
    /// it was there.
    virtual std::vector<std::filesystem::path> writtenDown() const { return {}; }
    /// Whether the device can be used at its path, in this way.
    virtual bool isAttached(const SHostDevice& device) const = 0;
};

}  // namespace lumora
