// What is left of a tool and of a frozen application when fictl is ended, or has to give up, in the middle of a
// snapshot. The appliance's shell is a shell script here, as sites have them, which starts another program.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/site.h"

namespace fs = std::filesystem;

namespace {

class Ending : public testing::Test
{
  protected:
    void SetUp() override
    {
        m_site.addGroup("vault", "payroll", {"data"});
        m_site.setUpHosts();
        putScriptBeforeTheAppliancesShell();
    }

    fs::path root() const { return m_site.root("production"); }
    std::string file(const char* name) const { return (root() / name).string(); }

    /// Nothing is answered once "dead" is there. What makes a checkpoint is held until "go" is there; a child of the
    /// script makes it then, and "acted".
    void putScriptBeforeTheAppliancesShell() const
    {
        m_site.replaceShell("production", "#!/bin/sh\nscript=$(cat)\nask() { printf '%s\\n' \"$script\" | " +
                                              std::string(CDPFI_BIN_DIR) + "/lmsh; }\ntest -e " + file("dead") +
                                              " && sleep 600\ncase $script in\n*create*annotation*)\n" +
                                              "  (until test -e " + file("go") + "; do sleep 0.01; done; ask; touch " +
                                              file("acted") + ") &\n  touch " + file("held") +
                                              "\n  wait;;\n*) ask;;\nesac\n");
    }

    /// Runs "snapshot create" and, once its checkpoint is asked for, the shell command, which finds its process in $P.
    /// Returns how the creation ended.
    SRun createAnd(const std::string& options, const std::string& command) const
    {
        return m_site.shell("production", "fictl --output json snapshot create nightly " +
                                              m_site.device("vault", "data") + " " + options +
                                              " & P=$!; until test -e " + file("held") + "; do sleep 0.01; done; " +
                                              command + "; wait $P");
    }

    std::string hooks() const
    {
        return "--freeze 'echo freeze >>" + file("hooks") + "' --thaw 'echo thaw $FICTL_STATUS >>" + file("hooks") +
               "'";
    }

    void waitForThaw() const
    {
        m_site.shell("production", "until grep -q thaw " + file("hooks") + "; do sleep 0.01; done");
    }

    /// Waits until nothing of the creation runs any more: its processes carry the host's root.
    void waitForTheEnd() const
    {
        m_site.shell("backup", "while grep -slz '^OBZX_ROOT=" + root().string() +
                                   "$' /proc/[0-9]*/environ >/dev/null; do sleep 0.01; done");
    }

    CSite m_site;
};

}  // namespace

TEST_F(Ending, AKilledFictlTakesAScriptAndAllItHasStartedWithItAndThaws)
{
    const SRun killed = createAnd(hooks(), "kill -KILL $P");
    EXPECT_EQ(killed.status, 137);
    waitForThaw();
    waitForTheEnd();
    EXPECT_EQ(contentOf(file("hooks")), "freeze\nthaw killed\n");
    writeFile(file("go"), "\n");
    EXPECT_EQ(m_site.fictl("production", {"snapshot", "delete", "nightly"}).status, 0);
    EXPECT_TRUE(m_site.copiesOf("vault", "payroll").empty());
    EXPECT_FALSE(fs::exists(file("acted")));
}

TEST_F(Ending, ASignalWhileFrozenCancelsTheCommandThawsAndLeavesNothing)
{
    const SRun stopped = createAnd(hooks(), "kill -TERM $P");
    EXPECT_EQ(stopped.status, 15) << stopped.err;
    EXPECT_EQ(contentOf(file("hooks")), "freeze\nthaw stopped\n");
    const std::string message = stopped.json()["error"]["message"];
    EXPECT_TRUE(message.starts_with("snapshot \"nightly\": stopped by a signal: the application was thawed after 0."))
        << message;
    EXPECT_TRUE(
        message.ends_with(", before its checkpoints were made; nothing is left on the appliance and nothing was "
                          "recorded"))
        << message;
    EXPECT_EQ(stopped.json()["error"]["commands"][0]["stopped"], "cancel");
    EXPECT_EQ(m_site.fictl("production", {"snapshot", "show", "nightly"}).status, 3);
    waitForTheEnd();
    EXPECT_TRUE(m_site.copiesOf("vault", "payroll").empty());
    EXPECT_FALSE(fs::exists(file("acted")));
}

TEST_F(Ending, ASignalWhileFrozenIsNotHeldUpByAnApplianceThatAnswersNoMore)
{
    // Without a limit of its own each command would have 600 seconds.
    const SRun stopped = createAnd(hooks(), "touch " + file("dead") + "; kill -INT $P");
    EXPECT_EQ(stopped.status, 15) << stopped.err;
    EXPECT_EQ(contentOf(file("hooks")), "freeze\nthaw stopped\n");
    EXPECT_EQ(stopped.json()["error"]["next"], "fictl snapshot delete nightly");
    fs::remove(file("dead"));
    waitForTheEnd();
    EXPECT_EQ(m_site.fictl("production", {"snapshot", "delete", "nightly"}).status, 0);
    EXPECT_TRUE(m_site.copiesOf("vault", "payroll").empty());
    EXPECT_FALSE(fs::exists(file("acted")));
}

TEST_F(Ending, AnApplianceThatTakesTooLongForTheApplicationIsCancelled)
{
    const SRun late = createAnd(hooks() + " --max-freeze 1", "true");
    EXPECT_EQ(late.status, 12) << late.err;
    EXPECT_EQ(contentOf(file("hooks")), "freeze\nthaw timed-out\n");
    const std::string message = late.json()["error"]["message"];
    EXPECT_NE(message.find("before its checkpoints were made: it was frozen as long as --max-freeze allows; nothing is "
                           "left on the appliance and nothing was recorded"),
              std::string::npos)
        << message;
    waitForTheEnd();
    EXPECT_TRUE(m_site.copiesOf("vault", "payroll").empty());
    EXPECT_FALSE(fs::exists(file("acted")));
}
