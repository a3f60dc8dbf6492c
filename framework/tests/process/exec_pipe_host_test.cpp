#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include "framework/tests/process/exec_fixture.h"

namespace {

using namespace obzx_pdk_4_4;
using testing::ElementsAre;

// What a run does to the host, and what the host's own state does to a run.
class ExecPipeHost : public obzx_test::CExecTest
{
  protected:
    static bool sameDisposition(const struct sigaction& a, const struct sigaction& b)
    {
        return a.sa_handler == b.sa_handler && a.sa_flags == b.sa_flags;
    }
};

TEST_F(ExecPipeHost, NothingIsLeftBehind)
{
    run(child("exit 0"));  // whatever the first run makes once
    const std::vector<std::string> before = openDescriptors();
    run(child("both"));
    run(child("exit 3"));
    run(child("hang"), "", 0);
    run(root() + "/missing");
    run(child("exit 0"), root() + "/missing");
    run("\"unbalanced");
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ExecPipeHost, ThatIsKilledTakesTheProgramWithIt)
{
    const std::string file = root() + "/pid";
    const pid_t host = ::fork();
    if (host == 0) {  // longer than any test may wait
        ::_exit(run("/bin/sh -c \"echo $$ >" + file + ".new; mv " + file + ".new " + file + "; exec sleep 200\""));
    }
    while (::access(file.c_str(), F_OK) != 0) {
        ::usleep(1000);
    }
    const pid_t program = std::stoi(base_test::contentOf(file));
    ::kill(host, SIGKILL);
    EXPECT_EQ(::waitpid(host, nullptr, 0), host);
    EXPECT_TRUE(base_test::goesAway(program));
}

TEST_F(ExecPipeHost, SignalHandlingIsNotTouched)
{
    struct sigaction before[65] = {}, after[65] = {};
    sigset_t maskBefore, maskAfter;
    sigemptyset(&maskBefore);
    sigaddset(&maskBefore, SIGUSR2);
    ::pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    ::signal(SIGUSR1, SIG_IGN);
    for (int number = 1; number < 65; ++number) {
        ::sigaction(number, nullptr, &before[number]);
    }
    run(child("both"));
    run(child("hang"), "", 0);
    for (int number = 1; number < 65; ++number) {
        ::sigaction(number, nullptr, &after[number]);
        EXPECT_TRUE(sameDisposition(before[number], after[number])) << number;
    }
    ::pthread_sigmask(SIG_SETMASK, nullptr, &maskAfter);
    EXPECT_EQ(sigismember(&maskAfter, SIGUSR2), 1);
    EXPECT_EQ(sigismember(&maskAfter, SIGCHLD), 0);
    sigemptyset(&maskBefore);
    ::pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    ::signal(SIGUSR1, SIG_DFL);
}

TEST_F(ExecPipeHost, ChildHasDefaultSignalHandling)
{
    sigset_t all, former;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &former);
    ::signal(SIGUSR1, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    run(child("signals"));
    ::signal(SIGUSR1, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_THAT(m_lines, ElementsAre("0 not at default, 0 blocked"));
}

TEST_F(ExecPipeHost, ChildLeadsAGroupOfItsOwn)
{
    run(child("group"));
    EXPECT_THAT(m_lines, ElementsAre("leader"));
}

TEST_F(ExecPipeHost, ChildGetsNoOtherDescriptor)
{
    const int inherited = ::open("/dev/null", O_RDONLY);  // without O_CLOEXEC
    const int high = ::fcntl(inherited, F_DUPFD, 200);
    run(child("descriptors"));
    EXPECT_THAT(m_lines, ElementsAre("0", "1", "2"));
    ::close(inherited);
    ::close(high);
}

TEST_F(ExecPipeHost, HostWithoutStandardDescriptorsCanRunPrograms)
{
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, "x\n");
    for (int closed = 1; closed < 8; ++closed) {
        EXPECT_TRUE(inChild([&] {
            for (int descriptor = 0; descriptor < 3; ++descriptor) {
                if ((closed & (1 << descriptor)) != 0) ::close(descriptor);
            }
            return run(child("copy"), input) == EXEC_OK && m_lines == std::vector<std::string>{"x"} &&
                   run(child("both")) == EXEC_OK && m_lines.size() == 4;
        })) << closed;
    }
}

TEST_F(ExecPipeHost, NoDescriptorLeftIsAFailureToStart)
{
    EXPECT_TRUE(inChild([&] {
        const std::string command = child("exit 0");
        bool failed = run(command) == EXEC_OK;
        int last = -1;
        for (int next = ::dup(2); next >= 0; next = ::dup(2)) {
            last = next;
        }
        failed = run(command) == EXEC_FAILED && failed;
        ::close(last);
        return failed && code() == EMFILE;
    }));
}

TEST_F(ExecPipeHost, ThatIgnoresChildrenLosesTheStatusButDoesNotHang)
{
    EXPECT_TRUE(inChild([&] {
        ::signal(SIGCHLD, SIG_IGN);
        const bool failed = run(child("both")) == EXEC_FAILED && code() == ECHILD && m_lines.size() == 4;
        return failed && message().find("exit status is lost") != std::string::npos &&
               run(child("hang"), "", 0) == EXEC_TIMED_OUT;
    }));
}

TEST_F(ExecPipeHost, HandlerThatInterruptsDoesNotDisturbARun)
{
    EXPECT_TRUE(inChild([&] {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &action, nullptr);  // without SA_RESTART
        const itimerval often{{0, 2000}, {0, 2000}};
        ::setitimer(ITIMER_REAL, &often, nullptr);
        return run(child("flood 8")) == EXEC_OK && m_lines.size() == 1 && m_lines[0].size() == 8u * 1024 * 1024 &&
               run(child("close 3")) == EXEC_FAILED && code() == 3;
    }));
}

TEST_F(ExecPipeHost, FifoAsInputIsHeldByTheTimeOut)
{
    const std::string fifo = root() + "/fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int writer = ::open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(run(child("copy"), fifo, 0), EXEC_TIMED_OUT);
    ::close(writer);
}

TEST_F(ExecPipeHost, RunsOfManyThreadsDoNotMeet)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t] {
            CFiExecPipePosix pipe(1);
            for (int i = 0; i < 5; ++i) {
                const std::string word = std::to_string(t) + "-" + std::to_string(i);
                std::vector<std::string> lines;
                EXPECT_EQ(pipe.Exec(child("arguments " + word), lines, "", 60, "", "", ""), EXEC_OK);
                EXPECT_THAT(lines, ElementsAre("[" + word + "]"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
