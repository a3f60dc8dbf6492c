#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "base/tests/environment_value.h"
#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

namespace base_test {

/// A temporary folder that stands for the root directory of the whole process (OBZX_ROOT) while it lives.
class CTestRoot
{
  public:
    const std::filesystem::path& path() const { return m_folder.path(); }
    std::string string() const { return path().string(); }
    /// Something below it.
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_folder / name; }
    /// Writes a file below it, with its folders.
    void write(const std::filesystem::path& name, std::string_view bytes) const { writeFile(m_folder / name, bytes); }
    /// The bytes of a file below it; none when it cannot be read.
    std::string read(const std::filesystem::path& name) const { return contentOf(m_folder / name); }

  private:
    const CTemporaryFolder m_folder;
    const CEnvironmentValue m_environment{"OBZX_ROOT", m_folder.path()};
};

}  // namespace base_test
