// Nulls and the framework's own operations, through a provider that adds nothing to them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/tests/test_root.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/null_matrix.h"

namespace pdktest {
namespace {

class NullArguments : public ::testing::TestWithParam<bool>
{
  protected:
    NullArguments()
    {
        if (GetParam()) provider.init();
    }

    base_test::CTestRoot root;
    CHostObjects objects;
    CLoadedProvider provider{providerPath("plainfi"), "plainfi"};
    CNullMatrix nulls{provider};
};

TEST_P(NullArguments, EachPointerInTurnGivesTheDocumentedStatus)
{
    nulls.callWithEachPointerNull();
}

TEST_P(NullArguments, AllPointersAtOnceGiveTheDocumentedStatus)
{
    nulls.callWithAllPointersNull();
}

TEST_P(NullArguments, NothingButZeroesIsNoCrash)
{
    nulls.callWithNothingButZeroes();
}

TEST_P(NullArguments, NoneGivesTheStatusOfTheFrameworksOwnOperation)
{
    nulls.callWithoutANull();
}

// A reference that could not be given back is kept on purpose, so this runs in a process of its own.
TEST_P(NullArguments, LockThatFailsAtAnyStepIsNoCrash)
{
    const auto failEveryLock = [this] {
        CFaults faults;
        for (const SEntryType& type : entryTypes()) {
            bool failed = true;
            for (int step = 0; failed; ++step) {
                faults.failLock(step);
                type.invoke(provider.find(type.name), argumentsToConsume(type, objects));
                failed = CFaults::lockHasFailed();
            }
            faults.failLock(CFaults::NEVER);
        }
        _exit(0);
    };
    EXPECT_EXIT(failEveryLock(), ::testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(, NullArguments, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "AfterInit" : "BeforeInit"; });

}  // namespace
}  // namespace pdktest
