#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace base_test {

/// A new empty folder for one test, by its name without symbolic links, removed with everything in it at the end.
class CTemporaryFolder
{
  public:
    CTemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "cdpfi-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder " + name);
        m_path = std::filesystem::canonical(name);
    }
    ~CTemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    /// Something in it.
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

  private:
    std::filesystem::path m_path;
};

}  // namespace base_test
