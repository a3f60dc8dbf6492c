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

std::filesystem::path areaFolder(const std::filesystem::path& appliance, EArea area);

/// A uniquely named folder that is being filled. As long as this object lives, the folder has a living owner and no
/// collector touches it. Unless keep() was called, the end of the object removes the folder; a killed process leaves
/// it to the collector.
class CWorkFolder
{
  public:
    /// `appliance` is the appliance's folder. Status storage on failure.
    CWorkFolder(const std::filesystem::path& appliance, EArea area);
    ~CWorkFolder();
    CWorkFolder(const CWorkFolder&) = delete;
    CWorkFolder& operator=(const CWorkFolder&) = delete;

    /// The folder's name: 15 hexadecimal digits.
    const std::string& id() const noexcept { return m_id; }
    const std::filesystem::path& path() const noexcept { return m_path; }
    /// The folder is listed now and stays.
    void keep() noexcept { m_kept = true; }

  private:
    base::CFileDescriptor m_owners;
    std::string m_id;
    std::filesystem::path m_path;
    bool m_kept = false;
};

/// Hands the folders of an area that have no living owner and are not listed to `drop`. `isListed` is asked again after
/// the folder's ownership was taken, so it must look at the present state. What cannot be dropped stays for later.
void collectLeftovers(const std::filesystem::path& appliance, EArea area,
                      const std::function<bool(const std::string& id)>& isListed,
                      const std::function<void(const std::filesystem::path& folder)>& drop);

}  // namespace lumora
