#pragma once

#include <sys/stat.h>

#include "appliance/core/engines/daemon/host_kernel.h"
#include "appliance/tests/test_support.h"
#include "base/tests/environment_value.h"

namespace lumora::test {

/// A folder in place of the kernel's /sys and /dev, and programs in front of the search path that write down their
/// words and change it as the kernel would.
class CRecordedKernel
{
  public:
    CRecordedKernel() : m_path("PATH", (m_folder / "bin").string() + ":" + std::string(::getenv("PATH")))  // NOLINT
    {
        std::filesystem::create_directories(kernel().dev);
    }

    SHostKernel kernel() const { return {m_folder / "sys", m_folder / "dev"}; }
    const std::filesystem::path& folder() const { return m_folder.path(); }

    /// A program that writes its words down and goes on with `body`, where $sys and $dev name the folders.
    void putProgram(const std::string& name, const std::string& body) const
    {
        const std::filesystem::path file = m_folder / "bin" / name;
        writeFile(file, "#!/bin/sh\necho " + name + " \"$@\" >>" + (m_folder / "words").string() +
                            "\nsys=" + kernel().sys.string() + "\ndev=" + kernel().dev.string() + "\n" + body);
        ::chmod(file.c_str(), 0755);
    }
    /// The command lines so far.
    Lines words() const { return linesOf(contentOf(m_folder / "words")); }

  private:
    const CTemporaryFolder m_folder;
    const base_test::CEnvironmentValue m_path;
};

}  // namespace lumora::test
