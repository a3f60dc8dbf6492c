#include "base/poll_until.h"

#include <gtest/gtest.h>

#include "base/pipe.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::hours;
using std::chrono::microseconds;

TEST(PollUntil, ReturnsAtItsTimeAndNotBefore)
{
    const Clock::time_point until = Clock::now() + microseconds(1500);
    EXPECT_EQ(base::pollUntil({}, until), 0);
    EXPECT_GE(Clock::now(), until);
    EXPECT_EQ(base::pollUntil({}, Clock::now() - hours(1)), 0);
    EXPECT_EQ(base::pollUntil({}, Clock::time_point::min()), 0);
}

TEST(PollUntil, TellsWhichDescriptorIsReadyHoweverFarItsTime)
{
    const base::SPipe quiet = base::openPipe();
    const base::SPipe pipe = base::openPipe();
    ASSERT_EQ(::write(pipe.writeEnd.get(), "x", 1), 1);
    for (const Clock::time_point until : {Clock::time_point::max(), Clock::now() + hours(24 * 365)}) {
        pollfd watched[] = {{quiet.readEnd.get(), POLLIN, 0}, {-1, POLLIN, 0}, {pipe.readEnd.get(), POLLIN, 0}};
        EXPECT_EQ(base::pollUntil(watched, until), 1);
        EXPECT_EQ(watched[0].revents, 0);
        EXPECT_EQ(watched[1].revents, 0);
        EXPECT_EQ(watched[2].revents, POLLIN);
    }
}

}  // namespace
