#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>

#include "framework/tests/process/exec_fixture.h"

namespace {

using namespace std::string_literals;
using namespace obzx_pdk_4_4;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ExecPipeOutput : public obzx_test::CExecTest
{
};

TEST_F(ExecPipeOutput, BothStreamsArriveInOrder)
{
    EXPECT_EQ(run(child("both")), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("out 1", "err 1", "out 2", "err 2"));
    EXPECT_EQ(m_pipe.getError().result, 0);
    EXPECT_EQ(code(), 0);
    EXPECT_EQ(message(), "");
}

TEST_F(ExecPipeOutput, IsAddedToTheLines)
{
    m_lines = {"kept"};
    EXPECT_EQ(m_pipe.Exec(child("arguments a"), m_lines, "", 60, "", "", ""), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("kept", "[a]"));
}

TEST_F(ExecPipeOutput, WordsReachTheProgramAsTheyStand)
{
    EXPECT_EQ(run(child("arguments \"a b\" $HOME * \"\" x\"y z\"")), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("[a b]", "[$HOME]", "[*]", "[]", "[xy z]"));
}

TEST_F(ExecPipeOutput, InputFileIsStandardInput)
{
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, "server a\nlist\nexit\n");
    EXPECT_EQ(run(child("copy"), input), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("server a", "list", "exit"));
}

TEST_F(ExecPipeOutput, WithoutAnInputFileThereIsNothingToRead)
{
    EXPECT_EQ(run(child("copy")), EXEC_OK);
    EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(ExecPipeOutput, InputThatIsNeverReadDoesNotMatter)
{
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, std::string(4 * 1024 * 1024, 'x'));
    EXPECT_EQ(run(child("no-read"), input), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("done"));
}

TEST_F(ExecPipeOutput, NulAndCarriageReturnStayInTheLines)
{
    EXPECT_EQ(run(child("nul")), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("a\0b"s, "c\r", "\0"s));
}

TEST_F(ExecPipeOutput, LineOf64MiBArrivesWhole)
{
    EXPECT_EQ(run(child("flood 64")), EXEC_OK);
    ASSERT_EQ(m_lines.size(), 1u);
    EXPECT_EQ(m_lines[0].size(), size_t{64} * 1024 * 1024);
    EXPECT_EQ(m_lines[0].find_first_not_of('x'), std::string::npos);
}

TEST_F(ExecPipeOutput, FloodIsStoppedAtTheLimit)
{
    m_pipe.registerTraceLog(makeLog());
    EXPECT_EQ(run(child("flood-lines 1024")), EXEC_TOO_LONG);
    EXPECT_EQ(m_pipe.getError().result, EXEC_TOO_LONG);
    const std::string text =
        "Command [" + child("flood-lines 1024") + "] wrote more than 268435456 bytes and was stopped";
    EXPECT_EQ(message(), text);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit CFiExecPipePosix::Exec - " + text));
    EXPECT_EQ(m_lines.size(), size_t{512} * 1024);  // the first MiB of lines of two bytes
}

TEST_F(ExecPipeOutput, OutputThatEndsEarlyDoesNotEndTheRun)
{
    EXPECT_EQ(run(child("close 0")), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre("before"));
    EXPECT_EQ(run(child("close 4")), EXEC_FAILED);
    EXPECT_EQ(code(), 4);
}

TEST_F(ExecPipeOutput, FailedRunKeepsItsOutput)
{
    EXPECT_EQ(run("ls /proc/self/no-such-entry"), EXEC_FAILED);
    ASSERT_EQ(m_lines.size(), 1u);
    EXPECT_NE(m_lines[0].find("No such file or directory"), std::string::npos);  // messages are English
}

TEST_F(ExecPipeOutput, ChildSpeaksTheCLocale)
{
    ::setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_EQ(run(child("environment")), EXEC_OK);
    ::unsetenv("LC_ALL");
    EXPECT_THAT(m_lines, Contains("LC_ALL=C"));
    EXPECT_THAT(m_lines, Contains("OBZX_ROOT=" + root()));
    EXPECT_EQ(std::count_if(m_lines.begin(), m_lines.end(), [](const auto& line) { return line.find("LC_ALL=") == 0; }),
              1);
}

TEST_F(ExecPipeOutput, OneVariableMayBeAdded)
{
    ::setenv("EXEC_X", "host", 1);
    for (const char* added : {"EXEC_X=a=b", "EXEC_XY=1", "LC_ALL=de_DE"}) {
        m_lines.clear();
        EXPECT_EQ(m_pipe.Exec(child("environment"), m_lines, "", 60, "", "", added), EXEC_OK);
        EXPECT_THAT(m_lines, Contains("LC_ALL=C"));
        const bool shown = std::find(m_lines.begin(), m_lines.end(), added) != m_lines.end();
        EXPECT_EQ(shown, added != std::string("LC_ALL=de_DE")) << added;
        const bool host = std::find(m_lines.begin(), m_lines.end(), "EXEC_X=host") != m_lines.end();
        EXPECT_EQ(host, added != std::string("EXEC_X=a=b")) << added;
    }
    ::unsetenv("EXEC_X");
}

TEST_F(ExecPipeOutput, WorkingDirectoryMayBeSet)
{
    EXPECT_EQ(m_pipe.Exec(child("directory"), m_lines, "", 60, root(), "", ""), EXEC_OK);
    EXPECT_THAT(m_lines, ElementsAre(std::filesystem::canonical(root()).string()));
}

}  // namespace
