// The records of runs, in every way in which a run can end.
#include <gmock/gmock.h>

#include <csignal>

#include "framework/include/cfientrypoint.h"
#include "framework/tests/base/run_fixture.h"

namespace {

using namespace obzx_pdk_4_4;
using obzx_test::SSeenRun;
using testing::ElementsAre;
using testing::SizeIs;

using RunRecord = obzx_test::CRunTest;

TEST_F(RunRecord, OfARunThatWentWell)
{
    const time_t before = ::time(nullptr);
    EXPECT_EQ(run(child("arguments a \"b c\"")), EXEC_OK);
    ASSERT_THAT(seen(), SizeIs(2));
    const SSeenRun& start = seen()[0];
    EXPECT_EQ(start.phase, OBZX_RUN_STARTED);
    EXPECT_THAT(start.arguments, ElementsAre(EXEC_CHILD, "arguments", "a", "b c"));
    EXPECT_GT(start.process, 1);
    EXPECT_GE(start.startSeconds, before);
    EXPECT_EQ(start.limitSeconds, 60u);
    EXPECT_EQ(start.entryPoint, "");
    const SSeenRun& end = seen()[1];
    EXPECT_EQ(end.phase, OBZX_RUN_ENDED);
    EXPECT_EQ(end.number, start.number);
    EXPECT_EQ(end.process, start.process);
    EXPECT_EQ(end.output, "[a]\n[b c]\n");
}

}  // namespace
