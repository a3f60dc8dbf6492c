#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "base/tests/stalled_program.h"
#include "framework/tests/process/exec_fixture.h"

namespace {

using namespace std::string_literals;
using namespace obzx_pdk_4_4;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ExecPipeEnding : public obzx_test::CExecTest
{
};

TEST_F(ExecPipeEnding, ExitStatusIsTheCode)
{
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    EXPECT_EQ(run(child("exit 3")), EXEC_FAILED);
    EXPECT_EQ(code(), 3);
    EXPECT_EQ(m_pipe.getError().result, EXEC_FAILED);
    EXPECT_EQ(message(), "Command [" + child("exit 3") + "] exited with status 3");
    EXPECT_EQ(m_pipe.getError().wideMessage, std::wstring(message().begin(), message().end()));
    EXPECT_EQ(run(child("exit 255")), EXEC_FAILED);
    EXPECT_EQ(code(), 255);
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    EXPECT_EQ(message(), "");
}

TEST_F(ExecPipeEnding, SignalIsTheCodeAbove128)
{
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGFPE, SIGKILL, SIGSEGV, SIGPIPE,
                             SIGALRM, SIGTERM, SIGUSR1}) {
        const std::string command = child("die " + std::to_string(number));
        EXPECT_EQ(run(command), EXEC_FAILED) << number;
        EXPECT_EQ(code(), 128 + number);
        EXPECT_EQ(message(), "Command [" + command + "] was killed by signal " + std::to_string(number));
    }
}

TEST_F(ExecPipeEnding, ProgramThatCannotBeStartedGivesTheReason)
{
    const std::string plain = root() + "/plain";
    obzx_test::writeFile(plain, "text\n");
    ASSERT_EQ(::chmod(plain.c_str(), 0644), 0);
    const std::string damaged = root() + "/damaged";
    obzx_test::writeFile(damaged,
                         "\x7f"
                         "ELF nothing of the kind");
    ASSERT_EQ(::chmod(damaged.c_str(), 0755), 0);
    // A folder of the search path that may not be entered would turn "not there" into "not allowed".
    ::setenv("PATH", "/usr/bin:/bin", 1);
    const std::pair<std::string, int> table[] = {
        {root() + "/missing", ENOENT},
        {"no-such-program-anywhere", ENOENT},
        {"\"\"", ENOENT},
        {plain, EACCES},
        {root(), EACCES},
        {damaged, ENOEXEC},
        {plain + "/x", ENOTDIR},
        {"", EINVAL},
        {"  ", EINVAL},
        {"\"unbalanced", EINVAL},
        {"nul\0x"s, EINVAL},
    };
    for (const auto& [command, error] : table) {
        EXPECT_EQ(run(command), EXEC_FAILED) << command;
        EXPECT_EQ(code(), error) << command;
        EXPECT_EQ(message(), "Cannot start [" + command + "]: " + std::strerror(error));
        EXPECT_THAT(m_lines, IsEmpty());
    }
}

TEST_F(ExecPipeEnding, ArgumentsThatCannotBeUsedGiveTheReason)
{
    struct SCase
    {
        std::string input, directory, user, environment;
        int error;
    };
    const SCase table[] = {
        {root() + "/missing", "", "", "", ENOENT},
        {"x\0y"s, "", "", "", EINVAL},
        {"", root() + "/missing", "", "", ENOENT},
        {"", "x\0y"s, "", "", EINVAL},
        {"", "", "somebody", "", EINVAL},
        {"", "", "", "NOVALUE", EINVAL},
        {"", "", "", "=value", EINVAL},
        {"", "", "", "A=x\0y"s, EINVAL},
    };
    for (const SCase& row : table) {
        EXPECT_EQ(m_pipe.Exec(child("exit 0"), m_lines, row.input, 60, row.directory, row.user, row.environment),
                  EXEC_FAILED);
        EXPECT_EQ(code(), row.error) << row.input << row.directory << row.user << row.environment;
    }
}

TEST_F(ExecPipeEnding, TimeOutStopsTheProgram)
{
    m_pipe.registerTraceLog(makeLog());
    EXPECT_EQ(run(child("hang"), "", 2), EXEC_TIMED_OUT);
    EXPECT_EQ(m_pipe.getError().result, EXEC_TIMED_OUT);
    const std::string text = "Command [" + child("hang") + "] did not end within 2 seconds and was stopped";
    EXPECT_EQ(message(), text);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit CFiExecPipePosix::Exec - " + text));
    ASSERT_THAT(m_lines, SizeIs(1));  // what it wrote before
    EXPECT_TRUE(base_test::goesAway(std::stoi(m_lines[0])));
}

TEST_F(ExecPipeEnding, TimeThatAProgramNeedsToBeOpenedCountsAgainstItsTimeOut)
{
    const std::string program = root() + "/stalled";
    const base_test::CStalledProgram stalled(program);
    EXPECT_EQ(run(program, "", 1), EXEC_TIMED_OUT);
    EXPECT_EQ(code(), ETIMEDOUT);
    EXPECT_EQ(message(), "Command [" + program + "] did not end within 1 seconds and was stopped");
    EXPECT_TRUE(::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD) << "a process is left";
}

TEST_F(ExecPipeEnding, ProgramThatIgnoresTerminationIsKilled)
{
    EXPECT_EQ(run(child("stubborn"), "", 2), EXEC_TIMED_OUT);
    ASSERT_THAT(m_lines, SizeIs(1));
    EXPECT_TRUE(base_test::goesAway(std::stoi(m_lines[0])));
}

TEST_F(ExecPipeEnding, ProgramThatIgnoresTerminationIsKilledFiveSecondsLater)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds DUE{1 + 5};
    Clock::duration shortest = Clock::duration::max();
    // A busy machine may let everybody wait, but not always.
    for (int tries = 0; tries < 3 && shortest > DUE + std::chrono::seconds(2); ++tries) {
        const Clock::time_point begin = Clock::now();
        EXPECT_EQ(run(child("stubborn"), "", 1), EXEC_TIMED_OUT);
        shortest = std::min(shortest, Clock::now() - begin);
        EXPECT_GE(shortest, DUE);
    }
    EXPECT_LT(shortest, DUE + std::chrono::milliseconds(2900));
}

TEST_F(ExecPipeEnding, WholeGroupIsStopped)
{
    EXPECT_EQ(run(child("stubborn-grandchild"), "", 2), EXEC_TIMED_OUT);
    ASSERT_THAT(m_lines, SizeIs(1));
    EXPECT_TRUE(base_test::goesAway(std::stoi(m_lines[0])));
}

TEST_F(ExecPipeEnding, FloodIsStoppedByTheTimeOutToo)
{
    EXPECT_EQ(run(child("flood 1000000"), "", 0), EXEC_TIMED_OUT);
}

TEST_F(ExecPipeEnding, GrandchildThatHoldsTheOutputDelaysNothing)
{
    // The time-out would show if the result waited for the grandchild, who stays for a minute.
    for (const int status : {0, 5}) {
        EXPECT_EQ(run(child("grandchild " + std::to_string(status)), "", 30), status == 0 ? EXEC_OK : EXEC_FAILED);
        EXPECT_EQ(code(), status);
        ASSERT_THAT(m_lines, SizeIs(1));
        EXPECT_FALSE(base_test::isGone(std::stoi(m_lines[0])));
        ::kill(std::stoi(m_lines[0]), SIGKILL);
    }
}

TEST_F(ExecPipeEnding, StoreCapsTheTimeOut)
{
    m_pipe.registerTraceLog(makeLog());
    configure("[FI_EXEC]\nMAX_TIMEOUT=1\n");
    EXPECT_EQ(run(child("hang"), "", 600), EXEC_TIMED_OUT);
    EXPECT_EQ(message(), "Command [" + child("hang") + "] did not end within 1 seconds and was stopped");
    EXPECT_EQ(run(child("hang"), "", 0), EXEC_TIMED_OUT);  // the cap does not raise it
    EXPECT_EQ(message(), "Command [" + child("hang") + "] did not end within 0 seconds and was stopped");
}

TEST_F(ExecPipeEnding, ChangedStoreIsReadAgain)
{
    m_pipe.registerTraceLog(makeLog());
    configure("[FI_EXEC]\nMAX_TIMEOUT=600\n");
    EXPECT_EQ(run(child("exit 0")), EXEC_OK);
    configure("[FI_EXEC]\nMAX_TIMEOUT=1\n");
    EXPECT_EQ(run(child("hang"), "", 30), EXEC_TIMED_OUT);
    EXPECT_EQ(message(), "Command [" + child("hang") + "] did not end within 1 seconds and was stopped");
    std::filesystem::remove(root() + "/etc/qz/unit.conf");
    EXPECT_EQ(run(child("close 0"), "", 2), EXEC_OK);
}

TEST_F(ExecPipeEnding, LongestTimeOutIsNoProblem)
{
    EXPECT_EQ(run(child("exit 0"), "", ~0UL), EXEC_OK);
}

TEST_F(ExecPipeEnding, StoreThatCapsAtZeroOrWithoutANumberCapsNothing)
{
    m_pipe.registerTraceLog(makeLog());
    for (const char* const value : {"0", "", "soon", "-1"}) {
        configure(std::string("[FI_EXEC]\nMAX_TIMEOUT=") + value + "\n");
        EXPECT_EQ(run(child("close 0"), "", 30), EXEC_OK) << value;  // takes a moment
        EXPECT_EQ(run(child("hang"), "", 0), EXEC_TIMED_OUT) << value;
        EXPECT_EQ(message(), "Command [" + child("hang") + "] did not end within 0 seconds and was stopped");
    }
}

TEST_F(ExecPipeEnding, FailedRunCanBeThrown)
{
    run(child("exit 3"));
    try {
        throw EFiExecPipe(m_pipe.getError());
    } catch (const std::exception& error) {
        EXPECT_EQ(error.what(), message());
        EXPECT_EQ(dynamic_cast<const EFiExecPipe&>(error).error().code, 3);
    }
}

}  // namespace
