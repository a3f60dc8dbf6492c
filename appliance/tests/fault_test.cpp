// lmadm fault: what each kind does to the command that it strikes, and which command that is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <csignal>
#include <memory>
#include <nlohmann/json.hpp>

#include "appliance/core/faults/fault_table.h"
#include "appliance/core/store/layout.h"
#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* MAKE_ANNOTATION = "create annotation \"A\" \"cg1\"\nset message M\ncommit";

class Fault : public testing::Test
{
  protected:
    void arm(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"fault", "arm"});
        const SResult result = m_demo.lmadm(words);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
    // Arms a fault for the annotation's creation, tries it, and tells whether it had its effect.
    SResult strike(const std::vector<std::string>& words) const
    {
        arm(words);
        return m_demo.lmsh(MAKE_ANNOTATION);
    }
    bool isMade() const { return entriesIn(m_demo.home() / "annotations") == 1; }
    CFaultTable table() const { return CFaultTable(SLayout{m_demo.store()}); }

    CDemoStore m_demo;
};

TEST_F(Fault, ErrorRefusesWithoutEffect)
{
    const SResult result = strike({"error"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("lmsh: refused by fault 1"));
    EXPECT_FALSE(isMade());
    EXPECT_TRUE(table().get(1).struck.front().finished);
}

TEST_F(Fault, SlowOnlyTakesItsTime)
{
    const SResult result = strike({"slow", "--seconds", "0.01"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, ElementsAre("annotation \"A\" created"));
    EXPECT_TRUE(isMade());
}

TEST_F(Fault, HangNeverAnswersAndHasNoEffect)
{
    arm({"hang"});
    CProcess process(lmshCommand(), script(MAKE_ANNOTATION), m_demo.root("prod").string());
    EXPECT_TRUE(eventually([this] { return table().get(1).struck.size() == 1; }));
    process.kill();
    EXPECT_EQ(process.wait().status, 128 + SIGKILL);
    EXPECT_FALSE(isMade());
    EXPECT_FALSE(table().get(1).struck.front().finished);
}

TEST_F(Fault, HangAfterNeverAnswersButHasItsEffect)
{
    arm({"hang-after"});
    CProcess process(lmshCommand(), script(MAKE_ANNOTATION), m_demo.root("prod").string());
    EXPECT_TRUE(
        eventually([this] { return !table().get(1).struck.empty() && table().get(1).struck.front().finished; }));
    process.kill();
    const SResult result = process.wait();
    EXPECT_EQ(result.status, 128 + SIGKILL);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_TRUE(isMade());
}

TEST_F(Fault, GarbledAnswerKeepsItsShapeOnly)
{
    const Lines sound = m_demo.showGroup();
    arm({"garble"});
    const SResult result = m_demo.lmsh("show cgroup \"cg1\"");
    EXPECT_EQ(result.status, 0);
    ASSERT_THAT(result.out, SizeIs(sound.size()));
    for (size_t i = 0; i < sound.size(); ++i) {
        EXPECT_EQ(result.out[i].size(), sound[i].size());
        EXPECT_NE(result.out[i], sound[i]);
    }
    arm({"garble"});
    EXPECT_EQ(m_demo.lmsh("show cgroup \"cg1\"").out, result.out);
}

TEST_F(Fault, CutAnswerEndsAtItsByte)
{
    for (const auto& [bytes, expected] :
         {std::pair<const char*, Lines>{"0", {}}, {"9", {"annotatio"}}, {"1000", {"annotation \"A\" created"}}}) {
        const SResult result = strike({"cut", "--at", bytes});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, expected);
        EXPECT_TRUE(isMade());
        m_demo.lmsh("delete annotation \"A\" \"cg1\"");
    }
}

TEST_F(Fault, LostConnectionHidesTheEffect)
{
    const SResult result = strike({"lost"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("lmsh: the connection to the appliance was lost by fault 1"));
    EXPECT_TRUE(isMade());
}

TEST_F(Fault, KillsBeforeAndAfterTheEffect)
{
    EXPECT_EQ(strike({"kill-before"}).status, 128 + SIGKILL);
    EXPECT_FALSE(isMade());
    const SResult result = strike({"kill-after"});
    EXPECT_EQ(result.status, 128 + SIGKILL);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_TRUE(isMade());
}

TEST_F(Fault, RefusalsAreKeptBackToo)
{
    arm({"lost", "--match", "delete"});
    EXPECT_THAT(m_demo.lmsh("delete annotation \"A\" \"cg1\"").err,
                ElementsAre("lmsh: the connection to the appliance was lost by fault 1"));
    arm({"kill-after", "--match", "delete"});
    EXPECT_EQ(m_demo.lmsh("delete annotation \"A\" \"cg1\"").status, 128 + SIGKILL);
    arm({"garble", "--match", "delete"});
    EXPECT_THAT(m_demo.lmsh("delete annotation \"A\" \"cg1\"").err,
                ElementsAre(HasSubstr("annotation \"A\" does not exist")));
}

TEST_F(Fault, TearLetsAWriteInBetweenTheLuns)
{
    arm({"tear", "--seconds", "2"});
    CProcess process(lmshCommand(), script(MAKE_ANNOTATION), m_demo.root("prod").string());
    const auto annotations = m_demo.home() / "annotations";
    // The first LUN is copied and synced before the pause; then both are written.
    EXPECT_TRUE(eventually([&] {
        if (entriesIn(annotations) != 1) return false;
        const auto copy = std::filesystem::directory_iterator(annotations)->path() / "lun1";
        return std::filesystem::exists(copy) && std::filesystem::file_size(copy) == 262144;
    }));
    for (const char* lun : {"lun1", "lun2"}) {
        EXPECT_EQ(m_demo.lmadm({"write", lun, "--offset", "0", "--pattern", "late"}).status, 0);
    }
    EXPECT_EQ(process.wait().status, 0);
    const auto content = std::filesystem::directory_iterator(annotations)->path();
    EXPECT_EQ(contentOf(content / "lun1").substr(0, 4), std::string(4, '\0'));
    EXPECT_EQ(contentOf(content / "lun2").substr(0, 4), "late");
}

TEST_F(Fault, StrikesFromTheNthCommandThatMatches)
{
    arm({"error", "--match", "show", "--nth", "2", "--times", "2"});
    std::vector<int> statuses;
    for (const char* command :
         {"show host \"prod\"", "list hosts", "show cgroup \"cg1\"", "show host \"backup\"", "show host \"prod\""}) {
        statuses.push_back(m_demo.lmsh(command).status);
    }
    EXPECT_THAT(statuses, ElementsAre(0, 0, 1, 1, 0));
}

TEST_F(Fault, CountsTheCommandsOfOneScript)
{
    arm({"error", "--nth", "2"});
    const SResult result = m_demo.lmsh("list hosts\nlist cgroups");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ElementsAre("backup", "prod"));
}

TEST_F(Fault, StrikesTheDiskUtilityToo)
{
    arm({"error", "--match", "backup: kforutil listdisk"});
    EXPECT_EQ(m_demo.kforutil("prod", "listdisk").status, 0);
    EXPECT_EQ(m_demo.kforutil("backup", "discover").status, 0);
    const SResult result = m_demo.kforutil("backup", "listdisk");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, ElementsAre("kforutil: refused by fault 1"));
}

TEST_F(Fault, WatchNotesEveryCommandAndChangesNone)
{
    arm({"watch", "--times", "0"});
    arm({"lost", "--match", "create"});
    m_demo.lmsh("create annotation \"B\" \"cg1\"\ncommit");
    m_demo.lmsh("show cgroup \"cg1\"");
    m_demo.lmsh("show cgroup \"none\"");
    m_demo.kforutil("prod", "discover");
    std::vector<std::pair<std::string, bool>> seen;
    const auto document = m_demo.document({"fault", "show", "1"});
    for (const auto& entry : document.at("commands")) {
        seen.emplace_back(entry.at("command"), entry.at("finished"));
    }
    EXPECT_THAT(
        seen, ElementsAre(std::pair("alpha: create annotation \"B\" \"cg1\"", true),
                          std::pair("alpha: show cgroup \"cg1\"", true), std::pair("alpha: show cgroup \"none\"", true),
                          std::pair("prod: kforutil discover", true)));
    EXPECT_THAT(document.at("seen"), 4);
}

TEST_F(Fault, TheOldestOfSeveralStrikes)
{
    arm({"lost"});
    arm({"error", "--nth", "2"});
    EXPECT_THAT(m_demo.lmsh("list hosts").err, ElementsAre(HasSubstr("lost by fault 1")));
    EXPECT_THAT(m_demo.lmsh("list hosts").err, ElementsAre("lmsh: refused by fault 2"));
    EXPECT_EQ(m_demo.lmsh("list hosts").status, 0);
}

TEST_F(Fault, ListsShowsAndClears)
{
    EXPECT_THAT(m_demo.lmadm({"fault", "list"}).out, ElementsAre("(none)"));
    EXPECT_THAT(m_demo.lmadm({"fault", "clear"}).out, ElementsAre("cleared: 0"));
    EXPECT_THAT(
        m_demo.lmadm({"fault", "arm", "cut", "--at", "12", "--match", "list"}).out,
        ElementsAre("fault: 1", "kind: cut", "match: list", "nth: 1", "times: 1", "seen: 0", "struck: 0", "at: 12"));
    arm({"tear"});
    m_demo.lmsh("list hosts");
    EXPECT_THAT(m_demo.lmadm({"fault", "list"}).out,
                ElementsAre("fault  kind  match               nth  times  seen  struck",
                            "1      cut   list                1    1      1     1",
                            "2      tear  create annotation   1    1      0     0"));
    EXPECT_THAT(m_demo.lmadm({"fault", "show", "1"}).out,
                ElementsAre("fault: 1", "kind: cut", "match: list", "nth: 1", "times: 1", "seen: 1", "struck: 1",
                            "at: 12", "commands:", "  finished  command", "  true      alpha: list hosts"));
    EXPECT_THAT(m_demo.lmadm({"fault", "clear", "1"}).out, ElementsAre("cleared: 1"));
    EXPECT_THAT(m_demo.lmadm({"fault", "clear"}).out, ElementsAre("cleared: 1"));
    EXPECT_THAT(m_demo.lmadm({"fault", "list"}).out, ElementsAre("(none)"));
}

TEST_F(Fault, ClearsAllThatAreNamedOrNone)
{
    arm({"error"});
    m_demo.expectRefusal({"fault", "clear", "1", "7"}, 3, "fault 7 does not exist; see what exists: lmadm fault list");
    EXPECT_THAT(table().list(), SizeIs(1));
}

TEST_F(Fault, TheFirstIsArmedUnderRunningCommandsThatDoNotNotice)
{
    for (int round = 0; round < 20; ++round) {
        for (const char* ending : {"", "-wal", "-shm"}) {
            std::filesystem::remove(SLayout{m_demo.store()}.faults().string() + ending);
        }
        std::vector<std::string> arming = lmadmCommand();
        arming.insert(arming.end(), {"--store", m_demo.store().string(), "fault", "arm", "watch", "--times", "0"});
        std::vector<std::unique_ptr<CProcess>> processes;
        for (int i = 0; i < 3; ++i) {
            processes.push_back(std::make_unique<CProcess>(lmshCommand(), script("list hosts\nlist hosts\nlist hosts"),
                                                           m_demo.root("prod").string()));
            processes.push_back(std::make_unique<CProcess>(arming, ""));
        }
        for (const auto& process : processes) {
            const SResult result = process->wait();
            EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
        }
        EXPECT_THAT(table().list(), SizeIs(3));
    }
}

TEST_F(Fault, OnlyTheOwnerReadsWhatWasStruck)
{
    const mode_t former = umask(0);
    arm({"watch"});
    umask(former);
    struct stat status = {};
    ASSERT_EQ(stat(SLayout{m_demo.store()}.faults().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Fault, HelpNamesEveryKind)
{
    EXPECT_THAT(m_demo.lmadm({"fault", "arm", "--help"}).out,
                testing::Contains(HasSubstr(
                    "watch, error, slow, hang, garble, cut, lost, kill-before, kill-after, hang-after or tear")));
}

TEST_F(Fault, RefusesWhatMakesNoSense)
{
    m_demo.expectRefusal(
        {"fault", "arm", "explode"}, 2,
        "fault \"explode\" is none of watch, error, slow, hang, garble, cut, lost, kill-before, kill-after, "
        "hang-after, tear; see lmadm --help");
    m_demo.expectRefusal({"fault", "arm", "cut"}, 2, "--at BYTE goes with cut, and cut needs it; see lmadm --help");
    m_demo.expectRefusal({"fault", "arm", "hang", "--seconds", "2"}, 2,
                         "--seconds goes with slow and tear only; see lmadm --help");
    for (const char* seconds : {"-1", "nan", "inf"}) {
        const SResult result = m_demo.lmadm({"fault", "arm", "slow", "--seconds", seconds});
        EXPECT_EQ(result.status, 2) << seconds;
        EXPECT_THAT(result.err, ElementsAre(HasSubstr("--seconds"))) << seconds;
    }
    m_demo.expectRefusal({"fault", "show", "7"}, 3, "fault 7 does not exist; see what exists: lmadm fault list");
    m_demo.expectRefusal({"fault", "clear", "7"}, 3, "fault 7 does not exist; see what exists: lmadm fault list");
}

}  // namespace

}  // namespace lumora::test
