#pragma once

#include <filesystem>

namespace fictl {

/// A new folder in the temporary folder, for this user only, removed with all that is in it. Throws EFictl (IO) when it
/// cannot be made.
class CPrivateFolder
{
  public:
    CPrivateFolder();
    ~CPrivateFolder();
    CPrivateFolder(const CPrivateFolder&) = delete;
    CPrivateFolder& operator=(const CPrivateFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

/// The folder that TMPDIR names, else /tmp.
std::filesystem::path temporaryFolder();

}  // namespace fictl
