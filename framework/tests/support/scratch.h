#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/include/cfitrace.h"

namespace obzx_test {

std::vector<std::string> readLines(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
ACE_String_Base<char> text(const std::string& content);

/// A folder of the test's own that OBZX_ROOT names.
class CScratch : public testing::Test
{
  protected:
    CScratch();
    ~CScratch() override;

    const std::string& root() const { return m_root; }
    /// Writes the configuration store of the component "unit".
    void configure(const std::string& content) const;
    /// A log of the component "unit" that is initialised with the usual arguments.
    obzx_pdk_4_4::CFiTraceLogPtr makeLog() const;
    /// Lines of the component's default trace file, each without its time and ids: "L1 unit text".
    std::vector<std::string> traceLines() const;
    std::string tracePath() const { return m_root + "/var/log/qz/unit.log"; }

  private:
    std::string m_root;
};

}  // namespace obzx_test
