// One appliance of two is dead: it hangs until its time limit. The other one's devices lose nothing by it.
#include <gtest/gtest.h>

#include "tests/site.h"

namespace {

class DeadAppliance : public testing::Test
{
  protected:
    DeadAppliance()
    {
        site.addGroup("alive", "payroll", {"data"});
        site.addGroup("dead", "books", {"ledger"});
        site.setUpHosts();
        device = site.device("alive", "data");
        const SRun armed = site.lmadm({"fault", "arm", "hang", "--match", "dead: ", "--times", "0"});
        EXPECT_EQ(armed.status, 0) << armed.err;
    }

    SRun fictl(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"--timeout", "1"});
        return site.fictl("production", words);
    }

    CSite site;
    std::string device;
};

TEST_F(DeadAppliance, DevicesOfTheOtherOneAreServedAndItIsNamed)
{
    const SRun listed = fictl({"device", "list", device});
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find(device + "  yes      alive      payroll  "), std::string::npos) << listed.out;
    const std::string named = "lmsh: server dead; list hosts\n  no answer within 1 s: stopped\n";
    const size_t at = listed.err.find(named);
    ASSERT_NE(at, std::string::npos) << listed.err;
    // What else a start asks the dead one for is not waited for, and is no news.
    EXPECT_EQ(listed.err.find("server dead", at + named.size()), std::string::npos) << listed.err;
    EXPECT_EQ(listed.err.find("cancelled"), std::string::npos) << listed.err;
}

TEST_F(DeadAppliance, ItsOwnDevicesAreRefusedWithTheCommandThatGotNoAnswer)
{
    const SRun created = fictl({"snapshot", "create", "nightly", site.device("dead", "ledger")});
    EXPECT_EQ(created.status, 8) << created.err;
    EXPECT_NE(created.err.find("lmsh: server dead; list hosts\n  no answer within 1 s: stopped\n"), std::string::npos)
        << created.err;
}

TEST_F(DeadAppliance, ASnapshotOfTheOtherOnesDevicesIsMadeAndDeleted)
{
    const SRun created = fictl({"snapshot", "create", "nightly", device});
    EXPECT_EQ(created.status, 0) << created.err;
    EXPECT_EQ(site.copiesOf("alive", "payroll").size(), 1U);
    const SRun deleted = fictl({"snapshot", "delete", "nightly"});
    EXPECT_EQ(deleted.status, 0) << deleted.err;
    EXPECT_TRUE(site.copiesOf("alive", "payroll").empty());
}

TEST_F(DeadAppliance, TheListOfAllDevicesNamesIt)
{
    const SRun listed = fictl({"device", "list"});
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find("  yes      alive      payroll  "), std::string::npos) << listed.out;
    EXPECT_EQ(
        listed.err,
        "fictl: warning: appliance \"dead\" did not tell its groups (no answer within 1 s to \"list hosts\"); its "
        "devices are shown as in none\n");
}

TEST_F(DeadAppliance, TheDoctorNamesItWithItsLine)
{
    const SRun run = fictl({"doctor"});
    EXPECT_EQ(run.status, 8);
    EXPECT_NE(run.out.find("FAIL " + (site.root("production") / "etc/qz/hls.conf").string() +
                           ":2: appliance \"dead\" does not answer: no answer within 1 s to \"list hosts\"; next: "),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("OK   appliance \"alive\" answers: 1 consistency group\n"), std::string::npos) << run.out;
}

}  // namespace
