#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace bench {

/// A root directory of its own for the runtime's files, for the life of the object.
class CScratchRoot
{
  public:
    CScratchRoot()
    {
        std::string name = (std::filesystem::temp_directory_path() / "cdpfi-bench.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a scratch folder");
        m_path = name;
        setenv("OBZX_ROOT", name.c_str(), 1);
    }
    ~CScratchRoot()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CScratchRoot(const CScratchRoot&) = delete;
    CScratchRoot& operator=(const CScratchRoot&) = delete;

    std::string path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

}  // namespace bench
