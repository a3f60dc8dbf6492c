// What entry points answer when the plug-in object cannot be had, because a lock on the way to it fails.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/tests/test_root.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/null_matrix.h"

namespace pdktest {
namespace {

int32_t expectedStatus(const SEntryType& type)
{
    const SEntryFacts& facts = factsOf(type.name);
    if (!type.hasResult) return 0;
    if (type.name == "init") return OBZ_ERR_INIT;
    if (type.name == "claim" || type.name == "supports_fitype" || type.name == "interpose") return 0;
    return facts.isGated ? OBZ_ERR_DELAYED_INIT : OBZ_ERR_FAILED;
}

/// Whether a first call gives the status when one of its locks fails, whichever that is.
bool givesStatus(const SEntryType& type, int32_t status)
{
    constexpr int MOST_LOCKS = 20;
    for (int step = 0; step < MOST_LOCKS; ++step) {
        const CLoadedProvider provider(providerPath("plainfi"), "plainfi");
        provider.get<obzx_fi_init_fn>("init")(nullptr, nullptr, nullptr);  // makes the trace log and nothing else
        CHostObjects objects;
        const CWords words = argumentsToConsume(type, objects);
        CFaults faults;
        faults.failLock(step);
        if (type.invoke(provider.find(type.name), words) == status) return true;
    }
    return false;
}

// A reference that could not be given back is kept on purpose, so this runs in a process of its own.
TEST(UnreachablePlugin, GivesTheStatusOfAFailure)
{
    const base_test::CTestRoot root;
    const auto checkAll = [] {
        for (const SEntryType& type : entryTypes()) {
            if (givesStatus(type, expectedStatus(type))) continue;
            fprintf(stderr, "%s never gave %d\n", type.name.c_str(), expectedStatus(type));
            _exit(1);
        }
        _exit(0);
    };
    EXPECT_EXIT(checkAll(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace pdktest
