// Every entry point through a real library: what all of them have in common.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "base/tests/test_root.h"
#include "framework/include/cfientrypoint.h"
#include "framework/include/cfiexecpipe.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/tests/entry_calls.h"
#include "pdk/tests/trace_lines.h"

namespace pdktest {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

// They do more than call one operation; special_entry_points_test.cpp follows them step by step.
const std::set<std::string> SPECIAL = {"init", "fini", "preselect", "objctl", "update_snapshot_handle"};

const std::set<std::string> TAKE_A_SINGLE_NODE = {
    "preselect", "select",    "prepare",         "quiesce",           "make",
    "isready",   "unquiesce", "verify_qscombos", "set_import_options"};

/// What the operation is given for the arguments of an entry point. The record of a call on split nodes has the list
/// and its count first.
CWords expectedWords(const std::string& name, CWords words)
{
    if (TAKE_A_SINGLE_NODE.count(name) != 0) {
        words.erase(words.begin());
        const bool hasSession = name == "select" || name == "prepare" || name == "make";
        if (hasSession) std::rotate(words.begin(), words.begin() + 1, words.begin() + 3);
    }
    if (name == "init_altnode" || name == "cache_disable" || name == "cache_enable") words.push_back(0);
    if (name == "init_remnode") words.push_back(1);
    if (name == "get_provider_info") words.push_back(0);  // the output, which was set to null before
    return words;
}

/// Arguments that tell a swap of two of them: each number differs from the others.
CWords distinctArguments(const SEntryType& type, CHostObjects& objects)
{
    CWords words = validArguments(type, objects);
    if (TAKE_A_SINGLE_NODE.count(type.name) != 0) return words;  // has one count, which goes with the list
    for (size_t i = 0; i < words.size(); ++i) {
        if (factsOf(type.name).parameters[i] == 'i') words[i] = 40 + i;
    }
    return words;
}

class EntryPoints : public ::testing::Test
{
  protected:
    int64_t call(const SEntryType& type, const CWords& words)
    {
        const int64_t status = type.invoke(provider.find(type.name), words);
        if (type.name == "objctl" && words[2] != 0) free(*fromWord<char**>(words[2]));  // the reply is the host's
        return status;
    }
    /// Makes the next call meet a plug-in object that was not initialised yet.
    void startAfresh()
    {
        provider.fini();
        record.forget();
    }

    base_test::CTestRoot root;
    testfi::STestRecord record;
    CHostObjects objects;
    CLoadedProvider provider{providerPath("testfi"), "testfi"};
};

TEST_F(EntryPoints, TableNamesEveryEntryPointWithItsParameters)
{
    ASSERT_THAT(entryTypes(), SizeIs(OBZX_FI_ENTRY_POINT_COUNT));
    for (size_t i = 0; i < entryTypes().size(); ++i) {
        const SEntryType& type = entryTypes()[i];
        SCOPED_TRACE(type.name);
        EXPECT_EQ(ENTRY_FACTS[i].name, type.name);
        ASSERT_EQ(ENTRY_FACTS[i].parameters.size(), type.isPointer.size());
        for (size_t p = 0; p < type.isPointer.size(); ++p) {
            EXPECT_EQ(std::string_view("no").find(ENTRY_FACTS[i].parameters[p]) != std::string_view::npos,
                      type.isPointer[p])
                << "parameter " << p;
        }
    }
}

TEST_F(EntryPoints, PassArgumentsInOrderAndStatusUnchanged)
{
    for (const SEntryType& type : entryTypes()) {
        if (SPECIAL.count(type.name) != 0) continue;
        const std::string operation(factsOf(type.name).operation);
        for (const int32_t status : {0, 77, -5}) {
            SCOPED_TRACE(type.name + " with status " + std::to_string(status));
            record.forget();
            record.answers = {{operation, status}};
            const CWords words = distinctArguments(type, objects);
            EXPECT_EQ(call(type, words), type.hasResult ? status : 0);
            const auto calls = record.callsOf(operation);
            ASSERT_THAT(calls, SizeIs(1));
            EXPECT_EQ(calls[0].words, expectedWords(type.name, words));
            EXPECT_EQ(calls[0].references, 2) << "the singleton's and the call's";
        }
    }
}

TEST_F(EntryPoints, FailedDelayedInitialisationIsReportedOnceBeforeArgumentsAreChecked)
{
    for (const SEntryType& type : entryTypes()) {
        if (!factsOf(type.name).isGated) continue;
        SCOPED_TRACE(type.name);
        startAfresh();
        record.answers = {{"delayedInit", 9}};
        const CWords nulls(type.isPointer.size(), 0);
        EXPECT_EQ(call(type, nulls), OBZ_ERR_DELAYED_INIT);
        EXPECT_THAT(record.operations(), ElementsAre("delayedInit"));
        EXPECT_NE(call(type, validArguments(type, objects)), OBZ_ERR_DELAYED_INIT);
        EXPECT_THAT(record.callsOf("delayedInit"), SizeIs(1));
        EXPECT_THAT(record.operations(), SizeIs(type.name == "preselect" ? 1 : 2)) << "the operation itself";
    }
}

TEST_F(EntryPoints, EntryPointsWithoutAGateLeaveDelayedInitialisationAlone)
{
    for (const SEntryType& type : entryTypes()) {
        if (factsOf(type.name).isGated || type.name == "interpose") continue;
        SCOPED_TRACE(type.name);
        startAfresh();
        call(type, validArguments(type, objects));
        EXPECT_THAT(record.operations(), ElementsAre(std::string(factsOf(type.name).operation)));
    }
}

TEST_F(EntryPoints, NullsThatAnEntryPointChecksItselfNeverReachTheOperation)
{
    const std::vector<std::pair<std::string, std::vector<size_t>>> checked = {
        {"claim", {0, 1, 2}},       {"config", {0, 3}},       {"subobj_list", {0, 1, 2}},
        {"get_provider_info", {0}}, {"enumerate_nodes", {0}}, {"translate_resource_names", {0, 2}},
    };
    for (const SEntryType& type : entryTypes()) {
        for (const auto& [name, pointers] : checked) {
            if (name != type.name) continue;
            for (const size_t pointer : pointers) {
                SCOPED_TRACE(name + ", pointer " + std::to_string(pointer));
                CWords words = validArguments(type, objects);
                words[pointer] = 0;
                record.answers = {{std::string(factsOf(name).operation), 77}};
                EXPECT_EQ(call(type, words), factsOf(name).nullStatus);
                EXPECT_THAT(record.callsOf(std::string(factsOf(name).operation)), IsEmpty());
            }
        }
    }
}

TEST_F(EntryPoints, SingleNodeStandsInForAMissingList)
{
    for (const SEntryType& type : entryTypes()) {
        if (TAKE_A_SINGLE_NODE.count(type.name) == 0 || type.name == "preselect") continue;
        const std::string operation(factsOf(type.name).operation);
        record.answers = {{operation, 77}};
        const size_t list = factsOf(type.name).parameters.find("ni", type.name == "isready" ? 0 : 1);
        ASSERT_NE(list, std::string::npos);
        const auto callWith = [&](bool hasSingle, bool hasList, uint64_t count) {
            record.forget();
            CWords words = validArguments(type, objects);
            if (!hasSingle) words[0] = 0;
            if (!hasList) words[list] = 0;
            words[list + 1] = count;
            call(type, words);
            auto met = record.callsOf(operation).at(0);
            met.words.resize(2);
            EXPECT_EQ(hasList, met.words[0] == words[list] && words[list] != 0);
            return met;
        };
        SCOPED_TRACE(type.name);
        const auto single = callWith(true, false, 0);
        EXPECT_NE(single.words[0], 0u);
        EXPECT_EQ(single.words[1], 1u);
        EXPECT_THAT(single.texts, ElementsAre("single"));
        EXPECT_THAT(callWith(true, true, 1).texts, ElementsAre("listed"));
        EXPECT_EQ(callWith(true, true, 0).words[1], 0u) << "a list that is there counts, also an empty one";
        EXPECT_THAT(callWith(false, false, 0).words, ElementsAre(0, 0));
        EXPECT_THAT(callWith(true, false, 2).words, ElementsAre(0, 2));
    }
}

TEST_F(EntryPoints, TraceEntryAndExitWithTheirOwnNameAndPlace)
{
    provider.init();
    CTraceLines lines;
    for (const SEntryType& type : entryTypes()) {
        SCOPED_TRACE(type.name);
        if (type.name == "fini") continue;
        lines.take();
        call(type, validArguments(type, objects));
        const auto written = lines.take();
        ASSERT_GE(written.size(), 2u);
        const std::string place = " Function testfi_fi_pgn_" + type.name + " \\[[0-9]+, cfiapiexport_[a-z]+\\.h\\]";
        EXPECT_THAT(written.front(), MatchesRegex("L6 testfi Entering" + place));
        EXPECT_THAT(written.back(), MatchesRegex("L6 testfi Exiting" + place));
    }
}

TEST_F(EntryPoints, NameThemselvesInTheRecordsOfTheirRuns)
{
    std::vector<std::string> names;
    obzx_set_run_observer(
        [](void* context, const obzx_run* run) {
            static_cast<std::vector<std::string>*>(context)->push_back(run->entry_point);
        },
        &names);
    record.onCall = [](const std::string&) {
        std::vector<std::string> lines;
        obzx_pdk_4_4::CFiExecPipePosix(1).Exec("/no/such/program", lines, "", 1, "", "", "");
    };
    for (const SEntryType& type : entryTypes()) {
        SCOPED_TRACE(type.name);
        startAfresh();
        if (type.name == "fini") provider.init();  // there is something to end
        names.clear();
        call(type, validArguments(type, objects));
        EXPECT_THAT(names, AllOf(Not(IsEmpty()), Each(type.name)));
        EXPECT_STREQ(obzx_pdk_4_4::CFiEntryPoint::name(), "");
    }
    record.onCall = {};
    obzx_set_run_observer(nullptr, nullptr);
}

TEST_F(EntryPoints, InsideAnotherNameThemselvesUntilTheyReturn)
{
    std::vector<std::string> names;
    record.onCall = [&](const std::string& operation) {
        if (operation != "getStatus") {
            names.emplace_back(obzx_pdk_4_4::CFiEntryPoint::name());
            return;
        }
        char* text = nullptr;
        provider.get<obzx_fi_errmsg_fn>("errmsg")(1, &text);
        names.emplace_back(obzx_pdk_4_4::CFiEntryPoint::name());
    };
    int32_t status = 0;
    obz_domain node = {};
    provider.get<obzx_fi_get_status_fn>("get_status")(&node, &status);
    EXPECT_THAT(names, ElementsAre("get_status", "errmsg", "get_status")) << "delayed initialisation is the first";
}

TEST_F(EntryPoints, ExceptionOfAnOperationPassesThroughAndLeavesNothingBehind)
{
    provider.init();
    CTraceLines lines;
    for (const SEntryType& type : entryTypes()) {
        const std::string operation(factsOf(type.name).operation);
        if (operation.empty()) continue;
        SCOPED_TRACE(type.name);
        record.throwing = operation;
        EXPECT_THROW(call(type, validArguments(type, objects)), std::runtime_error);
        EXPECT_THAT(lines.take().back(), MatchesRegex("L6 testfi Exiting Function testfi_fi_pgn_" + type.name + " .*"));
        record.throwing.clear();
        if (type.name == "fini") continue;
        record.forget();
        // The mutex must be free for another thread, too.
        std::thread([&] { call(type, validArguments(type, objects)); }).join();
        EXPECT_EQ(record.callsOf(operation).at(0).references, 2);
    }
    provider.fini();
    EXPECT_EQ(record.plugins, 0);
}

}  // namespace
}  // namespace pdktest
