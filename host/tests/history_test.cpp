// What the history keeps of a command, also of one that failed, was killed or could not write it.
#include <unistd.h>

#include <csignal>

#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

class CHistoryTest : public CCatalogTest
{
  protected:
    json entries(std::vector<std::string> arguments = {}) const
    {
        arguments.insert(arguments.begin(), "history");
        const SRun run = fictlJson(arguments);
        EXPECT_EQ(run.exit, 0) << run.err;
        EXPECT_EQ(run.err, "");
        return run.document()["history"];
    }
    json last() const { return entries().back(); }

    /// The objects of an entry as "verb kind appliance/group name outcome", checkpoint and image without their numbers.
    static std::vector<std::string> objectsOf(const json& entry)
    {
        std::vector<std::string> lines;
        for (const json& object : entry["objects"]) {
            const std::string name = object["name"];
            lines.push_back(object["verb"].get<std::string>() + " " + object["kind"].get<std::string>() + " " +
                            object["appliance"].get<std::string>() + "/" + object["group"].get<std::string>() + " " +
                            name.substr(0, name.rfind('_')) + " " + object["outcome"].get<std::string>());
        }
        return lines;
    }
    void configure(const std::string& lines) const
    {
        fs::create_directories(m_root + "/etc/qz");
        base_test::writeFile(m_root + "/etc/qz/fictl.conf", "[CATALOG]\n" + lines);
    }
    void create(const std::string& name, const std::string& device = "/dev/fake1") const
    {
        ASSERT_EQ(fictl({"snapshot", "create", name, device}).exit, 0);
    }
};

TEST_F(CHistoryTest, ACreationIsKeptWithItsCheckpointsAndTheAppliancesTime)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
    const json record = fictlJson({"snapshot", "show", "s"}).document()["snapshot"];
    const json entry = last();
    EXPECT_EQ(entry["command"], "fictl --provider " + provider() + " snapshot create s /dev/fake1 /dev/fake3");
    EXPECT_EQ(entry["snapshot"], "s");
    EXPECT_EQ(entry["state"], "ended");
    EXPECT_EQ(entry["exit"], (json{{"code", 0}, {"name", "ok"}}));
    EXPECT_EQ(objectsOf(entry), (std::vector<std::string>{"create checkpoint ap1/g1 KSV_Check_Point sure",
                                                          "create checkpoint ap1/g2 KSV_Check_Point sure"}));
    EXPECT_EQ(entry["objects"][0]["name"], record["checkpoint"]);
    EXPECT_EQ(entry["objects"][0]["made_at"], "2026-01-31T12:00:00Z") << "the appliance's own time";
    EXPECT_EQ(entry["message"], nullptr);
    EXPECT_EQ(entry["lost"], 0);
    EXPECT_GT(entry["looks"], 0);
    ASSERT_EQ(entry["commands"].size(), 2U);
    EXPECT_NE(entry["commands"][0]["command"].get<std::string>().find("create annotation"), std::string::npos);
    EXPECT_EQ(entry["commands"][0]["answer"], "done");
}

TEST_F(CHistoryTest, EveryCommandThatChangesSomethingIsKeptAndNoOther)
{
    create("s");
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "export", "s"}).exit, 0);
    for (const std::vector<std::string>& look : std::vector<std::vector<std::string>>{{"snapshot", "list"},
                                                                                      {"snapshot", "show", "s"},
                                                                                      {"history"},
                                                                                      {"doctor"},
                                                                                      {"catalog", "check"},
                                                                                      {"device", "list"},
                                                                                      {"provider", "show"}}) {
        fictl(look);
    }
    ASSERT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    std::vector<std::string> verbs;
    std::vector<std::string> objects;
    for (const json& entry : entries({"s"})) {
        const std::string command = entry["command"];
        const size_t verb = command.find("snapshot ") + 9;
        verbs.push_back(command.substr(verb, command.find(' ', verb) - verb));
        for (const std::string& line : objectsOf(entry)) {
            objects.push_back(line);
        }
    }
    EXPECT_EQ(verbs, (std::vector<std::string>{"create", "import", "release", "export", "delete"}));
    EXPECT_EQ(objects,
              (std::vector<std::string>{
                  "create checkpoint ap1/g1 KSV_Check_Point sure", "create image ap1/g1 KSV_Time_Image sure",
                  "delete image ap1/g1 KSV_Time_Image sure", "delete checkpoint ap1/g1 KSV_Check_Point sure"}));
}

TEST_F(CHistoryTest, AKilledCommandLeavesAnEntryWithWhatItMayHaveMade)
{
    arm("make:g1 killed-after\n");
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 1000 + SIGKILL);
    const json entry = last();
    EXPECT_EQ(entry["state"], "did not end");
    EXPECT_EQ(entry["exit"], nullptr);
    EXPECT_EQ(entry["seconds"], nullptr);
    EXPECT_EQ(objectsOf(entry), std::vector<std::string>{"create checkpoint ap1/g1 KSV_Check_Point asked"});
    EXPECT_EQ(fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["checkpoint"], entry["objects"][0]["name"]);
}

TEST_F(CHistoryTest, AKilledImportLeavesTheImageThatItMayHaveMade)
{
    create("s");
    arm("image:g1 killed-after\n");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 1000 + SIGKILL);
    EXPECT_EQ(objectsOf(last()), std::vector<std::string>{"create image ap1/g1 KSV_Time_Image asked"});
}

TEST_F(CHistoryTest, ACommandThatRunsIsShownAsRunning)
{
    arm("make:g1 wait here\n");
    startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("here.reached");
    EXPECT_EQ(last()["state"], "running");
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(last()["state"], "ended");
}

TEST_F(CHistoryTest, ARefusedAndALostAnswerAreToldApart)
{
    arm("make:g1 fail=4 annotation \"X\" exists already in group \"g1\"\n");
    EXPECT_EQ(fictl({"snapshot", "create", "refused", "/dev/fake1"}).exit, 8);
    arm("make:g1 lost no carrier\n");
    const SRun lost = fictl({"snapshot", "create", "lost", "/dev/fake1"});
    EXPECT_NE(lost.exit, 0);
    const json refusedEntry = entries({"refused"}).back();
    EXPECT_EQ(objectsOf(refusedEntry), std::vector<std::string>{"create checkpoint ap1/g1 KSV_Check_Point refused"});
    EXPECT_EQ(refusedEntry["exit"], (json{{"code", 8}, {"name", "failed"}}));
    EXPECT_TRUE(refusedEntry["message"].get<std::string>().starts_with("snapshot \"refused\": "));
    const json lostEntry = entries({"lost"}).back();
    EXPECT_EQ(objectsOf(lostEntry), std::vector<std::string>{"create checkpoint ap1/g1 KSV_Check_Point lost"});
    EXPECT_EQ(lostEntry["objects"][0]["made_at"], "2026-01-31T12:00:00Z") << "it is there all the same";
    EXPECT_NE(lostEntry["commands"][0]["answer"].get<std::string>().find("no carrier"), std::string::npos);
}

TEST_F(CHistoryTest, ACommandThatIsRefusedAsksForNothing)
{
    EXPECT_EQ(fictl({"snapshot", "delete", "none"}).exit, 3);
    const json entry = last();
    EXPECT_EQ(entry["snapshot"], "none");
    EXPECT_EQ(entry["exit"]["name"], "not-found");
    EXPECT_EQ(entry["message"], "snapshot \"none\" is not in the catalog");
    EXPECT_EQ(entry["objects"], json::array());
}

TEST_F(CHistoryTest, AForgottenRecordAsksForNothing)
{
    create("s");
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    EXPECT_EQ(last()["exit"]["code"], 0);
    EXPECT_EQ(last()["objects"], json::array()) << "what it was about is still there";
}

TEST_F(CHistoryTest, WhatMayHoldAPasswordIsLeftOut)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true secret1", "--thaw=true secret2"}).exit,
              0);
    const std::string command = last()["command"];
    EXPECT_TRUE(command.ends_with(" snapshot create s /dev/fake1 --freeze ... --thaw=...")) << command;
    EXPECT_GT(last()["frozen_seconds"], 0);
    EXPECT_EQ(fictl({"history"}).out.find("secret"), std::string::npos);
    EXPECT_EQ(textOf("SELECT count(*) FROM history WHERE command LIKE '%secret%'"), "0");
}

TEST_F(CHistoryTest, AFileToWriteIsNamedByItsWholePath)
{
    create("s");
    const std::string file = m_root + "/tmp/s nightly.json";
    const std::string from = fs::relative(file);
    const auto commandWith = [this](const std::vector<std::string>& words) {
        std::vector<std::string> all = {"snapshot", "export", "none"};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_EQ(fictl(all).exit, 3);
        const std::string command = last()["command"];
        return command.substr(command.find(" export"));
    };
    EXPECT_EQ(commandWith({"--file", from}), " export none --file '" + file + "'");
    EXPECT_EQ(commandWith({"--file=" + from}), " export none '--file=" + file + "'");
    EXPECT_EQ(commandWith({"--file", "s.json"}), " export none --file " + fs::current_path().string() + "/s.json");
}

TEST_F(CHistoryTest, WhoBecameRootWithSudoIsNamed)
{
    const std::vector<std::string> words = {"SUDO_USER=anna", FICTL_PROGRAM, "--provider", provider(),
                                            "snapshot",       "delete",      "none"};
    EXPECT_EQ(runProgram("/usr/bin/env", words).exit, 3);
    // Anybody else could set the variable to what he likes.
    EXPECT_EQ(last()["sudo_user"], geteuid() == 0 ? json("anna") : json());
    EXPECT_NE(last()["user"], "");
    EXPECT_NE(last()["host"], "");
}

TEST_F(CHistoryTest, WordsAreShownAsAShellTakesThem)
{
    EXPECT_EQ(fictl({"snapshot", "export", "none", "--file", "it's a file"}).exit, 3);
    const std::string command = last()["command"];
    EXPECT_TRUE(command.ends_with(" snapshot export none --file '" + fs::current_path().string() + "/it'\\''s a file'"))
        << command;
}

TEST_F(CHistoryTest, ThatCannotBeWrittenIsOneWarningAndKeepsNothingFromBeingDone)
{
    begin();
    change("DROP TABLE history_object; CREATE TABLE history_object (entry INTEGER CHECK (0)); DELETE FROM history");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.err, "fictl: warning: catalog " + catalog() +
                           ": its history may lack this command: table history_object has no column named "
                           "position\n");
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(textOf("SELECT count(*) FROM history"), "0");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CHistoryTest, AnEndThatCannotBeWrittenLeavesTheExitCodeAsItWas)
{
    begin();
    change("CREATE TRIGGER no_end BEFORE UPDATE ON history BEGIN SELECT RAISE(ABORT, 'no room'); END");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.err, "fictl: warning: catalog " + catalog() + ": its history may lack this command: no room\n");
    EXPECT_EQ(last()["state"], "did not end");
}

TEST_F(CHistoryTest, AnEntryThatIsCompleteIsNotChanged)
{
    create("s");
    base::CSqliteDatabase database(catalog(), SQLITE_OPEN_READWRITE, std::chrono::seconds(1));
    EXPECT_THROW(database.execute("UPDATE history SET exit = 7"), base::ESqlite);
    EXPECT_EQ(last()["exit"]["code"], 0);
}

TEST_F(CHistoryTest, SinceTakesATimeAndAnAge)
{
    create("s");
    change(
        "INSERT INTO history (started, host, user, sudo_user, command, snapshot, pid, boot_id, start_time, "
        "pid_namespace, owner_lock, bytes) VALUES ('2026-01-31T12:00:00Z', 'h', 'u', '', 'old', 's', 0, '', 0, '', "
        "0, 1)");
    EXPECT_EQ(entries().size(), 2U);
    EXPECT_EQ(entries().back()["command"], "old") << "in the order in which they were entered";
    for (const char* since : {"1d", "2h", "30m", "90s"}) {
        EXPECT_EQ(entries({"--since", since}).size(), 1U) << since;
    }
    EXPECT_EQ(entries({"--since", "999999d"}).size(), 2U) << "further back than any clock";
    EXPECT_EQ(entries({"--since", "2026-01-31"}).size(), 2U);
    EXPECT_EQ(entries({"--since", "2026-01-31T12:00:00Z"}).size(), 2U);
    EXPECT_EQ(entries({"--since", "2026-01-31T12:00:01Z"}).size(), 1U);
    for (const char* since : {"2", "d", "2w", "yesterday", "2026-1-31", "-1d", "99999999d", "2026-01-31T12:00:00ZZ",
                              "2026-13-01", "1700-01-01", "9999-01-01"}) {
        EXPECT_EQ(fictl({"history", "--since", since}).exit, 2) << since;
    }
    EXPECT_EQ(entries({"other"}), json::array());
}

TEST_F(CHistoryTest, TheTableOfOneSnapshotTellsItsObjects)
{
    create("s");
    const std::vector<std::string> all = base_test::linesOf(fictl({"history"}).out);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_TRUE(all[0].starts_with("NUMBER  STARTED               WHO ")) << all[0];
    EXPECT_TRUE(all[1].starts_with("1       20")) << all[1];
    const std::vector<std::string> one = base_test::linesOf(fictl({"history", "s"}).out);
    ASSERT_EQ(one.size(), 5U);
    EXPECT_TRUE(one[3].starts_with("NUMBER  VERB    KIND        APPLIANCE  GROUP  NAME ")) << one[3];
    EXPECT_TRUE(one[4].starts_with("1       create  checkpoint  ap1        g1     KSV_Check_Point_")) << one[4];
    EXPECT_TRUE(one[4].ends_with("  sure     2026-01-31T12:00:00Z")) << one[4];
    EXPECT_EQ(fictl({"history", "none"}).out, "nothing is known\n");
}

TEST_F(CHistoryTest, WhatIsOlderThanTheSettingGoes)
{
    create("s");
    change("DROP TRIGGER history_is_kept; UPDATE history SET started = '2020-01-31T12:00:00Z'");
    configure("HISTORY_DAYS=100000\n");
    create("t", "/dev/fake3");
    EXPECT_EQ(entries().size(), 2U);
    configure("");
    create("u", "/dev/fake4");
    EXPECT_EQ(entries({"s"}), json::array());
    EXPECT_EQ(entries().size(), 2U);
    EXPECT_EQ(textOf("SELECT count(DISTINCT entry) FROM history_object"), "2") << "its objects go with it";
    EXPECT_EQ(entries().back()["number"], 3) << "no number is given twice";
}

TEST_F(CHistoryTest, WhatIsBeyondTheSizeOfTheSettingGoes)
{
    configure("HISTORY_BYTES=1\n");
    create("s");
    create("t", "/dev/fake3");
    ASSERT_EQ(entries().size(), 1U) << "the one that is being made stays";
    EXPECT_EQ(last()["snapshot"], "t");
    EXPECT_EQ(last()["state"], "ended");
    configure("HISTORY_BYTES=nonsense\n");
    create("u", "/dev/fake4");
    EXPECT_EQ(entries().size(), 2U);
}

TEST_F(CHistoryTest, IsReadWhereNothingCanBeWritten)
{
    create("s");
    const std::string before = fictl({"history", "s"}).out;
    for (const char* file : {"-wal", "-shm"}) {
        fs::remove(catalog() + file);
    }
    fs::create_symlink("nowhere", catalog() + "-shm");
    EXPECT_EQ(fictl({"history", "s"}).out, before);
}

TEST_F(CHistoryTest, WithoutACatalogIsEmptyAndMakesNone)
{
    EXPECT_EQ(entries(), json::array());
    EXPECT_FALSE(fs::exists(catalog()));
}

TEST_F(CHistoryTest, ItsRowsAreLookedAtByTheCheck)
{
    create("s");
    EXPECT_EQ(fictlJson({"catalog", "check"}).document()["catalog"]["history"], 1);
    change(
        "DROP TRIGGER history_is_kept; UPDATE history SET exit = 700; "
        "UPDATE history_object SET outcome = 'weird'; "
        "INSERT INTO history_run VALUES (99, 0, '2026-01-31T12:00:00Z', 1, 'c', 'a')");
    const json problems = fictlJson({"catalog", "check"}).document()["catalog"]["problems"];
    std::vector<std::string> found;
    for (const json& problem : problems) {
        found.push_back(problem["table"].get<std::string>() + " " + problem["row"].get<std::string>() + " " +
                        problem["column"].get<std::string>() + ": " + problem["text"].get<std::string>());
    }
    EXPECT_EQ(found, (std::vector<std::string>{"history 1 exit: 700 is out of range",
                                               "history_object 1/0 outcome: \"weird\" is no outcome",
                                               "history_run 99/0 entry: there is no entry of this number"}));
}

TEST_F(CHistoryTest, ACommandThatGoesOnInAnotherProcessIsKeptOnce)
{
    const pid_t process = startHeld({"snapshot", "create", "s", "/dev/fake1"});
    base_test::writeFile(fake("objects/ap1.g1.KSV_Check_Point_" + std::to_string(process)),
                         "created 2026-01-31T12:00:00Z\n");
    release();
    EXPECT_EQ(finish().exit, 0);
    ASSERT_EQ(entries().size(), 1U);
    EXPECT_NE(last()["process"], process);
    EXPECT_EQ(objectsOf(last()), std::vector<std::string>{"create checkpoint ap1/g1 KSV_Check_Point sure"});
}

}  // namespace
