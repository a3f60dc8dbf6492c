// What fictl --record writes, and what becomes of a command whose conversation cannot be written.
#include <sys/stat.h>

#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

class CRecordingTest : public CFictlTest
{
  protected:
    std::string file() const { return m_root + "/talk.jsonl"; }

    SRun record(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {"--record", file()});
        return fictlJson(arguments);
    }

    std::vector<json> lines() const
    {
        std::vector<json> documents;
        for (const std::string& line : base_test::linesOf(base_test::contentOf(file()))) {
            documents.push_back(json::parse(line));
        }
        return documents;
    }

    /// The runs of the provider or of its inspector.
    std::vector<json> runs(const std::string& source) const
    {
        std::vector<json> found;
        for (const json& line : lines()) {
            if (line.contains("run") && line["run"]["source"] == source) found.push_back(line["run"]);
        }
        return found;
    }
};

TEST_F(CRecordingTest, HoldsEveryRunWithScriptAnswerAndEnd)
{
    const SRun run = record({"snapshot", "create", "s", "/dev/fake1"});
    ASSERT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::string checkpoint = run.document()["snapshot"]["checkpoint"];
    size_t found = 0;
    for (const json& each : runs("provider")) {
        EXPECT_EQ(each["stopped"], nullptr);
        EXPECT_EQ(each["whole"], true);
        const std::string input = each["input"];
        if (input.find("annotation") == std::string::npos) continue;
        ++found;
        EXPECT_NE(input.find("\"" + checkpoint + "\" \"g1\""), std::string::npos) << input;
        EXPECT_EQ(each["exit"], 0);
        EXPECT_FALSE(each["arguments"].empty());
        EXPECT_GT(each["seconds"], 0);
    }
    EXPECT_EQ(found, 1U);
    const json end = lines().back()["end"];
    EXPECT_EQ(end["exit"], 0);
    EXPECT_EQ(end["output"], run.out);
}

TEST_F(CRecordingTest, BeginsWithWhatTheCommandBeganWith)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    fs::create_directories(m_root + "/etc/qz");
    base_test::writeFile(m_root + "/etc/qz/fakefi.conf", "[FI_NETWORK]\nLOCAL_NAME=here\n");
    ASSERT_EQ(record({"snapshot", "import", "s"}).exit, 0);
    const json head = lines().front();
    EXPECT_EQ(head["format"], "fictl-conversation");
    EXPECT_EQ(head["version"], 1);
    EXPECT_EQ(head["arguments"], (json{"--provider", provider(), "--output", "json", "snapshot", "import", "s"}));
    EXPECT_EQ(head["provider"], "fakefi");
    EXPECT_EQ(head["configuration"], "[FI_NETWORK]\nLOCAL_NAME=here\n");
    EXPECT_EQ(head["host"], "here");
    EXPECT_EQ(head["checkpoint"], "KSV_Check_Point_" + std::to_string(head["process"].get<int>()));
    ASSERT_EQ(head["catalog"]["snapshot"].size(), 1U);
    EXPECT_EQ(head["catalog"]["snapshot"][0]["name"], "s");
    EXPECT_EQ(head["catalog"]["snapshot"][0]["state"], "complete") << "as it was before the command";
    EXPECT_EQ(head["catalog"]["device"][0]["source"], "/dev/fake1");
}

TEST_F(CRecordingTest, IsForItsOwnerOnly)
{
    ASSERT_EQ(record({"snapshot", "list"}).exit, 0);
    struct stat status = {};
    ASSERT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_FALSE(fs::exists(file() + ".part"));
}

TEST_F(CRecordingTest, AFileThatIsThereIsLeftAndNothingIsDone)
{
    base_test::writeFile(file(), "of somebody else");
    const SRun run = record({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 4);
    EXPECT_EQ(run.message(), "file " + file() + " exists already; nothing was done");
    EXPECT_EQ(base_test::contentOf(file()), "of somebody else");
    EXPECT_TRUE(objects().empty());
}

TEST_F(CRecordingTest, ThatCannotBeWrittenIsOneWarning)
{
    fs::create_directory(file() + ".part");
    const SRun run = record({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.err, "fictl: warning: conversation " + file() + " is not whole: cannot create " + file() +
                           ".part: Is a directory\n");
    EXPECT_EQ(state("s"), "complete");
}

TEST_F(CRecordingTest, TellsARefusalAndItsAnswer)
{
    arm("make:g1 fail=6 no room\n");
    EXPECT_EQ(record({"snapshot", "create", "s", "/dev/fake1"}).exit, 8);
    size_t failed = 0;
    for (const json& run : runs("provider")) {
        if (run["exit"] != 6) continue;
        ++failed;
        EXPECT_EQ(run["answer"], "no room\n");
    }
    EXPECT_EQ(failed, 1U);
    EXPECT_EQ(lines().back()["end"]["exit"], 8);
}

TEST_F(CRecordingTest, TellsARunThatGaveNoAnswer)
{
    limitTool(1);
    arm("make:g1 hangs\n");
    EXPECT_NE(record({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    size_t stopped = 0;
    for (const json& run : runs("provider")) {
        if (run["stopped"] != "limit") continue;
        ++stopped;
        EXPECT_EQ(run["exit"], nullptr);
        EXPECT_EQ(run["limit"], 1);
    }
    EXPECT_EQ(stopped, 1U);
}

TEST_F(CRecordingTest, WhatMayHoldAPasswordIsLeftOut)
{
    ASSERT_EQ(record({"snapshot", "create", "s", "/dev/fake1", "--freeze=true secret", "--thaw", "true secret"}).exit,
              0);
    EXPECT_EQ(base_test::contentOf(file()).find("secret"), std::string::npos);
    // A record keeps the command while it may still have to run.
    arm("make killed\n");
    EXPECT_NE(fictl({"snapshot", "create", "t", "/dev/fake3", "--freeze", "true", "--thaw", "true secret"}).exit, 0);
    arm("");
    const std::string second = m_root + "/second.jsonl";
    EXPECT_EQ(fictl({"--record", second, "snapshot", "list"}).exit, 0);
    EXPECT_EQ(base_test::contentOf(second).find("secret"), std::string::npos);
    EXPECT_NE(base_test::contentOf(second).find("\"thaw\":\"true\""), std::string::npos);
    const json arguments = lines().front()["arguments"];
    EXPECT_EQ(json(std::vector<json>(arguments.end() - 4, arguments.end())),
              (json{"--freeze", "true", "--thaw", "true"}));
}

TEST_F(CRecordingTest, AThawCommandThatIsPrintedIsLeftOut)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "false secret"}).exit, 12);
    for (const char* const form : {"table", "json"}) {
        const SRun run = fictl({"--output", form, "--record", file(), "snapshot", "show", "s"});
        EXPECT_NE(run.out.find("false secret"), std::string::npos) << "people are told";
        EXPECT_EQ(base_test::contentOf(file()).find("secret"), std::string::npos) << form;
        EXPECT_NE(lines().back()["end"]["output"].get<std::string>().find("thaw command failed: "), std::string::npos);
        fs::remove(file());
    }
}

TEST_F(CRecordingTest, TheHistoryRepeatsNoCommandThatFailed)
{
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze=false secret", "--thaw", "true"}).exit, 12);
    const SRun history = fictlJson({"history"});
    EXPECT_EQ(history.document()["history"][0]["message"].get<std::string>().find("secret"), std::string::npos);
    EXPECT_NE(history.out.find("freeze command \\\"...\\\" failed"), std::string::npos) << history.out;
}

TEST_F(CRecordingTest, HoldsTheDocumentThatIsReceived)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::string document = fictl({"snapshot", "export", "s"}).out;
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    base_test::writeFile(m_root + "/s.json", document);
    EXPECT_EQ(record({"snapshot", "receive", m_root + "/s.json"}).exit, 0);
    EXPECT_EQ(lines()[1]["input"], (json{{"file", m_root + "/s.json"}, {"text", document}}));
}

TEST_F(CRecordingTest, OfTheDoctorHoldsWhatTheProviderAskedWhenItWasStarted)
{
    EXPECT_EQ(record({"doctor"}).exit, 0);
    EXPECT_FALSE(runs("provider").empty());
    EXPECT_EQ(lines().back()["end"]["exit"], 0);
}

TEST_F(CRecordingTest, GoesOnInTheProcessThatGoesOn)
{
    const pid_t process = startHeld({"--record", file(), "snapshot", "create", "s", "/dev/fake1"});
    base_test::writeFile(fake("objects/ap1.g1.KSV_Check_Point_" + std::to_string(process)),
                         "created 2026-01-31T12:00:00Z\n");
    release();
    const SRun run = finish();
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_NE(lines().front()["process"], process);
    EXPECT_EQ(lines().back()["end"]["exit"], 0);
    EXPECT_FALSE(fs::exists(file() + ".part"));
}

TEST_F(CRecordingTest, BytesThatAreNoTextStandAsHex)
{
    arm("make:g1 fail=6 \xff\xfe\n");
    EXPECT_EQ(record({"snapshot", "create", "s", "/dev/fake1"}).exit, 8);
    bool isThere = false;
    for (const json& run : runs("provider")) {
        isThere = isThere || run["answer"] == json{{"hex", "fffe0a"}};
    }
    EXPECT_TRUE(isThere);
}

}  // namespace
