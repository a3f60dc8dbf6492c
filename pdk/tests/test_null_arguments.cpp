// Nulls and the framework's own operations, through a provider that adds nothing to them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framework/include/obzx_runtime.h"
#include "pdk/tests/entry_calls.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/test_root.h"

namespace pdktest {
namespace {

class NullArguments : public ::testing::TestWithParam<bool>
{
  protected:
    NullArguments()
    {
        if (GetParam()) provider.init();
    }
    int64_t call(const SEntryType& type, const CWords& words) { return type.invoke(provider.find(type.name), words); }
    /// Frees what a call with these arguments gave.
    void freeOutputs(const SEntryType& type, const CWords& words)
    {
        if (type.name == "config" && words[3] != 0) obzx_free_confspec(*fromWord<obz_confspec**>(words[3]));
        if (type.name == "objctl" && words[2] != 0) free(*fromWord<char**>(words[2]));
        if (type.name == "get_locale_message" && words[2] != 0) obzx_free_buf(*fromWord<char**>(words[2]), 0);
        if (type.name == "errmsg" && words[1] != 0) obzx_free_buf(*fromWord<char**>(words[1]), 0);
    }

    CTestRoot root;
    CHostObjects objects;
    CLoadedProvider provider{providerPath("plainfi"), "plainfi"};
};

TEST_P(NullArguments, EachPointerInTurnGivesTheDocumentedStatus)
{
    for (const SEntryType& type : entryTypes()) {
        const SEntryFacts& facts = factsOf(type.name);
        for (size_t i = 0; i < type.isPointer.size(); ++i) {
            if (!type.isPointer[i]) continue;
            SCOPED_TRACE(type.name + ", pointer " + std::to_string(i));
            CWords words = validArguments(type, objects);
            words[i] = 0;
            const int32_t expected = facts.parameters[i] == 'n' ? facts.nullStatus : facts.defaultStatus;
            EXPECT_EQ(call(type, words), expected);
            freeOutputs(type, words);
        }
    }
}

TEST_P(NullArguments, AllPointersAtOnceGiveTheDocumentedStatus)
{
    for (const SEntryType& type : entryTypes()) {
        if (type.name == "fini") continue;
        SCOPED_TRACE(type.name);
        CWords words = validArguments(type, objects);
        for (size_t i = 0; i < words.size(); ++i)
            if (type.isPointer[i]) words[i] = 0;
        const SEntryFacts& facts = factsOf(type.name);
        const bool needsAny = facts.parameters.find('n') != std::string_view::npos;
        EXPECT_EQ(call(type, words), needsAny ? facts.nullStatus : facts.defaultStatus);
    }
}

TEST_P(NullArguments, NothingButZeroesIsNoCrash)
{
    for (const SEntryType& type : entryTypes()) {
        if (type.name == "fini") continue;
        SCOPED_TRACE(type.name);
        const int64_t status = call(type, CWords(type.isPointer.size(), 0));
        EXPECT_TRUE(status == OBZ_OK || status == factsOf(type.name).nullStatus || status == OBZ_ERR_UNSUPPORTED)
            << status;
    }
}

TEST_P(NullArguments, NoneGivesTheStatusOfTheFrameworksOwnOperation)
{
    for (const SEntryType& type : entryTypes()) {
        if (type.name == "fini") continue;
        SCOPED_TRACE(type.name);
        CWords words = validArguments(type, objects);
        const bool consumes = type.name == "del_last_error" || type.name == "del_locale_message";
        if (consumes) words[0] = testfi::toWord(obzx_alloc_buf(256));
        EXPECT_EQ(call(type, words), factsOf(type.name).defaultStatus);
        freeOutputs(type, words);
    }
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
                CWords words = validArguments(type, objects);
                const bool consumes = type.name == "del_last_error" || type.name == "del_locale_message";
                if (consumes) words[0] = testfi::toWord(obzx_alloc_buf(256));
                call(type, words);
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
