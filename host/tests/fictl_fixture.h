#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

/// How a run of fictl ended.
struct SRun
{
    int exit = -1;  ///< exit code; 1000 + signal when a signal ended it
    std::string out;
    std::string err;
    nlohmann::json document() const { return nlohmann::json::parse(out); }
    // Of the error in the document.
    std::string message() const { return document()["error"]["message"]; }
    std::string next() const { return document()["error"]["next"]; }
};

/// Runs the real fictl against the test provider, in a root directory of the test's own.
class CFictlTest : public testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;

    /// fictl --provider <test provider> arguments...
    SRun fictl(const std::vector<std::string>& arguments) const;
    /// The same with --output json.
    SRun fictlJson(std::vector<std::string> arguments) const;
    /// fictl with exactly these arguments; input is its standard input.
    SRun run(const std::vector<std::string>& arguments, const std::string& input = {}) const;
    /// fictl --provider <test provider> snapshot receive, of a document on standard input.
    SRun receive(const std::string& document) const;
    /// Another program in the same surroundings.
    SRun runProgram(const std::string& program, const std::vector<std::string>& arguments) const;

    /// Starts fictl with the test provider, but holds it before its first instruction until release.
    pid_t startHeld(const std::vector<std::string>& arguments);
    void release();
    SRun finish();

    void arm(const std::string& faults) const;       ///< lines of host/tests/fakefi/faults.h; replaces what was armed
    void useTool(const std::string& path) const;     ///< the provider runs this program in place of its own tool
    void limitTool(unsigned seconds) const;          ///< the provider gives each run of its tool so long
    void allowAtOnce(unsigned groups) const;         ///< the inspector tells that so many runs may be under way
    void becomeHost(const std::string& name) const;  ///< the name of this host from now on
    /// Runs a copy of the provider from now on that has no inspector beside it.
    void leaveInspectorAway();
    /// The library that fictl runs.
    const std::string& provider() const { return m_provider; }
    /// Puts an image of a checkpoint on a test appliance, granted to the host; suffix is what both names end in.
    void putImage(const std::string& appliance, const std::string& group, const std::string& suffix,
                  const std::string& host) const;
    /// The document of the test provider's inspector.
    nlohmann::json inspection(const std::vector<std::string>& arguments = {}) const;
    /// The same text with the time that each command took as "after N s".
    static std::string withoutTimes(const std::string& text);
    void waitForFile(const std::string& name) const;
    void touch(const std::string& name) const;
    std::vector<std::string> calls() const;
    std::vector<std::string> objects() const;  ///< names of what is on the test appliances, sorted
    std::string fake(const std::string& name) const { return m_root + "/fake/" + name; }
    std::string device(int number) const { return "/dev/fake" + std::to_string(number); }
    /// State of a snapshot as "snapshot show" gives it; "" when there is none.
    std::string state(const std::string& name) const;
    /// Checks what must hold after every run that ended by itself: no node is left at the provider, no file is left
    /// over.
    void expectClean() const;

  private:
    const base_test::CTemporaryFolder m_folder;

  protected:
    std::string m_root = m_folder.path();

  private:
    struct SChild
    {
        pid_t pid = -1;
        int gate = -1;
        std::string out;
        std::string err;
    };
    SChild start(const std::string& program, const std::vector<std::string>& arguments, const std::string& input) const;
    static SRun collect(SChild& child);

    std::string m_provider;
    SChild m_held;
    mutable int m_runs = 0;
};
