#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// How a run of fictl ended.
struct SRun
{
    int exit = -1;  ///< exit code; 1000 + signal when a signal ended it
    std::string out;
    std::string err;
    nlohmann::json document() const { return nlohmann::json::parse(out); }
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

    /// Starts fictl with the test provider, but holds it before its first instruction until release.
    pid_t startHeld(const std::vector<std::string>& arguments);
    void release();
    SRun finish();

    void arm(const std::string& faults) const;  ///< lines for the test provider; replaces what was armed
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

    std::string m_root;

  private:
    struct SChild
    {
        pid_t pid = -1;
        int gate = -1;
        std::string out;
        std::string err;
    };
    SChild start(const std::vector<std::string>& arguments, const std::string& input) const;
    static SRun collect(SChild& child);

    SChild m_held;
    mutable int m_runs = 0;
};

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);
