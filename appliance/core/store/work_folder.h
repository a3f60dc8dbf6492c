#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "appliance/core/files/file_io.h"

namespace lumora {

/// The folders of an appliance that are filled first and listed in the database afterwards.
enum class EArea : uint8_t
{
    ANNOTATIONS,
    IMAGES,
    WORK
};

/// Makes the folders of an appliance that every engine has.
void makeAreas(const std::filesystem::path& appliance);

std::filesystem::path areaFolder(const std::filesystem::path& appliance, EArea area);

/// A uniquely named folder that is being filled. As long as this object lives, the folder has a living owner and no
/// collector touches it. Unless keep() was called, the end of the object drops the folder; a killed process, or a drop
/// that fails, leaves it to the collector.
class CWorkFolder
{
  public:
    using Drop = std::function<void(const std::filesystem::path& folder)>;

    /// `appliance` is the appliance's folder; `drop` removes the folder and what was made for it. Status storage on
    /// failure.
    CWorkFolder(const std::filesystem::path& appliance, EArea area, Drop drop);
    ~CWorkFolder();
    CWorkFolder(const CWorkFolder&) = delete;
    CWorkFolder& operator=(const CWorkFolder&) = delete;

    /// The folder's name: 15 hexadecimal digits.
    const std::string& id() const noexcept { return m_id; }
    const std::filesystem::path& path() const noexcept { return m_path; }
    /// The folder stays. To be called before the row that lists it is committed: of a commit that fails it is not
    /// known whether the row will be there, and only a collector that proves it is not may remove the folder.
    void keep() noexcept { m_kept = true; }

  private:
    const Drop m_drop;
    base::CFileDescriptor m_owners;
    std::string m_id;
    std::filesystem::path m_path;
    bool m_kept = false;
};

/// What a collector of folders asks and does.
struct SCollector
{
    std::function<bool(const std::string& id)> isListed;
    /// Makes sure that what isListed denies from now on will not turn out to be listed.
    std::function<void()> settle;
    std::function<void(const std::filesystem::path& folder)> drop;
};

/// Drops the folders of an area that have no living owner and are not listed. `isListed` is asked again after the
/// folders' ownership was taken and the listing settled, so it must look at the present state. What cannot be dropped
/// stays for later; a listing that cannot be settled or read throws.
void collectLeftovers(const std::filesystem::path& appliance, EArea area, const SCollector& collector);

/// Whoever holds this is alone in making and removing LUNs of the appliance whose folder is given.
base::CFileDescriptor lockLuns(const std::filesystem::path& appliance);

}  // namespace lumora
