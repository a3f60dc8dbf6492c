#include "host/src/hook.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fictl {

namespace {

// Whether the process is still the sleep command, and neither gone nor waiting to be reaped.
bool isSleeping(pid_t pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    return line.find("(sleep)") != std::string::npos && line.find(") Z") == std::string::npos;
}

}  // namespace

TEST(Hook, TellsHowTheCommandEnded)
{
    EXPECT_TRUE(runHook("true", std::chrono::seconds(60), false).ok);
    EXPECT_EQ(runHook("exit 3", std::chrono::seconds(60), false).reason, "exit status 3");
    EXPECT_EQ(runHook("kill -9 $$", std::chrono::seconds(60), false).reason, "killed by signal 9");
    EXPECT_EQ(runHook("/nonexistent/command 2>/dev/null", std::chrono::seconds(60), false).reason, "exit status 127");
}

TEST(Hook, StopsACommandThatTakesTooLongWithAllItStarted)
{
    std::string pattern = (std::filesystem::temp_directory_path() / "fictl-hook-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const SHookResult result =
        runHook("sleep 1000 & echo $! > " + pattern + "/pid; wait", std::chrono::seconds(1), false);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.reason, "no end within 1 s");
    std::ifstream file(pattern + "/pid");
    pid_t pid = 0;
    ASSERT_TRUE(file >> pid);
    // It is no child of this process, so its end can only be looked for.
    for (int i = 0; i < 1000 && isSleeping(pid); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_FALSE(isSleeping(pid));
    std::filesystem::remove_all(pattern);
}

TEST(Hook, GivesTheCommandDefaultSignalHandling)
{
    struct sigaction old = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &old);
    EXPECT_EQ(runHook("kill -PIPE $$", std::chrono::seconds(60), false).reason, "killed by signal 13");
    sigaction(SIGPIPE, &old, nullptr);
}

}  // namespace fictl
