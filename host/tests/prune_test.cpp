// Rotation as a command: what it tells, what it deletes, and what it leaves alone.
#include <csignal>

#include "host/tests/catalog_fixture.h"

namespace {

using nlohmann::json;

class CPruneTest : public CCatalogTest
{
  protected:
    /// A snapshot that was made so many days ago.
    void create(const std::string& name, int days, const std::vector<std::string>& more = {"/dev/fake1"}) const
    {
        std::vector<std::string> words = {"snapshot", "create", name};
        words.insert(words.end(), more.begin(), more.end());
        ASSERT_EQ(fictl(words).exit, 0);
        change("UPDATE snapshot SET created = strftime('%Y-%m-%dT12:00:00Z', 'now', '-" + std::to_string(days) +
               " days') WHERE name = '" + name + "'");
    }
    void createThree() const
    {
        create("a1", 3);
        create("a2", 2);
        create("a3", 1);
    }
    SRun prune(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"snapshot", "prune"});
        return fictl(words);
    }
    /// "name result" of each snapshot, and the command's exit code.
    std::vector<std::string> pruned(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"--output", "json"});
        const SRun run = prune(words);
        std::vector<std::string> lines = {"exit " + std::to_string(run.exit)};
        const json document = run.document();
        for (const json& each : document["pruned"]["snapshots"]) {
            lines.push_back(each["name"].get<std::string>() + " " + each["result"].get<std::string>());
        }
        return lines;
    }
    std::string names() const
    {
        std::string text;
        for (const std::string& line : base_test::linesOf(fictl({"-o", "name", "snapshot", "list"}).out)) {
            text += (text.empty() ? "" : " ") + line;
        }
        return text;
    }
};

using Lines = std::vector<std::string>;

TEST_F(CPruneTest, TellsOfEachSnapshotWhyItStaysOrGoes)
{
    createThree();
    const std::string day3 = textOf("SELECT created FROM snapshot WHERE name = 'a3'");
    const std::string day2 = textOf("SELECT created FROM snapshot WHERE name = 'a2'");
    const std::string day1 = textOf("SELECT created FROM snapshot WHERE name = 'a1'");
    const SRun run = prune({"--keep-last", "1", "--keep-daily", "2"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.out,
              "NAME  CREATED               GROUPS  RESULT   REASON\n"
              "a3    " +
                  day3 +
                  "  ap1/g1  stays    kept: last 1, daily 1\n"
                  "a2    " +
                  day2 +
                  "  ap1/g1  stays    kept: daily 2\n"
                  "a1    " +
                  day1 +
                  "  ap1/g1  deleted  no rule keeps it\n"
                  "1 deleted, 2 stays\n");
    EXPECT_EQ(names(), "a2 a3");
    EXPECT_EQ(objects().size(), 2U);
}

TEST_F(CPruneTest, ADryRunDeletesNothing)
{
    createThree();
    const SRun run = prune({"--dry-run", "--keep-last", "1"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_NE(run.out.find("ap1/g1  goes    no rule keeps it\n2 goes, 1 stays\n"
                           "nothing was asked for, and nothing was changed\n"),
              std::string::npos)
        << run.out;
    EXPECT_EQ(names(), "a1 a2 a3");
    EXPECT_EQ(fictlJson({"history"}).document()["history"].size(), 3U);
}

TEST_F(CPruneTest, WithoutARuleNothingIsDone)
{
    createThree();
    const SRun run = prune({"--older-than", "1d"});
    EXPECT_EQ(run.exit, 2);
    EXPECT_EQ(run.err,
              "fictl: no rule says what is to be kept, so everything would go; nothing was deleted\n"
              "  next: give at least one of --keep-last, --keep-hourly, --keep-daily, --keep-weekly, --keep-monthly "
              "and --keep-yearly\n");
    for (const Lines& words : std::vector<Lines>{{"--keep-last", "0"},
                                                 {"--keep-last", "-1"},
                                                 {"--keep-last", "x"},
                                                 {"--keep-last", "1", "--older-than", "2w"},
                                                 {"--keep-last", "1", "--label", "a b"}}) {
        EXPECT_EQ(prune(words).exit, 2) << words[1];
    }
    EXPECT_EQ(names(), "a1 a2 a3");
}

TEST_F(CPruneTest, LabelAndAgeChoose)
{
    create("a1", 9, {"/dev/fake1", "--label", "job=db"});
    create("a2", 5, {"/dev/fake1", "--label", "job=db"});
    create("a3", 1, {"/dev/fake1", "--label", "job=db"});
    create("other", 20);
    EXPECT_EQ(pruned({"--keep-last", "1", "--label", "job=db", "--older-than", "7d"}),
              (Lines{"exit 0", "a3 stays", "a2 stays", "a1 deleted"}));
    EXPECT_EQ(names(), "a2 a3 other");
}

TEST_F(CPruneTest, EachSeriesIsCountedForItself)
{
    createThree();
    create("b1", 9, {"/dev/fake3"});
    create("ab", 8, {"/dev/fake1", "/dev/fake3"});
    EXPECT_EQ(pruned({"--keep-last", "1"}),
              (Lines{"exit 0", "a3 stays", "a2 deleted", "a1 deleted", "ab stays", "b1 stays"}));
}

TEST_F(CPruneTest, WhatIsImportedPartialOrOfAnotherHostIsLeftAlone)
{
    create("imported", 5);
    ASSERT_EQ(fictl({"snapshot", "import", "imported"}).exit, 0);
    create("received", 4);
    const std::string document = fictl({"snapshot", "export", "received"}).out;
    ASSERT_EQ(fictl({"snapshot", "delete", "received", "--forget"}).exit, 0);
    ASSERT_EQ(receive(document).exit, 0);
    arm("make:g2 fail busy\n");
    EXPECT_EQ(fictl({"snapshot", "create", "partial", "/dev/fake1", "/dev/fake3"}).exit, 9);
    arm("");
    create("good", 1);
    EXPECT_EQ(pruned({"--keep-last", "1"}),
              (Lines{"exit 0", "good stays", "received stays", "imported stays", "partial stays"}));
    EXPECT_EQ(names(), "good imported partial received");
}

TEST_F(CPruneTest, WhatAnotherHostWorksWithIsRefusedAndTheOthersGo)
{
    createThree();
    ASSERT_EQ(fictl({"snapshot", "export", "a2"}).exit, 0);
    const std::string checkpoint = fictlJson({"snapshot", "show", "a2"}).document()["snapshot"]["checkpoint"];
    putImage("ap1", "g1", checkpoint.substr(checkpoint.rfind('_') + 1), "elsewhere");
    const SRun run = prune({"--keep-last", "1"});
    EXPECT_EQ(run.exit, 5);
    EXPECT_NE(run.out.find("1 deleted, 1 refused, 1 stays\n"), std::string::npos) << run.out;
    EXPECT_NE(run.err.find("elsewhere"), std::string::npos) << run.err;
    EXPECT_EQ(names(), "a2 a3");
    EXPECT_EQ(state("a2"), "complete") << "it is as it was";
}

TEST_F(CPruneTest, AFailureKeepsNoOtherFromItsTurn)
{
    create("a1", 3);
    create("b1", 2, {"/dev/fake3"});
    create("a2", 1);
    create("b2", 1, {"/dev/fake3"});
    arm("delete-annotation:g1 fail busy\n");
    EXPECT_EQ(pruned({"--keep-last", "1"}), (Lines{"exit 10", "a2 stays", "a1 failed", "b2 stays", "b1 deleted"}));
    EXPECT_EQ(state("a1"), "delete-failed");
    EXPECT_EQ(names(), "a1 a2 b2");
    arm("");
    EXPECT_EQ(pruned({"--keep-last", "1"}), (Lines{"exit 0", "a2 stays", "a1 stays", "b2 stays"}))
        << "what became of it is for a person to see";
}

TEST_F(CPruneTest, AfterASignalTheOthersHaveNoTurnAndWhatWasDoneIsTold)
{
    create("a1", 3);
    create("a2", 1);
    create("b1", 3, {"/dev/fake3"});
    create("b2", 1, {"/dev/fake3"});
    create("c1", 3, {"/dev/fake4"});
    create("c2", 1, {"/dev/fake4"});
    arm("delete-annotation:g1 wait here\n");
    const pid_t pid = startHeld({"snapshot", "prune", "--keep-last", "1"});
    release();
    waitForFile("here.reached");
    ASSERT_EQ(kill(pid, SIGTERM), 0);
    touch("here");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 15) << run.out << run.err;
    EXPECT_EQ(names(), "a2 b1 b2 c1 c2");
    EXPECT_TRUE(run.out.ends_with("1 deleted, 5 stays\n")) << run.out;
    for (const char* const name : {"b1", "c1"}) {
        const std::string row = run.out.substr(run.out.find(std::string(name) + " "));
        EXPECT_TRUE(row.substr(0, row.find('\n')).ends_with("  stays    it was not reached")) << row;
    }
    EXPECT_EQ(run.err.find("stopped by a signal"), run.err.rfind("stopped by a signal")) << run.err;
}

TEST_F(CPruneTest, ARecordThatCannotBeReadStaysAndIsTold)
{
    createThree();
    change("UPDATE device SET made = 7 WHERE snapshot = 'a1'");
    const SRun run = prune({"--keep-last", "1"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_NE(run.err.find("snapshot \"a1\" cannot be read and stays"), std::string::npos) << run.err;
    EXPECT_EQ(names(), "a3");
    EXPECT_EQ(textOf("SELECT count(*) FROM snapshot"), "2");
}

TEST_F(CPruneTest, EachDeletionIsAnEntryOfTheHistoryUnderItsName)
{
    createThree();
    ASSERT_EQ(prune({"--keep-last", "1"}).exit, 0);
    for (const std::string name : {"a1", "a2"}) {
        const json entry = fictlJson({"history", name}).document()["history"].back();
        EXPECT_EQ(entry["command"], "fictl --provider " + provider() + " snapshot prune --keep-last 1");
        EXPECT_EQ(entry["exit"]["name"], "ok");
        ASSERT_EQ(entry["objects"].size(), 1U) << entry;
        EXPECT_EQ(entry["objects"][0]["verb"], "delete");
        EXPECT_EQ(entry["objects"][0]["outcome"], "sure");
    }
}

TEST_F(CPruneTest, IsAnEntryOfTheHistoryAlsoWhenThereIsNothingToDelete)
{
    createThree();
    ASSERT_EQ(prune({"--keep-last", "1"}).exit, 0);
    EXPECT_EQ(fictlJson({"history"}).document()["history"].size(), 6U) << "three creations, and two deletions";
    const json before = fictlJson({"history"}).document()["history"][3];
    EXPECT_EQ(before["snapshot"], nullptr);
    EXPECT_EQ(before["exit"]["name"], "ok");
    EXPECT_EQ(before["objects"], json::array()) << "they are those of its deletions";
    EXPECT_EQ(before["commands"], json::array());
    EXPECT_EQ(before["looks"], 0);
    ASSERT_EQ(prune({"--keep-last", "1"}).exit, 0);
    const json history = fictlJson({"history"}).document()["history"];
    ASSERT_EQ(history.size(), 7U);
    EXPECT_EQ(history[6]["command"], "fictl --provider " + provider() + " snapshot prune --keep-last 1");
    EXPECT_EQ(history[6]["snapshot"], nullptr);
    EXPECT_EQ(history[6]["state"], "ended");
    EXPECT_EQ(prune({}).exit, 2);
    EXPECT_EQ(fictlJson({"history"}).document()["history"].size(), 7U) << "it came to nothing";
}

TEST_F(CPruneTest, WhatChangedMeanwhileIsLeftAlone)
{
    create("a1", 5);
    create("a2", 4);
    create("b1", 3, {"/dev/fake3"});
    create("b2", 2, {"/dev/fake3"});
    arm("delete-annotation:g1 wait here\n");
    startHeld({"snapshot", "prune", "--keep-last", "1"});
    release();
    waitForFile("here.reached");
    ASSERT_EQ(fictl({"snapshot", "delete", "b2"}).exit, 0);
    touch("here");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(names(), "a2 b1") << "b1 is the last one of its series by now";
    EXPECT_NE(run.out.find("1 deleted, 3 stays\n"), std::string::npos) << run.out;
}

TEST_F(CPruneTest, AnEmptyCatalogHasNothingToPrune)
{
    const SRun run = prune({"--keep-last", "1"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.out, "there is no such snapshot\n");
}

}  // namespace
