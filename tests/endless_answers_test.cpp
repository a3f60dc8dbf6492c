// Appliances that answer without end, and a fictl that is asked to stop meanwhile.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "tests/site.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

class EndlessAnswers : public testing::Test
{
  protected:
    EndlessAnswers()
    {
        site.addGroup("vault", "payroll", {"data"});
        site.setUpHosts();
    }

    /// Answers "list hosts" with the output of these commands, and all else as the appliance does.
    void answerHostsWith(const std::string& commands) const
    {
        site.replaceShell("production", "#!/bin/sh\nscript=$(cat)\ncase $script in\n*list*hosts*) " + commands +
                                            ";;\n*show*host*) echo x >>" + asked() +
                                            "; echo Host;;\n*) printf '%s\\n' " + "\"$script\" | " + CDPFI_BIN_DIR +
                                            "/lmsh;;\nesac\n");
    }
    void configure(const std::string& values) const
    {
        const fs::path file = site.root("production") / "etc/qz/cdpfi.conf";
        std::string text = contentOf(file);
        text.insert(text.find("LMR_LMSH_PATH"), values);
        writeFile(file, text);
    }
    std::string asked() const { return (site.root("production") / "asked").string(); }

    /// Runs fictl and, once the condition holds, sends it SIGTERM, and compares how it ends.
    void expectStopped(const std::string& words, const std::string& condition) const
    {
        const SRun run = site.shell("production", "fictl --output json " + words + " & P=$!; until " + condition +
                                                      "; do sleep 0.01; kill -0 $P || exit 99; done; date +%s%N >" +
                                                      asked() + ".term; kill -TERM $P; wait $P; S=$?; date +%s%N >" +
                                                      asked() + ".end; exit $S");
        EXPECT_EQ(run.status, 15) << run.err;
        EXPECT_EQ(run.json()["error"]["message"], "stopped by a signal") << run.out;
        const auto at = [&](const char* end) { return std::stoll(contentOf(asked() + end)) / 1'000'000; };
        EXPECT_LT(at(".end") - at(".term"), 120'000) << "milliseconds; the whole listing takes many minutes";
    }
    void expectSoundAfterwards() const
    {
        site.shell("production", "rm " + (site.root("production") / "site-shell").string() + "; ln -s " +
                                     CDPFI_BIN_DIR "/lmsh " + (site.root("production") / "site-shell").string());
        const SRun listed = site.fictl("production", {"device", "list", site.device("vault", "data")});
        EXPECT_EQ(listed.status, 0) << listed.err;
        EXPECT_NE(listed.out.find("  yes      vault      payroll  "), std::string::npos) << listed.out;
    }

    CSite site;
};

TEST_F(EndlessAnswers, AListingOfAMillionHostsCountsAsNone)
{
    answerHostsWith("seq -f host%.0f 1000000");
    const SRun listed = site.fictl("production", {"device", "list", site.device("vault", "data")});
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find("  yes      vault      payroll  "), std::string::npos) << listed.out;
    EXPECT_FALSE(fs::exists(asked()));
    const std::string trace = contentOf(site.root("production") / "var/log/qz/cdpfi.log");
    EXPECT_NE(trace.find("The answer to [ list  hosts ] counts as none: it holds more than 100000 names; "
                         "LMR_CLI_CONFIG/MAX_NAMES in " +
                         (site.root("production") / "etc/qz/cdpfi.conf").string() + " raises that.\n"),
              std::string::npos)
        << trace;
    const SRun doctor = site.fictl("production", {"doctor"});
    EXPECT_EQ(doctor.status, 8);
    EXPECT_NE(doctor.out.find("counts as none: it holds more than 100000 names; LMR_CLI_CONFIG/MAX_NAMES in "),
              std::string::npos)
        << doctor.out;
}

TEST_F(EndlessAnswers, AStopIsHonouredBetweenTheCommandsForAMillionHosts)
{
    answerHostsWith("seq -f host%.0f 1000000");
    configure("MAX_NAMES=1000000\n");
    for (const int parallel : {8, 1}) {
        configure("MAX_PARALLEL=" + std::to_string(parallel) + "\n");
        fs::remove(asked());
        expectStopped("device list " + site.device("vault", "data"), "test -s " + asked());
    }
    fs::remove(asked());
    expectStopped("device list", "test -s " + asked());
    fs::remove(asked());
    expectStopped("snapshot create nightly " + site.device("vault", "data"), "test -s " + asked());
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
    expectSoundAfterwards();
}

TEST_F(EndlessAnswers, AStopIsHonouredWithinAnAnswer)
{
    answerHostsWith("while :; do echo host; echo >>" + asked() + "; sleep 0.01; done");
    for (const char* const command : {"device list ", "snapshot create nightly "}) {
        fs::remove(asked());
        expectStopped(command + site.device("vault", "data"), "test -s " + asked());
    }
    expectSoundAfterwards();
}

TEST_F(EndlessAnswers, AStopOfAnImportThatOnlyLooksYetLeavesTheSnapshotAsItWas)
{
    ASSERT_EQ(site.fictl("production", {"snapshot", "create", "nightly", site.device("vault", "data")}).status, 0);
    answerHostsWith("while :; do echo host; echo >>" + asked() + "; sleep 0.01; done");
    expectStopped("snapshot import nightly", "test -s " + asked());
    expectSoundAfterwards();
    const SRun shown = site.fictl("production", {"--output", "json", "snapshot", "show", "nightly"});
    EXPECT_EQ(shown.json()["snapshot"]["state"], "complete") << shown.out;
    EXPECT_EQ(site.fictl("production", {"snapshot", "import", "nightly"}).status, 0);
}

TEST_F(EndlessAnswers, TheInspectorsDocumentIsBoundedForFictl)
{
    writeFile(site.root("production") / "etc/qz/fictl.conf", "[INSPECTOR]\nMAX_DOCUMENT=1000\n");
    const SRun listed = site.fictl("production", {"device", "list"});
    EXPECT_EQ(listed.status, 8);
    EXPECT_NE(listed.err.find("wrote more than 1000 bytes; INSPECTOR/MAX_DOCUMENT in /etc/qz/fictl.conf raises that"),
              std::string::npos)
        << listed.err;
}

}  // namespace
