#pragma once

#include <filesystem>

#include "base/file_descriptor.h"

namespace fictl {

/// A new folder in the temporary folder, for this user only, removed with all that is in it. One that a process left
/// which was killed goes when the next one is made, once it is a minute old. Throws EFictl (IO) when it cannot be made.
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
    base::CFileDescriptor m_lock;  // of the folder; held as long as its process lives
};

/// The folder that TMPDIR names, else /tmp.
std::filesystem::path temporaryFolder();

}  // namespace fictl
