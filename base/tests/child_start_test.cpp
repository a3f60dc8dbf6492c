#include "base/child_start.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

#include "base/pipe.h"
#include "base/process_stat.h"
#include "base/tests/script.h"
#include "base/tests/stalled_program.h"
#include "base/tests/temporary_folder.h"

namespace {

using base::SChildStart;
using base_test::CScript;

int exitStatus(const CScript& script)
{
    int status = -1;
    EXPECT_EQ(::waitpid(script.pid(), &status, 0), script.pid());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int startOf(const std::vector<std::string>& programs)
{
    const base::CFileDescriptor nothing = base::openInput();
    SChildStart start{.programs = programs, .words = {"exit"}, .environment = {}, .directory = {}};
    start.input = start.output = start.errors = nothing.get();
    pid_t pid = -7;
    const int error = base::startChild(start, pid);
    EXPECT_EQ(pid == -7, error != 0) << "the id is that of a child";
    if (error == 0) ::waitpid(pid, nullptr, 0);
    return error;
}

TEST(ChildStart, LeadsAGroupOfItsOwn)
{
    const CScript script("cat /proc/$$/stat | cut -d' ' -f5");
    EXPECT_EQ(script.line(), std::to_string(script.pid()));
    EXPECT_EQ(exitStatus(script), 0);
}

TEST(ChildStart, GetsThreeDescriptorsAndNoOther)
{
    const base::CFileDescriptor inherited(::open("/dev/null", O_RDONLY));  // without O_CLOEXEC
    const base::CFileDescriptor high(::fcntl(inherited.get(), F_DUPFD, 200));
    const CScript script("ls -m /proc/$$/fd; cat");
    EXPECT_EQ(script.line(), "0, 1, 2");
    EXPECT_EQ(script.line(), "") << "nothing to read";
    EXPECT_EQ(exitStatus(script), 0);
}

TEST(ChildStart, MayWriteToThisProcesssStandardError)
{
    const base::CFileDescriptor nothing = base::openInput();
    const int flags = ::fcntl(STDERR_FILENO, F_GETFD);
    ::fcntl(STDERR_FILENO, F_SETFD, FD_CLOEXEC);
    const SChildStart start{.programs = {"/bin/sh"},
                            .words = {"sh", "-c", "[ -e /proc/$$/fd/1 ] && [ /proc/$$/fd/1 -ef /proc/$$/fd/2 ]"},
                            .environment = {},
                            .directory = {},
                            .input = nothing.get(),
                            .output = STDERR_FILENO,
                            .errors = STDERR_FILENO};
    pid_t pid = -1;
    ASSERT_EQ(base::startChild(start, pid), 0);
    ::fcntl(STDERR_FILENO, F_SETFD, flags);
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(ChildStart, HasDefaultSignalHandlingAndNoBlockedSignal)
{
    sigset_t all, former;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &former);
    ::signal(SIGUSR1, SIG_IGN);
    const CScript script("grep -E 'SigBlk|SigIgn' /proc/self/status | tr -d '\\n\\t'");
    ::signal(SIGUSR1, SIG_DFL);
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_EQ(script.line(), "SigBlk:0000000000000000SigIgn:0000000000000000");
    EXPECT_EQ(exitStatus(script), 0);
}

TEST(ChildStart, RunsInItsDirectoryWithItsEnvironment)
{
    const base_test::CTemporaryFolder folder;
    ::setenv("CHILD_START_TEST", "old", 1);
    ::setenv("CHILD_START_TEST_MORE", "stays", 1);
    const CScript script("pwd; echo \"$CHILD_START_TEST,$CHILD_START_TEST_MORE\"",
                         {.programs = {},
                          .words = {},
                          .environment = {"CHILD_START_TEST=new"},
                          .directory = std::filesystem::canonical(folder.path())});
    ::unsetenv("CHILD_START_TEST");
    ::unsetenv("CHILD_START_TEST_MORE");
    EXPECT_EQ(script.line(), std::filesystem::canonical(folder.path()));
    EXPECT_EQ(script.line(), "new,stays");
    EXPECT_EQ(exitStatus(script), 0);
}

TEST(ChildStart, TriesOneProgramAfterTheOther)
{
    const base_test::CTemporaryFolder folder;
    const std::string missing = folder / "missing";
    const std::string denied = folder / "denied";
    ::close(::open(denied.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    EXPECT_EQ(startOf({missing, denied, "/bin/true"}), 0);
    EXPECT_EQ(startOf({missing}), ENOENT);
    EXPECT_EQ(startOf({denied, missing}), EACCES) << "says more than that there is none further on";
}

// Started by a thread that has ended by the time the function returns.
pid_t startFromThread(bool endsWithThread)
{
    pid_t pid = -1;
    std::thread([&] {
        SChildStart start;
        start.endsWithThread = endsWithThread;
        const CScript script("echo ready; exec sleep 60", start);
        script.line();
        pid = script.pid();
    }).join();
    return pid;
}

TEST(ChildStart, EndsWithItsThreadWhereThatIsWanted)
{
    const pid_t pid = startFromThread(true);
    int status = 0;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(ChildStart, OutlivesItsThreadOtherwise)
{
    const pid_t pid = startFromThread(false);
    ::usleep(50 * 1000);
    EXPECT_EQ(::waitpid(pid, nullptr, WNOHANG), 0);
    ::kill(pid, SIGTERM);
    int status = 0;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WTERMSIG(status), SIGTERM) << "it still ran";
}

// The status that check() gives in a process of its own, -2 when it does not end by itself.
int inAnotherProcess(const std::function<int()>& check)
{
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(check());
    int status = -1;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -2;
}

class StalledStart : public testing::Test
{
  protected:
    int start(pid_t& pid, std::function<bool()> isGivenUp)
    {
        const base::CFileDescriptor nothing = base::openInput();
        SChildStart start{.programs = {m_path}, .words = {"true"}, .environment = {}, .directory = {}};
        start.input = start.output = start.errors = nothing.get();
        start.endsWithThread = true;
        start.isGivenUp = std::move(isGivenUp);
        return base::startChild(start, pid);
    }

    const base_test::CTemporaryFolder m_folder;
    const std::string m_path = m_folder / "program";
    base_test::CStalledProgram m_program{m_path};
};

TEST_F(StalledStart, IsGivenUpAndLeavesNoProcess)
{
    const auto begin = std::chrono::steady_clock::now();
    const auto enough = begin + std::chrono::milliseconds(200);
    const int status = inAnotherProcess([this, enough] {
        pid_t pid = -7;
        const int error = start(pid, [enough] { return std::chrono::steady_clock::now() >= enough; });
        if (error != ECANCELED || pid != -7) return 1;
        return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD ? 7 : 2;
    });
    EXPECT_EQ(status, 7);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20)) << "it was waited for";
}

TEST_F(StalledStart, IsWaitedForOtherwise)
{
    int looks = 0;
    pid_t pid = -7;
    EXPECT_EQ(start(pid,
                    [&] {
                        if (++looks == 3) m_program.goOn();
                        return false;
                    }),
              0);
    EXPECT_GE(looks, 3);
    int status = -1;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0);
}

// The same whose children are in a process namespace of their own; -1 where the system lets nobody have one.
int inForeignNamespace(const std::function<int()>& check)
{
    constexpr int NOT_ALLOWED = 99;
    const int status = inAnotherProcess([&check] {
        const bool isForeign = ::unshare(CLONE_NEWPID) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWPID) == 0;
        return isForeign ? check() : NOT_ALLOWED;
    });
    return status == NOT_ALLOWED ? -1 : status;
}

constexpr const char* NO_NAMESPACE = "NOT CHECKED: this system gives this user no process namespace";

TEST(ChildStart, RunsInAProcessNamespaceOfWhichThisProcessIsNoPart)
{
    const int status = inForeignNamespace([] {
        SChildStart start;
        start.endsWithThread = true;
        const CScript script("echo $$; exit 7", start);
        return script.line() == "1" ? exitStatus(script) : 1;
    });
    if (status == -1) GTEST_SKIP() << NO_NAMESPACE;
    EXPECT_EQ(status, 7);
}

TEST(ChildStart, EndsWithItsThreadInAProcessNamespaceOfItsOwn)
{
    base::SPipe pipe = base::openPipe();
    const int status = inForeignNamespace([&pipe] {
        const base::CFileDescriptor nothing = base::openInput();
        SChildStart start{.programs = {"/bin/sleep"}, .words = {"sleep", "60"}, .environment = {}, .directory = {}};
        start.input = nothing.get();
        start.output = start.errors = pipe.writeEnd.get();
        start.endsWithThread = true;
        pid_t pid = -1;
        return base::startChild(start, pid) == 0 ? 7 : 1;
    });
    if (status == -1) GTEST_SKIP() << NO_NAMESPACE;
    EXPECT_EQ(status, 7);
    pipe.writeEnd.reset();
    pollfd lastWriter[] = {{pipe.readEnd.get(), POLLIN, 0}};
    EXPECT_EQ(::poll(lastWriter, 1, 10 * 1000), 1) << "it still runs";
}

TEST(ChildStart, FailsWhereItCannotBeToldWhetherThisProcessIsThere)
{
    const int status = inForeignNamespace([] {
        const base::CFileDescriptor nothing = base::openInput();
        SChildStart start{.programs = {"/bin/true"}, .words = {"true"}, .environment = {}, .directory = {}};
        start.input = start.output = start.errors = nothing.get();
        start.endsWithThread = true;
        const rlimit none = {static_cast<rlim_t>(nothing.get()) + 1, static_cast<rlim_t>(nothing.get()) + 1};
        ::setrlimit(RLIMIT_NOFILE, &none);
        pid_t pid = -7;
        return base::startChild(start, pid) == ESRCH && pid == -7 ? 7 : 1;
    });
    if (status == -1) GTEST_SKIP() << NO_NAMESPACE;
    EXPECT_EQ(status, 7);
}

TEST(ChildInput, OfAFifoDoesNotWaitToBeOpenedAndWaitsToBeRead)
{
    const base_test::CTemporaryFolder folder;
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const base::CFileDescriptor input = base::openInput(fifo);
    ASSERT_TRUE(input);
    EXPECT_GT(input.get(), STDERR_FILENO);
    EXPECT_EQ(::fcntl(input.get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_FALSE(base::openInput(folder / "missing"));
    EXPECT_EQ(errno, ENOENT);
}

TEST(ChildEnvironment, ReplacesNamesAndNotTheirBeginnings)
{
    ::setenv("CHILD_START_TEST", "old", 1);
    ::setenv("CHILD_START_TES", "stays", 1);
    const std::vector<std::string> added = {"CHILD_START_TEST=new", "CHILD_START_OTHER="};
    const std::vector<char*> variables = base::environmentWith(added);
    std::vector<std::string> found;
    for (size_t i = 0; i + 1 < variables.size(); ++i) {
        if (std::strncmp(variables[i], "CHILD_START_", 12) == 0) found.emplace_back(variables[i]);
    }
    EXPECT_EQ(found, (std::vector<std::string>{"CHILD_START_TES=stays", "CHILD_START_TEST=new", "CHILD_START_OTHER="}));
    EXPECT_EQ(variables.back(), nullptr);
    ::unsetenv("CHILD_START_TEST");
    ::unsetenv("CHILD_START_TES");
}

}  // namespace
