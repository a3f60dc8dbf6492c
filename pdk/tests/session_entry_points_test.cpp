// The entry points on sessions of split nodes: select, preselect, prepare, make, update_snapshot_handle.
#include "pdk/tests/faults.h"
#include "pdk/tests/special_entry_points.h"

namespace pdktest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using SessionEntryPoints = SpecialEntryPoints;

/// Entries of a list of split nodes that name no node.
struct SGaps
{
    obz_domain nameless = {};
    obz_splitnode withoutName = {nullptr, &nameless};
    obz_splitnode withoutNode = {nullptr, nullptr};
};

TEST_F(SessionEntryPoints, SelectAddsTheNodesWhenTheProviderAgrees)
{
    EXPECT_EQ(select("session", list({"b", "a"})), OBZ_OK);
    EXPECT_THAT(record.callsOf("selectSnapshots"), IsEmpty());
    EXPECT_THAT(sessionNodes("session"), ElementsAre("a", "b"));
    EXPECT_THAT(sessionNodes("another"), IsEmpty());
}

TEST_F(SessionEntryPoints, SelectGoesThroughTheSessionWhenTheProviderAsksForIt)
{
    record.answers = {{"select", OBZ_USE_SESSION}, {"selectSnapshots", 77}};
    EXPECT_EQ(select("session", list({"b", "a"})), 77);
    EXPECT_THAT(record.operations(), ElementsAre("delayedInit", "select", "selectSnapshots"));
    EXPECT_THAT(record.calls.back().texts, ElementsAre("a", "b"));
}

TEST_F(SessionEntryPoints, SelectAddsNothingWhenTheProviderRefuses)
{
    record.answers = {{"select", 9}};
    EXPECT_EQ(select("session", list({"a"})), 9);
    EXPECT_EQ(select(nullptr, list({"a"})), 9);
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SessionEntryPoints, SelectWithASingleNodeAddsIt)
{
    auto* const function = provider.get<obzx_fi_select_fn>("select");
    EXPECT_EQ(function(objects.splitNode("a"), "session", nullptr, 0), OBZ_OK);
    EXPECT_THAT(sessionNodes("session"), ElementsAre("a"));
}

TEST_F(SessionEntryPoints, SelectNeedsASessionNameAndAListThatFitsItsCount)
{
    auto* const function = provider.get<obzx_fi_select_fn>("select");
    for (const int32_t status : {OBZ_OK, OBZ_USE_SESSION}) {
        record.answers = {{"select", status}};
        EXPECT_EQ(select(nullptr, list({"a"})), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(function(nullptr, "session", nullptr, 2), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(function(nullptr, "session", nullptr, 0), OBZ_OK);
        EXPECT_EQ(function(nullptr, "session", nullptr, -1), OBZ_OK);
    }
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SessionEntryPoints, ListWithAGapIsRefusedWholeBeforeTheProviderIsAsked)
{
    SGaps gaps;
    auto* const preselect = provider.get<obzx_fi_preselect_fn>("preselect");
    auto* const prepare = provider.get<obzx_fi_prepare_fn>("prepare");
    auto* const makeAll = provider.get<obzx_fi_make_fn>("make");
    record.answers = {{"select", OBZ_USE_SESSION}, {"prepare", OBZ_USE_SESSION}, {"make", OBZ_USE_SESSION}};
    for (obz_splitnode* const gap : {static_cast<obz_splitnode*>(nullptr), &gaps.withoutName, &gaps.withoutNode}) {
        obz_splitnode* const a = objects.splitNode("a");
        for (std::vector<obz_splitnode*> nodes : {std::vector{gap}, {a, gap}, {gap, a}, {a, gap, a}}) {
            const auto count = static_cast<int32_t>(nodes.size());
            EXPECT_EQ(preselect(nullptr, "session", nodes.data(), count), OBZ_ERR_INVALID_ARG);
            EXPECT_EQ(select("session", nodes), OBZ_ERR_INVALID_ARG);
            EXPECT_EQ(prepare(nullptr, "session", nodes.data(), count, 0), OBZ_ERR_INVALID_ARG);
            obzx_objid* filled = nullptr;
            identities = &filled;
            identityCount = 5;
            EXPECT_EQ(makeAll(nullptr, "session", nodes.data(), count, &identities, &identityCount),
                      OBZ_ERR_INVALID_ARG);
            EXPECT_EQ(identities, nullptr);
            EXPECT_EQ(identityCount, 0);
            EXPECT_EQ(makeAll(nullptr, "session", nodes.data(), count, nullptr, nullptr), OBZ_ERR_INVALID_ARG);
        }
    }
    EXPECT_THAT(record.operations(), ElementsAre("delayedInit"));
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SessionEntryPoints, SingleNodeWithAGapIsRefusedToo)
{
    SGaps gaps;
    auto* const preselect = provider.get<obzx_fi_preselect_fn>("preselect");
    auto* const selectAll = provider.get<obzx_fi_select_fn>("select");
    for (obz_splitnode* const node : {&gaps.withoutName, &gaps.withoutNode}) {
        EXPECT_EQ(preselect(node, "session", nullptr, 0), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(selectAll(node, "session", nullptr, 0), OBZ_ERR_INVALID_ARG);
    }
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SessionEntryPoints, FailedDelayedInitialisationComesBeforeALookAtTheList)
{
    record.answers = {{"delayedInit", 9}};
    EXPECT_EQ(select("session", {nullptr}), OBZ_ERR_DELAYED_INIT);
}

TEST_F(SessionEntryPoints, PreselectAddsNodesWithoutAskingTheProvider)
{
    auto nodes = list({"b"});
    auto* const preselect = provider.get<obzx_fi_preselect_fn>("preselect");
    record.answers = {{"preselect", 9}};
    EXPECT_EQ(preselect(objects.splitNode("a"), "session", nullptr, 0), OBZ_OK);
    EXPECT_EQ(preselect(nullptr, "session", nodes.data(), 1), OBZ_OK);
    EXPECT_EQ(preselect(nullptr, "session", nullptr, 0), OBZ_OK);
    EXPECT_EQ(preselect(nullptr, "session", nullptr, 1), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(preselect(nullptr, nullptr, nodes.data(), 1), OBZ_ERR_INVALID_ARG);
    EXPECT_THAT(record.operations(), ElementsAre("delayedInit"));
    EXPECT_THAT(sessionNodes("session"), ElementsAre("a", "b"));
}

TEST_F(SessionEntryPoints, PrepareGoesThroughTheSessionWithoutAddingNodes)
{
    select("session", list({"a"}));
    record.answers = {{"prepare", OBZ_USE_SESSION}, {"prepareSnapshots", 77}};
    record.forget();
    auto nodes = list({"b"});
    auto* const prepare = provider.get<obzx_fi_prepare_fn>("prepare");
    EXPECT_EQ(prepare(nullptr, "session", nodes.data(), 1, 5), 77);
    EXPECT_THAT(record.operations(), ElementsAre("prepare", "prepareSnapshots"));
    EXPECT_THAT(record.calls.back().texts, ElementsAre("a"));
    EXPECT_EQ(prepare(nullptr, nullptr, nodes.data(), 1, 5), OBZ_ERR_INVALID_ARG);
    EXPECT_THAT(record.callsOf("prepareSnapshots"), SizeIs(1));
}

TEST_F(SessionEntryPoints, UpdateSnapshotHandleGetsTheSessionOfThatName)
{
    select("session", list({"a"}));
    record.answers = {{"updateSnapshotHandle", 77}};
    obz_snaphandle handle = {};
    auto* const update = provider.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle");
    EXPECT_EQ(update("session", &handle), 77);
    EXPECT_THAT(record.calls.back().texts, ElementsAre("a"));
    EXPECT_EQ(record.calls.back().words.at(1), testfi::toWord(&handle));
    EXPECT_EQ(update(nullptr, &handle), OBZ_ERR_INVALID_ARG);
    EXPECT_THAT(record.callsOf("updateSnapshotHandle"), SizeIs(1));
}

TEST_F(SessionEntryPoints, MakeThatTheProviderHandlesItselfKeepsItsOutputs)
{
    obzx_objid* provided = nullptr;
    identities = &provided;
    identityCount = 5;
    record.answers = {{"make", 0}};
    EXPECT_EQ(make("session"), 0);
    EXPECT_EQ(identities, &provided);
    EXPECT_EQ(identityCount, 5);
    EXPECT_THAT(record.callsOf("makeSnapshots"), IsEmpty());
}

TEST_F(SessionEntryPoints, MakeListsTheNodesThatHaveACopyInNameOrder)
{
    select("session", list({"c", "b", "a"}));
    makeNodes({"c", "a"});
    EXPECT_EQ(make("session"), OBZ_OK);
    EXPECT_THAT(identityNames(), ElementsAre("a", "c"));
    EXPECT_EQ(identities[0]->type, OBZ_OBJID_TYPE_DEVICE);
    EXPECT_EQ(identities[0]->size, 2);
    obzx_free_objid_array(identities, identityCount);
}

TEST_F(SessionEntryPoints, MakeListsWhatExistsAlsoAfterAFailureHalfWay)
{
    select("session", list({"b", "a"}));
    makeNodes({"b"});
    record.answers["makeSnapshots"] = 9;
    EXPECT_EQ(make("session"), 9);
    EXPECT_THAT(identityNames(), ElementsAre("b"));
    obzx_free_objid_array(identities, identityCount);
}

TEST_F(SessionEntryPoints, MakeWithNothingMadeGivesNoArray)
{
    makeNodes({});
    EXPECT_EQ(make("session"), OBZ_OK);
    EXPECT_EQ(identities, nullptr);
    EXPECT_EQ(identityCount, 0);
}

TEST_F(SessionEntryPoints, MakeGivesNoArrayWhenItCannotBeBuilt)
{
    select("session", list({"b", "a"}));
    makeNodes({"a", "b"});
    for (const int32_t snapshot : {0, 9}) {
        record.answers["makeSnapshots"] = snapshot;
        for (const bool isBuffer : {true, false}) {
            SCOPED_TRACE(isBuffer ? "no array" : "no second identity");
            CFaults faults;
            if (isBuffer) {
                faults.failBuffer(0);
            } else {
                faults.failIdentity(1);
            }
            EXPECT_EQ(make("session"), snapshot != 0 ? snapshot : OBZ_ERR_FAILED);
            EXPECT_EQ(identities, nullptr);
            EXPECT_EQ(identityCount, 0);
        }
    }
}

TEST_F(SessionEntryPoints, MakeLeavesNoArrayWhenTheSnapshotThrows)
{
    select("session", list({"a"}));
    makeNodes({"a"});
    record.throwing = "makeSnapshots";
    EXPECT_THROW(make("session"), std::runtime_error);
    EXPECT_EQ(identities, nullptr);
    EXPECT_EQ(identityCount, 0);
}

TEST_F(SessionEntryPoints, MakeTakesNoSnapshotThatItCouldNotReport)
{
    makeNodes({});
    auto* const function = provider.get<obzx_fi_make_fn>("make");
    EXPECT_EQ(function(nullptr, "session", nullptr, 0, nullptr, &identityCount), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(function(nullptr, "session", nullptr, 0, &identities, nullptr), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(function(nullptr, nullptr, nullptr, 0, &identities, &identityCount), OBZ_ERR_INVALID_ARG);
    EXPECT_THAT(record.callsOf("makeSnapshots"), IsEmpty());
}

}  // namespace
}  // namespace pdktest
