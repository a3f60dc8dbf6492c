// What a run leaves on standard output: one document in every case, and nothing of it lost without a word.
#include <fcntl.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "host/tests/fictl_fixture.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace {

class CAnswerTest : public CFictlTest
{
  protected:
    SRun runWithOutput(int output, std::vector<std::string> arguments) const
    {
        return runWith([output](auto* files) { posix_spawn_file_actions_adddup2(files, output, STDOUT_FILENO); },
                       std::move(arguments));
    }

    /// fictl with a standard output of the test's own; "out" of the result stays empty.
    SRun runWith(const std::function<void(posix_spawn_file_actions_t*)>& setOutput,
                 std::vector<std::string> arguments) const
    {
        const std::string err = m_root + "/tmp/run.err";
        arguments.insert(arguments.begin(),
                         {"/usr/bin/env", "OBZX_ROOT=" + m_root, FICTL_PROGRAM, "--provider", FICTL_FAKE_PROVIDER});
        std::vector<char*> words;
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        setOutput(&files);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t pid = 0;
        EXPECT_EQ(posix_spawn(&pid, words[0], &files, nullptr, words.data(), environ), 0);
        posix_spawn_file_actions_destroy(&files);
        int status = 0;
        waitpid(pid, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status), "", base_test::contentOf(err)};
    }

    SRun runIntoFullDisk(const std::vector<std::string>& arguments) const
    {
        const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
        EXPECT_GE(full, 0) << "this test needs /dev/full";
        SRun run = runWithOutput(full, arguments);
        close(full);
        return run;
    }

    SRun runWithoutReader(const std::vector<std::string>& arguments) const
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        close(ends[0]);
        SRun run = runWithOutput(ends[1], arguments);
        close(ends[1]);
        return run;
    }

    std::string shownAtTerminal(unsigned short columns, const std::vector<std::string>& arguments) const
    {
        int terminal = -1;
        int host = -1;
        termios raw{};
        cfmakeraw(&raw);
        const winsize size{25, columns, 0, 0};
        EXPECT_EQ(openpty(&terminal, &host, nullptr, &raw, &size), 0);
        const SRun run = runWithOutput(host, arguments);
        EXPECT_EQ(run.exit, 0) << run.err;
        char text[4096];
        const ssize_t length = read(terminal, text, sizeof text);
        close(host);
        close(terminal);
        return {text, length < 0 ? 0 : static_cast<size_t>(length)};
    }

    static void expectError(const SRun& run, int exit, const char* code)
    {
        EXPECT_EQ(run.exit, exit) << run.err;
        EXPECT_EQ(run.document().at("schema_version"), 1);
        EXPECT_EQ(run.document().at("error").at("exit"), exit);
        EXPECT_EQ(run.document().at("error").at("code"), code);
        EXPECT_NE(run.err, "");
    }
};

TEST_F(CAnswerTest, EveryAnswerIsADocumentOfItsVersion)
{
    const std::vector<std::vector<std::string>> commands = {{"provider", "show"},
                                                            {"device", "list", "/dev/fake1"},
                                                            {"snapshot", "create", "s", "/dev/fake1"},
                                                            {"snapshot", "list"},
                                                            {"snapshot", "show", "s"},
                                                            {"snapshot", "export", "s"},
                                                            {"snapshot", "export", "s", "--file", m_root + "/s.json"},
                                                            {"snapshot", "import", "s"},
                                                            {"snapshot", "release", "s"},
                                                            {"snapshot", "delete", "s", "--forget"},
                                                            {"snapshot", "receive", m_root + "/s.json"},
                                                            {"snapshot", "delete", "s"},
                                                            {"--version"}};
    for (const std::vector<std::string>& command : commands) {
        const SRun run = fictlJson(command);
        EXPECT_EQ(run.exit, 0) << testing::PrintToString(command) << run.err;
        EXPECT_EQ(run.document().at("schema_version"), 1) << testing::PrintToString(command);
    }
}

TEST_F(CAnswerTest, AWrongCommandLineGivesADocumentToo)
{
    const std::vector<std::vector<std::string>> wrong = {{"nosuch"},
                                                         {"snapshot"},
                                                         {"snapshot", "show"},
                                                         {"snapshot", "list", "x"},
                                                         {"snapshot", "create", "x", "--nosuch"}};
    for (std::vector<std::string> arguments : wrong) {
        expectError(fictlJson(arguments), 2, "usage");
        arguments.insert(arguments.end(), {"--output", "json"});
        expectError(fictl(arguments), 2, "usage");
    }
    expectError(fictl({"--output=json"}), 2, "usage");
}

TEST_F(CAnswerTest, AFileThatCannotBeReadGivesADocumentToo)
{
    expectError(fictlJson({"snapshot", "receive", m_root + "/nosuch"}), 14, "io");
}

TEST_F(CAnswerTest, AStopBySignalGivesADocumentToo)
{
    arm("init_node:g1 wait go\n");
    const pid_t pid = startHeld({"--output", "json", "snapshot", "create", "s", "/dev/fake1", "/dev/fake3"});
    release();
    waitForFile("go.reached");
    kill(pid, SIGTERM);
    touch("go");
    expectError(finish(), 15, "stopped");
}

TEST_F(CAnswerTest, HelpStaysText)
{
    const SRun help = fictlJson({"snapshot", "create", "--help"});
    EXPECT_EQ(help.exit, 0);
    EXPECT_TRUE(help.out.starts_with("Take a snapshot of devices")) << help.out;
    EXPECT_TRUE(run({"--version"}).out.starts_with("fictl 1."));
}

TEST_F(CAnswerTest, AnOutputThatCannotBeWrittenIsAnError)
{
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"snapshot", "list"}, {"--output", "json", "snapshot", "list"}, {"--help"}}) {
        const SRun run = runIntoFullDisk(command);
        EXPECT_EQ(run.exit, 14) << testing::PrintToString(command);
        EXPECT_EQ(run.err,
                  "fictl: cannot write to standard output: No space left on device\n  next: fictl snapshot list\n");
    }
}

TEST_F(CAnswerTest, TheFirstErrorCountsWhereItsDocumentCannotBeWritten)
{
    const SRun run = runIntoFullDisk({"--output", "json", "snapshot", "show", "nosuch"});
    EXPECT_EQ(run.exit, 3);
    EXPECT_NE(run.err.find("fictl: snapshot \"nosuch\" is not in the catalog\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("fictl: cannot write to standard output: "), std::string::npos) << run.err;
}

TEST_F(CAnswerTest, AReaderThatHasSeenEnoughIsNoError)
{
    const SRun list = runWithoutReader({"snapshot", "list"});
    EXPECT_EQ(list.exit, 0);
    EXPECT_EQ(list.err, "");
    EXPECT_EQ(runWithoutReader({"--output", "json", "snapshot", "show", "nosuch"}).exit, 3);
}

TEST_F(CAnswerTest, ADocumentForAnotherHostMustArrive)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const SRun exported = runWithoutReader({"snapshot", "export", "s"});
    EXPECT_EQ(exported.exit, 14);
    EXPECT_NE(exported.err.find("its reader went away before it had all of the document"), std::string::npos);
}

TEST_F(CAnswerTest, ATableIsCutAtATerminalAndNowhereElse)
{
    const std::string name(60, 'n');
    ASSERT_EQ(fictl({"snapshot", "create", name, "/dev/fake1"}).exit, 0);
    const std::string whole = fictl({"snapshot", "list"}).out;
    EXPECT_NE(whole.find(name + "  complete  "), std::string::npos) << whole;
    EXPECT_EQ(shownAtTerminal(200, {"snapshot", "list"}), whole);
    const std::string cut = shownAtTerminal(80, {"snapshot", "list"});
    EXPECT_NE(cut.find(std::string(24, 'n') + "\u2026  complete  "), std::string::npos) << cut;
    EXPECT_EQ(shownAtTerminal(0, {"snapshot", "list"}), whole) << "a terminal that does not tell its width";
}

TEST_F(CAnswerTest, SnapshotsAreListedAsPeopleCount)
{
    for (const char* name : {"night10", "night9", "Night9"}) {
        ASSERT_EQ(fictl({"snapshot", "create", name, "/dev/fake1"}).exit, 0);
    }
    std::vector<std::string> names;
    const nlohmann::json listed = fictlJson({"snapshot", "list"}).document();
    for (const nlohmann::json& snapshot : listed.at("snapshots")) {
        names.push_back(snapshot.at("name"));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"night9", "Night9", "night10"}));
}

TEST_F(CAnswerTest, AClosedStandardOutputIsAnErrorAndNoFileTakesItsPlace)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::string file = m_root + "/s.json";
    const auto closeOutput = [](auto* files) { posix_spawn_file_actions_addclose(files, STDOUT_FILENO); };
    const SRun run = runWith(closeOutput, {"snapshot", "export", "s", "--file", file});
    EXPECT_EQ(run.exit, 14);
    EXPECT_NE(run.err.find("cannot write to standard output: Bad file descriptor"), std::string::npos) << run.err;
    EXPECT_EQ(base_test::contentOf(file), fictl({"snapshot", "export", "s"}).out);
}

}  // namespace
