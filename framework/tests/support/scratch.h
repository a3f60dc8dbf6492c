#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/tests/test_root.h"
#include "framework/include/cfitrace.h"

namespace obzx_test {

using base_test::writeFile;

std::vector<std::string> readLines(const std::string& path);
ACE_String_Base<char> text(const std::string& content);

/// A root directory of the test's own, with the usual trace level.
class CScratch : public testing::Test
{
  protected:
    CScratch();
    ~CScratch() override;

    const std::string& root() const { return m_path; }
    /// Writes the configuration store of the component "unit".
    void configure(const std::string& content) const;
    /// A log of the component "unit" that is initialised with the usual arguments.
    obzx_pdk_4_4::CFiTraceLogPtr makeLog() const;
    /// Lines of the component's default trace file, each without its time and ids: "L1 unit text".
    std::vector<std::string> traceLines() const;
    std::string tracePath() const { return m_path + "/var/log/qz/unit.log"; }

  private:
    const base_test::CTestRoot m_root;
    const std::string m_path = m_root.string();
};

}  // namespace obzx_test
