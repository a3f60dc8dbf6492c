#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace lumora {

/// One LUN of a group as an engine sees it.
struct SVolume
{
    std::string name;            ///< name of the LUN; usable as a file name
    std::filesystem::path data;  ///< where the LUN's data lies
    uint64_t size = 0;           ///< bytes
};

/// Keeps and copies the content of consistency groups. An engine knows nothing of names, permissions and databases:
/// it is given folders that nobody else uses and fills them. Everything an operation wrote is on stable storage when
/// it returns; an operation that throws (EApplianceError) may leave parts behind, which the caller drops.
class CBaseStorageEngine
{
  public:
    CBaseStorageEngine() = default;
    virtual ~CBaseStorageEngine() = default;
    CBaseStorageEngine(const CBaseStorageEngine&) = delete;
    CBaseStorageEngine& operator=(const CBaseStorageEngine&) = delete;

    /// Fixes the content that all the volumes have at one instant in `content`, an empty folder. `gate` is the gate
    /// file of the group.
    virtual void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                            const std::filesystem::path& content) = 0;
    /// Makes a writable image of fixed content in `image`, an empty folder. Neither the content nor the volumes change.
    virtual void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                           const std::filesystem::path& image) = 0;
    /// Removes fixed content, or an image. A folder that is gone already is fine.
    virtual void drop(const std::filesystem::path& folder) = 0;
    /// The path under which a host sees the volume of an image; holds "/dev/".
    virtual std::filesystem::path hostPath(const std::filesystem::path& image, const std::string& volume) const = 0;
};

}  // namespace lumora
