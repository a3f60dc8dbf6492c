#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumora {

/// Where an appliance lives, and which engine keeps its content.
struct SApplianceHome
{
    std::filesystem::path folder;  ///< the appliance's own; absolute
    std::string engine;            ///< name of a row of engineKinds()
};

/// One LUN as an engine sees it.
struct SVolume
{
    int64_t id = 0;     ///< number of the LUN, which no other LUN of the store ever gets; 0 while it is not listed
    std::string name;   ///< of the LUN; usable as a file name
    uint64_t size = 0;  ///< bytes
    int64_t group = 0;  ///< number of its group, which no other group of the store ever gets
};

/// The LUNs that the store lists now, with data on the appliance.
using CListedVolumes = std::function<std::vector<SVolume>()>;

/// What a host sees as a disk: a LUN, or the LUN of a time image.
struct SDevice
{
    SVolume volume;
    std::string image;           ///< id of the time image; empty: the LUN itself
    std::filesystem::path path;  ///< where the host sees it; holds "/dev/"
    std::string content;         ///< id of the content that the time image shows
};

/// What of an appliance is kept running.
enum class EKeep
{
    ALSO_STOPPED,    ///< also one that was stopped
    UNLESS_STOPPED,  ///< only one that was not
};

/// Keeps and copies the content of one appliance's groups. An engine knows nothing of names, permissions and refusals:
/// it is given numbers, and folders that nobody else uses. Everything an operation wrote is on stable storage when it
/// returns; an operation that throws (EApplianceError) may leave parts behind, which the caller drops.
class CBaseStorageEngine
{
  public:
    CBaseStorageEngine() = default;
    virtual ~CBaseStorageEngine() = default;
    CBaseStorageEngine(const CBaseStorageEngine&) = delete;
    CBaseStorageEngine& operator=(const CBaseStorageEngine&) = delete;

    /// Prepares the appliance, whose folder is there, before it is listed. Status unusable, with what is missing, where
    /// the engine cannot work.
    virtual void prepare() {}
    /// Removes what the engine keeps outside the folder of an appliance that is listed no more; nothing is fine.
    virtual void remove() {}
    /// Takes back what attach() made of all its devices and ends what runs for the appliance; nothing is lost. The
    /// next attach() starts it again.
    virtual void stop() {}

    /// Starts what runs for the appliance, and again whenever it ends, until stop() is called by another process, which
    /// waits for that; true then, or when another process keeps it already. False: nothing runs for it.
    virtual bool keep(EKeep) { return false; }

    /// Makes the data of a LUN to be in `work`, an empty folder: zeros, or what begins with the content of `file`.
    virtual void makeData(const SVolume& volume, const std::optional<std::filesystem::path>& file,
                          const std::filesystem::path& work) = 0;
    /// Removes data that was made for LUNs that are not to be, with its folder, or the folder of several.
    virtual void dropWork(const std::filesystem::path& work);
    /// Puts the data from `work` in place, under the number that the LUN has got. The caller is alone with the LUNs of
    /// the appliance, and lists the LUN in the same transaction.
    virtual void publishData(const SVolume& volume, const std::filesystem::path& work) = 0;
    /// Removes the data of a LUN that is listed no more; gone already is fine.
    virtual void dropData(const SVolume& volume) = 0;
    /// Whether there is data of LUNs that are not listed; what commands that were disturbed left. The caller of this
    /// and the next is alone on this machine with the LUNs of the appliance.
    virtual bool hasStrayData(const CListedVolumes& listed) = 0;
    virtual void dropStrayData(const CListedVolumes& listed) = 0;

    /// Fixes the content that all the volumes have at one instant, for the annotation whose empty folder is `content`.
    /// `gate` is the gate file of the group.
    virtual void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                            const std::filesystem::path& content) = 0;
    /// Makes a writable image of fixed content, for the time image whose empty folder is `image`. Neither the content
    /// nor the volumes change.
    virtual void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                           const std::filesystem::path& image) = 0;
    /// Remove fixed content, or an image, with its folder; gone already is fine.
    virtual void dropContent(const std::filesystem::path& content) = 0;
    virtual void dropImage(const std::filesystem::path& image) = 0;

    /// Makes devices usable at their paths on this host; those that are already stay as they are.
    virtual void attach(const std::vector<SDevice>& /*devices*/) {}
    /// What is attached on this host, as far as others must be able to have it detached: without sizes and names.
    virtual std::vector<SDevice> attached() { return {}; }
    /// Takes back what attach() made of these, which are listed no more.
    virtual void detach(const std::vector<SDevice>& /*devices*/) {}
    /// Whether the device can be used at its path on this host.
    virtual bool isAttached(const SDevice& device) const = 0;
};

/// What lies in the folder of an appliance's devices under a name that no listed LUN has.
std::vector<std::filesystem::path> strayDevices(const std::filesystem::path& devices,
                                                const std::vector<SVolume>& listed);

}  // namespace lumora
