#pragma once

#include "host/tests/fictl_fixture.h"

/// The test provider with an inspector beside it that writes a document of the test's own.
class CInspectedTest : public CFictlTest
{
  protected:
    void SetUp() override;

    std::string provider() const { return m_root + "/libfakefi.so"; }
    std::string inspector() const { return m_root + "/fakefi-inspect"; }
    SRun fictl(std::vector<std::string> arguments) const;
    SRun fictlJson(std::vector<std::string> arguments) const;

    /// The inspector from now on writes m_seen.
    void setInspection() const;
    /// The inspector is a shell script of the test's own.
    void setInspectorScript(const std::string& script) const;
    /// What the inspector was called with, a line for each call.
    std::string inspectorCalls() const { return base_test::contentOf(m_root + "/inspector-calls"); }

    /// An appliance that answers, without groups.
    static nlohmann::json appliance(const std::string& name);
    static nlohmann::json group(const std::string& name, const std::vector<std::string>& serials);
    static nlohmann::json image(const std::string& name, const std::string& source, const std::string& target);

    nlohmann::json m_seen;  ///< a whole document of a host without appliances
};
