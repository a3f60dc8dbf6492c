#include "providers/cdp/lmr/lmr_appliance_tool.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <csignal>
#include <cstddef>
#include <filesystem>

#include "framework/include/cfiplatformerror.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CLines = std::vector<std::string>;

class ApplianceTool : public CFakeToolTest
{
  protected:
    ApplianceTool() { setScenario("exit 0\n"); }

    int run(const char* server, const char* command) { return m_tool->execLMSH(server, command, m_lines); }

    /// The appliance's shell is a program of the system's shell with this text.
    void useShell(const std::string& text)
    {
        root().write("tools/own", "#!/bin/sh\n" + text + "\n");
        ::chmod((root() / "tools/own").c_str(), 0700);
        m_tool->setShell({"own", CString((root() / "tools/").c_str())});
    }

    /// What a call traces: these lines between the two of the function.
    static CLines traceOf(CLines lines)
    {
        lines.insert(lines.begin(), "L6 Entering Function execLMSH [<line>, lmr_appliance_tool.cpp]");
        lines.emplace_back("L6 Exiting Function execLMSH [<line>, lmr_appliance_tool.cpp]");
        return lines;
    }

    const CLMRApplianceToolPtr m_tool = setUpTool();
    CLines m_lines = {"old"};
};

using ApplianceToolInstance = CFakeToolTest;

TEST_F(ApplianceTool, SuccessfulCommandHandsBackEachLineAndTracesIt)
{
    setScenario("output\nfirst\n\nthird\n.\nexit 0\n");
    EXPECT_EQ(0, run("alpha", " list  hosts "));
    EXPECT_EQ((CLines{"first", "", "third"}), m_lines);
    EXPECT_EQ(traceOf({"L6 CLMRApplianceTool::execLMSH - Running command [ list  hosts ].", "L6 Line [0] = [first]",
                       "L6 Line [1] = []", "L6 Line [2] = [third]"}),
              takeTrace());
}

TEST_F(ApplianceTool, ShellIsGivenSixHundredSeconds)
{
    EXPECT_EQ(std::vector<uint64_t>{600}, limitsWithin([this] { run("alpha", " list  hosts "); }));
}

TEST_F(ApplianceTool, ScriptHoldsExactlyThreeLinesServerCommandAndExit)
{
    EXPECT_EQ(0, run("alpha", " list  hosts "));
    EXPECT_EQ("=== lmsh\nserver alpha\n list  hosts \nexit\n", takeSent());
}

TEST_F(ApplianceTool, CommandOfSeveralLinesIsWrittenUnchanged)
{
    EXPECT_EQ(0, run("al pha", "one\n two \n\nthree"));
    EXPECT_EQ("=== lmsh\nserver al pha\none\n two \n\nthree\nexit\n", takeSent());
}

TEST_F(ApplianceTool, ScriptIsAPrivateNamedFileWhileTheShellRunsAndGoneAfterwards)
{
    useShell("cd \"$TMPDIR\"; stat -c '%a %F' *; cat *; readlink -f /dev/stdin; echo *; cat");
    EXPECT_EQ(0, run("alpha", "x"));
    ASSERT_EQ(9U, m_lines.size());
    EXPECT_EQ("600 regular file", m_lines[0]);
    EXPECT_EQ((CLines{"server alpha", "x", "exit"}), CLines(m_lines.begin() + 1, m_lines.begin() + 4));
    EXPECT_EQ((root() / "tmp" / m_lines[5]).string(), m_lines[4]);  // what it reads is the one file that is there
    EXPECT_EQ("ksv_fi", m_lines[5].substr(0, 6));
    EXPECT_EQ((CLines{"server alpha", "x", "exit"}), CLines(m_lines.begin() + 6, m_lines.end()));
    EXPECT_EQ(0U, countScripts());
}

TEST_F(ApplianceTool, ShellCannotChangeTheScriptThroughItsInput)
{
    useShell("echo more >&0 2>/dev/null || echo refused; cat");
    EXPECT_EQ(0, run("alpha", "x"));
    EXPECT_EQ((CLines{"refused", "server alpha", "x", "exit"}), m_lines);
}

TEST_F(ApplianceTool, NoDescriptorIsLeftBehind)
{
    const auto openDescriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    setScenario("times 2\nexit 3\nexit 0\n");
    EXPECT_EQ(11, run("alpha", "x"));  // opens the trace file
    const auto before = openDescriptors();
    EXPECT_EQ(11, run("alpha", "x"));
    EXPECT_EQ(0, run("alpha", "x"));
    EXPECT_EQ(before, openDescriptors());
}

TEST_F(ApplianceTool, EmptyServerIsRefusedWithoutAScript)
{
    ::setenv("TMPDIR", (root() / "missing").c_str(), 1);  // a script could not even be made
    EXPECT_EQ(-1, run("", "x"));
    EXPECT_TRUE(m_lines.empty());
    EXPECT_EQ("", takeSent());
    EXPECT_EQ(traceOf({"L1 CLMRApplianceTool::execLMSH - No server is specified"}), takeTrace());
}

TEST_F(ApplianceTool, EmptyCommandIsRefusedWithoutAScript)
{
    ::setenv("TMPDIR", (root() / "missing").c_str(), 1);
    EXPECT_EQ(-1, run("alpha", ""));
    EXPECT_TRUE(m_lines.empty());
    EXPECT_EQ("", takeSent());
    EXPECT_EQ(traceOf({"L1 CLMRApplianceTool::execLMSH - No command is specified"}), takeTrace());
}

TEST_F(ApplianceTool, EmptyServerIsNamedBeforeTheEmptyCommand)
{
    EXPECT_EQ(-1, run("", ""));
    EXPECT_EQ("L1 CLMRApplianceTool::execLMSH - No server is specified", takeTrace().at(1));
}

TEST_F(ApplianceTool, ServerNameThatWouldAddLinesToTheScriptIsRefused)
{
    for (const char* server : {"a\nexit", "a\"b", "a\rb", "a\tb"}) {
        m_lines = {"old"};
        EXPECT_EQ(-1, run(server, "x"));
        EXPECT_TRUE(m_lines.empty());
        EXPECT_EQ("L2 CLMRApplianceTool::execLMSH - Server name [" + std::string(server) +
                      "] holds a double quote or a control character",
                  takeTrace().at(1));
    }
    EXPECT_EQ("", takeSent());
}

TEST_F(ApplianceTool, FailedCommandTracesItsOutputRunTogetherAndKeepsTheLines)
{
    setScenario("output\nno such\ngroup\n.\nexit 3\n");
    EXPECT_EQ(11, run("alpha", " show "));
    EXPECT_EQ((CLines{"no such", "group"}), m_lines);
    EXPECT_EQ(0U, countScripts());
    EXPECT_EQ(traceOf({"L6 CLMRApplianceTool::execLMSH - Running command [ show ].",
                       "L2 CLI Command [ show ] failed with error [3] and output \n[no suchgroup]\n."}),
              takeTrace());
}

TEST_F(ApplianceTool, KilledShellIsAFailedCommand)
{
    setScenario("output\nhalf\n.\nsignal 9\n");
    EXPECT_EQ(11, run("alpha", "x"));
    EXPECT_EQ((CLines{"half"}), m_lines);
    EXPECT_EQ("L2 CLI Command [x] failed with error [137] and output \n[half]\n.", takeTrace().at(2));
}

TEST_F(ApplianceTool, MissingShellIsAFailedCommand)
{
    m_tool->setShell({"nothing", "/nowhere/"});
    EXPECT_EQ(11, run("alpha", "x"));
    EXPECT_TRUE(m_lines.empty());
    EXPECT_EQ(0U, countScripts());
    EXPECT_EQ("L2 CLI Command [x] failed with error [2] and output \n[]\n.", takeTrace().at(2));
}

TEST_F(ApplianceTool, RunnerWithoutAShellFails)
{
    m_tool->setShell({});
    EXPECT_EQ(11, run("alpha", "x"));
    EXPECT_EQ(0U, countScripts());
}

TEST_F(ApplianceTool, OtherFailuresAreReturnedWithTheirLinesAndNoFailureMessage)
{
    writeConfiguration("[FI_EXEC]\nMAX_TIMEOUT=1\n");
    setScenario("output\nfirst\nsecond\n.\ndelay 60000\nexit 0\n");
    EXPECT_EQ(12, run("alpha", "x"));
    EXPECT_EQ((CLines{"first", "second"}), m_lines);
    EXPECT_EQ(0U, countScripts());
    EXPECT_EQ(
        traceOf({"L6 CLMRApplianceTool::execLMSH - Running command [x].",
                 "L1 CFiExecPipePosix::Exec - Command [\"<root>/tools/lmsh\"] did not end within 1 seconds and was "
                 "stopped",
                 "L6 Line [0] = [first]", "L6 Line [1] = [second]"}),
        takeTrace());
}

TEST_F(ApplianceTool, WithoutATraceLogNothingIsTraced)
{
    m_tool->registerTraceLog({});
    setScenario("times 1\nexit 3\nexit 0\n");
    EXPECT_EQ(11, run("alpha", "x"));
    EXPECT_EQ(0, run("alpha", "x"));
    EXPECT_EQ(-1, run("", "x"));
    EXPECT_EQ(CLines(), takeTrace());
}

TEST_F(ApplianceTool, MissingTemporaryDirectoryReachesTheCaller)
{
    ::setenv("TMPDIR", (root() / "missing").c_str(), 1);
    EXPECT_THROW(run("alpha", "x"), CFiPlatformError);
    EXPECT_TRUE(m_lines.empty());
    EXPECT_EQ("L6 Exiting Function execLMSH [<line>, lmr_appliance_tool.cpp]", takeTrace().back());
}

TEST_F(ApplianceTool, ExceptionOutOfThePipeReachesTheCallerAndLeavesTheScript)
{
    constexpr size_t LARGE = size_t{1} << 20;  // nothing but the output of the shell is as large
    setScenario(answerWithBytes("server alpha", std::string(2 * LARGE, 'x')));
    {
        const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, 0, LARGE);
        EXPECT_THROW(run("alpha", " list  hosts "), std::bad_alloc);
        EXPECT_TRUE(fault.happened());
    }
    EXPECT_TRUE(m_lines.empty());
    EXPECT_EQ("=== lmsh\nserver alpha\n list  hosts \nexit\n", takeSent());
    ASSERT_EQ(1U, countScripts());
    const auto script = std::filesystem::directory_iterator(root() / "tmp")->path();
    EXPECT_EQ("server alpha\n list  hosts \nexit\n", base_test::contentOf(script));
    EXPECT_EQ(traceOf({"L6 CLMRApplianceTool::execLMSH - Running command [ list  hosts ]."}), takeTrace());
}

/// From here on the system calls of this process pass through a filter.
template <size_t COUNT>
void install(sock_filter (&filter)[COUNT])
{
    const sock_fprog program = {COUNT, filter};
    ASSERT_EQ(0, ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
    ASSERT_EQ(0, ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program));
}

/// From here on no file that is there can be opened for writing.
void forbidOpeningForWriting()
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_CREAT, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_WRONLY | O_RDWR, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    install(filter);
}

/// From here on the system does something else than to write.
void interceptWriting(unsigned action)
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_write, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, action),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    install(filter);
}

TEST_F(ApplianceTool, ScriptThatCannotBeOpenedIsTracedAndTheShellRunsWithoutIt)
{
    setScenario("output\nnothing to do\n.\nexit 0\n");
    EXPECT_EXIT(
        {
            forbidOpeningForWriting();
            const int result = run("alpha", "x");
            const CLines trace = takeTrace();
            const bool told = trace.at(2) == "L1 Failed to open file [<root><temp>].";
            ::_exit(result == 0 && told && m_lines == CLines{"nothing to do"} && countScripts() == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ("=== lmsh\n", takeSent());
}

TEST_F(ApplianceTool, ScriptThatFindsNoRoomIsTracedAndNotRun)
{
    EXPECT_EXIT(
        {
            interceptWriting(SECCOMP_RET_ERRNO | ENOSPC);
            const int result = run("alpha", "x");
            const CLines trace = takeTrace();
            const bool told = trace.at(2) == "L1 Failed to write file [<root><temp>].";
            ::_exit(result == -1 && told && m_lines.empty() && countScripts() == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ("", takeSent());
}

/// From here on a file has room for so many bytes.
void limitFiles(rlim_t bytes)
{
    const rlimit limit = {bytes, bytes};
    ASSERT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
}

TEST_F(ApplianceTool, ScriptThatIsCutOffIsNotRun)
{
    EXPECT_EXIT(
        {
            limitFiles(10);
            const int result = run("alpha", "x");
            const bool told = takeTrace().at(2) == "L1 Failed to write file [<root><temp>].";
            ::_exit(result == -1 && told && countScripts() == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ("", takeSent());
}

#ifndef __SANITIZE_ADDRESS__  // its checks open a pipe of their own
/// How many descriptors programs that this process starts now would get.
int inheritedDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        const int flags = ::fcntl(descriptor, F_GETFD);
        if (flags >= 0 && (flags & FD_CLOEXEC) == 0) ++count;
    }
    return count;
}

TEST_F(ApplianceTool, ScriptThatIsBeingWrittenIsNotInheritedByProgramsOfOtherThreads)
{
    EXPECT_EXIT(
        {
            static const int before = inheritedDescriptors();
            // Reaches the thread that writes, in the midst of writing.
            std::signal(SIGSYS, [](int) { ::_exit(inheritedDescriptors() == before ? 0 : 1); });
            interceptWriting(SECCOMP_RET_TRAP);
            run("alpha", "x");
            ::_exit(2);
        },
        ::testing::ExitedWithCode(0), "");
}
#endif

TEST_F(ApplianceToolInstance, IsCreatedEmptyAndReleased)
{
    using CTool = CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>;
    const CLMRApplianceToolPtr tool = CTool::instance(false);
    ASSERT_TRUE(tool);
    EXPECT_STREQ("", tool->getShell().name.c_str());
    EXPECT_STREQ("", tool->getShell().path.c_str());
    EXPECT_EQ(tool, CTool::instance(false));
    EXPECT_FALSE(CTool::instance(true));
    EXPECT_FALSE(tool == CTool::instance(false));
}

}  // namespace
}  // namespace cdpfi
