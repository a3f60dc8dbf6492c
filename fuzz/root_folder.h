#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "fuzz/fuzz.h"

namespace fuzz {

/// A root directory of the process's own, for targets whose code reads files. It goes with the process.
class CRootFolder
{
  public:
    CRootFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "fuzz.XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "a scratch folder can be made");
        m_path = name;
        std::filesystem::create_directories(m_path / "etc/qz");
        setenv("OBZX_ROOT", m_path.c_str(), 1);
    }
    ~CRootFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CRootFolder(const CRootFolder&) = delete;
    CRootFolder& operator=(const CRootFolder&) = delete;

    /// Writes a file of /etc/qz and returns its path.
    std::string write(const char* name, std::string_view text) const
    {
        const std::filesystem::path file = m_path / "etc/qz" / name;
        std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
        return file.string();
    }

  private:
    std::filesystem::path m_path;
};

}  // namespace fuzz
