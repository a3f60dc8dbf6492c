#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>

#include "framework/tests/support/scratch.h"

namespace {

using namespace obzx_pdk_4_4;
using testing::ElementsAre;
using testing::IsEmpty;

class TraceFunction : public obzx_test::CScratch
{
  protected:
    TraceFunction() { ::setenv("OBZX_TRACE_LEVEL", "6", 1); }

    /// The lines of a function that is entered and left.
    std::vector<std::string> linesOfClaim(int32_t line, const char* file) const
    {
        const CFiTraceLogPtr log = makeLog();
        {
            const CFiTraceLogFunction tracer(log, "claim", line, file);
        }
        return traceLines();
    }
};

TEST_F(TraceFunction, WritesALineAtEntryAndExit)
{
    EXPECT_THAT(linesOfClaim(12, "/source/providers/cdp/cdp_claim.cpp"),
                ElementsAre("L6 unit Entering Function claim [12, cdp_claim.cpp]",
                            "L6 unit Exiting Function claim [12, cdp_claim.cpp]"));
}

TEST_F(TraceFunction, LineZeroHasAShortExitLine)
{
    EXPECT_THAT(linesOfClaim(0, "/source/a.cpp"),
                ElementsAre("L6 unit Entering Function claim [0, a.cpp]", "L6 unit Exiting Function claim"));
}

TEST_F(TraceFunction, FileWithoutASlashShowsTheTracersOwnHeader)
{
    EXPECT_THAT(linesOfClaim(3, "a.cpp"),
                ElementsAre("L6 unit Entering Function claim [3, framework/include/cfitrace.h]",
                            "L6 unit Exiting Function claim [3, framework/include/cfitrace.h]"));
}

TEST_F(TraceFunction, FileThatEndsInASlashIsEmpty)
{
    EXPECT_THAT(linesOfClaim(-1, "folder/"),
                ElementsAre("L6 unit Entering Function claim [-1, ]", "L6 unit Exiting Function claim [-1, ]"));
}

TEST_F(TraceFunction, LeavesItsLineAlsoByAnException)
{
    const CFiTraceLogPtr log = makeLog();
    try {
        const CFiTraceLogFunction tracer(log, "claim", 3, "/a.cpp");
        throw std::runtime_error("left");
    } catch (const std::runtime_error&) {
        EXPECT_EQ(traceLines().size(), 2u);
    }
    EXPECT_EQ(log->getCount(), 1);
}

TEST_F(TraceFunction, MissingPartSilencesBothLines)
{
    const CFiTraceLogPtr log = makeLog();
    {
        const CFiTraceLogFunction noLog(CFiTraceLogPtr(), "claim", 3, "/a.cpp");
        const CFiTraceLogFunction noFunction(log, nullptr, 3, "/a.cpp");
        const CFiTraceLogFunction noFile(log, "claim", 3, nullptr);
    }
    EXPECT_THAT(traceLines(), IsEmpty());
}

TEST_F(TraceFunction, WritesNothingBelowLevelSix)
{
    ::setenv("OBZX_TRACE_LEVEL", "5", 1);
    EXPECT_THAT(linesOfClaim(3, "/a.cpp"), IsEmpty());
}

TEST_F(TraceFunction, ExitLineAppearsWhenTheLogWasInitialisedInside)
{
    CFiTraceLogPtr log(true);
    {
        const CFiTraceLogFunction tracer(log, "init", 3, "/a.cpp");
        log->initialize("unit", "", "", 1, false);
    }
    EXPECT_THAT(traceLines(), ElementsAre("L6 unit Exiting Function init [3, a.cpp]"));
}

TEST_F(TraceFunction, KeepsTheLogAlive)
{
    CFiTraceLogPtr log = makeLog();
    CFiTraceLog* raw = log.get();
    const CFiTraceLogFunction tracer(log, "fini", 3, "/a.cpp");
    EXPECT_EQ(raw->getCount(), 2);
    EXPECT_EQ(log.release(), 1u);
    EXPECT_EQ(traceLines().size(), 1u);
}

TEST_F(TraceFunction, TraceableWritesOnlyWithALog)
{
    struct SWriter : CFiTraceable
    {
    } writer;
    writer.trace(1, "lost");
    EXPECT_FALSE(writer.isTraceEnabled(1));
    writer.registerTraceLog(makeLog());
    EXPECT_TRUE(writer.isTraceEnabled(6));
    EXPECT_FALSE(writer.isTraceEnabled(7));
    writer.trace(1, "kept %d", 1);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit kept 1"));
}

}  // namespace
