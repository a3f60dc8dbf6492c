#include "host/src/guardian/guardian.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include "base/tests/temporary_folder.h"
#include "host/src/output/error.h"
#include "host/tests/processes.h"

namespace fs = std::filesystem;

namespace fictl {

namespace {

using base_test::contentOf;
using processes::isThere;
using processes::waitUntil;

/// Ids of this process's children that are called so.
std::vector<pid_t> childrenCalled(const std::string& name)
{
    std::vector<pid_t> found;
    const std::string self = std::to_string(getpid());
    std::istringstream children(contentOf("/proc/self/task/" + self + "/children"));
    for (pid_t child = 0; children >> child;) {
        if (processes::nameOf(child) == name) found.push_back(child);
    }
    return found;
}

/// Stands for fictl: a process that has a guardian and started a tool, and is then ended in some way.
class CGuardianTest : public testing::Test
{
  protected:
    std::string file(const char* name) const { return m_folder + "/" + name; }

    /// A tool that is a shell script: its child goes on by itself and writes "marker" once "go" is there. It gives up
    /// some day, so that a test that fails leaves nothing behind for good.
    pid_t startTool() const
    {
        const std::string script = "(for i in $(seq 6000); do test ! -e " + file("go") +
                                   " || break; sleep 0.01; done; touch " + file("marker") + ") & echo $! > " +
                                   file("child.new") + "; mv " + file("child.new") + " " + file("child") + "; wait";
        const pid_t pid = fork();
        if (pid != 0) {
            setpgid(pid, pid);
            return pid;
        }
        setpgid(0, 0);
        execl("/bin/sh", "sh", "-c", script.c_str(), nullptr);
        _exit(127);
    }

    pid_t child() const
    {
        waitUntil([this] { return fs::exists(file("child")); });
        return std::stoi(contentOf(file("child")));
    }

    /// Runs body in a process of its own that has a guardian; it is to end by itself. Returns its wait status.
    static int inProcess(const std::function<void()>& body)
    {
        const pid_t pid = fork();
        if (pid == 0) {
            {
                const CGuardian guardian;
                body();
            }
            _exit(0);
        }
        int status = -1;
        waitpid(pid, &status, 0);
        return status;
    }

    const base_test::CTemporaryFolder m_temporary;
    const std::string m_folder = m_temporary.path();
};

}  // namespace

TEST_F(CGuardianTest, IsAProcessOfItsOwnSessionThatHoldsNothingOpenButStandardErrorAndIgnoresSignals)
{
    const int catalog = open(file("catalog").c_str(), O_RDWR | O_CREAT, 0600);
    std::vector<pid_t> guardians;
    {
        const CGuardian guardian;
        EXPECT_EQ(CGuardian::current(), &guardian);
        waitUntil([&guardians] {
            guardians = childrenCalled("fictl-guardian");
            return !guardians.empty();
        });
        ASSERT_EQ(guardians.size(), 1U);
        const std::string proc = "/proc/" + std::to_string(guardians[0]);
        EXPECT_EQ(getsid(guardians[0]), guardians[0]);
        const auto isOpen = [&proc](int number) { return fs::is_symlink(proc + "/fd/" + std::to_string(number)); };
        waitUntil([&isOpen, catalog] { return !isOpen(catalog); });
        EXPECT_EQ(fs::read_symlink(proc + "/fd/0"), "/dev/null");
        EXPECT_EQ(fs::read_symlink(proc + "/fd/1"), "/dev/null");
        EXPECT_EQ(fs::read_symlink(proc + "/fd/2"), fs::read_symlink("/proc/self/fd/2"));
        size_t others = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(proc + "/fd")) {
            const std::string target = fs::read_symlink(entry.path()).string();
            if (std::stoi(entry.path().filename()) <= 2) continue;
            ++others;
            EXPECT_TRUE(target.starts_with("socket:") || target == "anon_inode:[pidfd]") << target;
        }
        EXPECT_LE(others, 2U);
        for (int signal = 1; signal <= SIGRTMAX; ++signal) {
            const bool isOfTheLibrary = signal > 31 && signal < SIGRTMIN;
            if (signal != SIGKILL && signal != SIGSTOP && !isOfTheLibrary) kill(guardians[0], signal);
        }
        EXPECT_EQ(childrenCalled("fictl-guardian"), guardians);
    }
    // Gone and reaped.
    EXPECT_EQ(kill(guardians[0], 0), -1);
    EXPECT_EQ(CGuardian::current(), nullptr);
    close(catalog);
}

TEST_F(CGuardianTest, EndsAToolWithAllItHasStartedWhenItsProcessIsKilled)
{
    for (const int signal : {SIGKILL, SIGSEGV, SIGUSR1}) {
        fs::remove(file("child"));
        const int status = inProcess([this, signal] {
            const rlimit noCore{0, 0};
            setrlimit(RLIMIT_CORE, &noCore);
            guardianStarted(startTool());
            child();
            ::signal(signal, SIG_DFL);
            raise(signal);
        });
        ASSERT_TRUE(WIFSIGNALED(status));
        const pid_t left = child();
        waitUntil([left] { return !isThere(left); });
    }
    // A script that was still there would act now.
    std::ofstream(file("go")) << "\n";
    EXPECT_FALSE(fs::exists(file("marker")));
}

TEST_F(CGuardianTest, LeavesAloneWhatAToolThatHasEndedLeftBehind)
{
    const int status = inProcess([this] {
        waitUntil([] { return !childrenCalled("fictl-guardian").empty(); });
        std::ofstream(file("guardian")) << childrenCalled("fictl-guardian")[0];
        const pid_t tool = startTool();
        guardianStarted(tool);
        child();
        guardianEnded(tool);
        raise(SIGKILL);
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    const pid_t guardian = std::stoi(contentOf(file("guardian")));
    waitUntil([guardian] { return !isThere(guardian); });
    EXPECT_TRUE(isThere(child()));
    std::ofstream(file("go")) << "\n";
    waitUntil([this] { return fs::exists(file("marker")); });
}

TEST_F(CGuardianTest, EntersGroupsFromSeveralThreadsAtOnce)
{
    const int status = inProcess([this] {
        std::vector<std::thread> threads;
        threads.reserve(8);
        // Numbers beyond those of processes: they only have to be taken in and out.
        for (int64_t i = 0; i < 8; ++i) {
            threads.emplace_back([i] {
                for (int64_t group = 1; group < 500; ++group) {
                    guardianStarted((int64_t{1} << 30) + i * 1000 + group);
                    guardianEnded((int64_t{1} << 30) + i * 1000 + group);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        guardianStarted(startTool());
        child();
        raise(SIGKILL);
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    const pid_t left = child();
    waitUntil([left] { return !isThere(left); });
}

TEST_F(CGuardianTest, WithoutOneGroupsAreNoMatter)
{
    EXPECT_EQ(CGuardian::current(), nullptr);
    guardianStarted(12345);
    guardianEnded(12345);
}

TEST_F(CGuardianTest, GroupsThatWouldMeanMoreThanAToolAreNotTaken)
{
    const pid_t group = getpgrp();
    const int status = inProcess([] {
        for (const int64_t number : {0, 1, -1, -2}) {
            guardianStarted(number);
        }
        raise(SIGKILL);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(getpgrp(), group);
}

TEST_F(CGuardianTest, IsEndedThoughItIsHeld)
{
    const int status = inProcess([] {
        waitUntil([] { return !childrenCalled("fictl-guardian").empty(); });
        kill(childrenCalled("fictl-guardian")[0], SIGSTOP);
    });
    EXPECT_TRUE(WIFEXITED(status));
}

#ifndef __SANITIZE_ADDRESS__  // the checks that are built along with it open a pipe to look at an object
TEST_F(CGuardianTest, IsRefusedInWordsWhenTheSystemAllowsNoFurtherDescriptor)
{
    const int status = inProcess([] {
        // Only a second one is asked for here: nothing below uses the first.
        rlimit few{};
        getrlimit(RLIMIT_NOFILE, &few);
        few.rlim_cur = 3;
        setrlimit(RLIMIT_NOFILE, &few);
        try {
            const CGuardian second;
            _exit(1);
        } catch (const EFictl& error) {
            const std::string expected =
                "the guardian process, without which nothing is begun, cannot be started: no socket: Too many open "
                "files";
            _exit(error.what() == expected && error.exit() == EExit::FAILED ? 42 : 2);
        }
    });
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
}
#endif

TEST(FreezeOrder, ComesBackAsItWentWhateverStandsInIt)
{
    const SFreezeOrder order{{"echo 'a\nb'", "c", std::chrono::seconds(7), std::chrono::seconds(86400)},
                             "nightly",
                             {"/dev/sda", std::string(100000, 'x'), ""}};
    const std::optional<SFreezeOrder> back = SFreezeOrder::decoded(order.encoded());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->hooks.freeze, order.hooks.freeze);
    EXPECT_EQ(back->hooks.thaw, order.hooks.thaw);
    EXPECT_EQ(back->hooks.timeout, order.hooks.timeout);
    EXPECT_EQ(back->hooks.maxFreeze, order.hooks.maxFreeze);
    EXPECT_EQ(back->snapshot, order.snapshot);
    EXPECT_EQ(back->devices, order.devices);
}

TEST(FreezeOrder, ATextThatIsNoneGivesNone)
{
    using std::string_literals::operator""s;
    for (const std::string& text :
         {""s, "a"s, "a\0b\0c\0"s, "a\0b\0c\0x\0001\0"s, "a\0b\0c\0001\0002x\0"s, "a\0b\0c\0001\0002"s}) {
        EXPECT_FALSE(SFreezeOrder::decoded(text)) << text.size();
    }
}

TEST(FreezeOrder, TellsTheCommandsWhatTheyAreCalledFor)
{
    const SFreezeOrder order{{}, "nightly", {"/dev/sda", "/dev/sdb"}};
    EXPECT_EQ(order.environment("freeze", ""),
              (std::vector<std::string>{"FICTL_SNAPSHOT=nightly", "FICTL_PHASE=freeze",
                                        "FICTL_DEVICES=/dev/sda\n/dev/sdb", "FICTL_STATUS="}));
    EXPECT_EQ(order.environment("thaw", thawText(EThaw::TIMED_OUT))[3], "FICTL_STATUS=timed-out");
}

}  // namespace fictl
