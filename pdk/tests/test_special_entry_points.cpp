// The entry points that do more than pass their arguments on, step by step.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "framework/include/obzx_runtime.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/host_objects.h"
#include "pdk/tests/loaded_provider.h"
#include "pdk/tests/test_root.h"
#include "pdk/tests/testfi/testfi_record.h"

namespace pdktest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class SpecialEntryPoints : public ::testing::Test
{
  protected:
    /// A list of split nodes by name.
    std::vector<obz_splitnode*> list(const std::vector<const char*>& names)
    {
        std::vector<obz_splitnode*> nodes;
        for (const char* const name : names)
            nodes.push_back(objects.splitNode(name));
        return nodes;
    }
    int32_t select(const char* session, std::vector<obz_splitnode*> nodes)
    {
        return provider.get<obzx_fi_select_fn>("select")(nullptr, session, nodes.data(),
                                                         static_cast<int32_t>(nodes.size()));
    }
    int32_t make(const char* session)
    {
        return provider.get<obzx_fi_make_fn>("make")(nullptr, session, nullptr, 0, &identities, &identityCount);
    }
    /// Names of the nodes that a session holds.
    std::vector<std::string> sessionNodes(const char* session)
    {
        obz_snaphandle handle = {};
        provider.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")(session, &handle);
        return record.callsOf("updateSnapshotHandle").back().texts;
    }
    std::vector<std::string> identityNames() const
    {
        std::vector<std::string> names;
        for (int32_t i = 0; i < identityCount; ++i)
            names.emplace_back(identities[i]->name);
        return names;
    }
    /// Lets makeSnapshots make the nodes of these names.
    void makeNodes(const std::vector<std::string>& names)
    {
        record.answers["make"] = OBZ_USE_SESSION;
        record.onSession = [names](obzx_pdk_4_4::CFiSession& session) {
            for (const std::string& name : names)
                session.update(name, [](obzx_pdk_4_4::CFiSplitNode& node) { node.m_makeDone = 1; });
        };
    }

    CTestRoot root;
    testfi::STestRecord record;
    CHostObjects objects;
    CLoadedProvider provider{providerPath("testfi"), "testfi"};
    obzx_objid** identities = nullptr;
    int32_t identityCount = -1;
};

// ---- init and fini --------------------------------------------------------------------------------------------------

struct SMessage
{
    std::string localized;
    std::string text;
    obz_eseverity severity;
};

void keepMessage(obz_context* context, const char* localized, const char* text, obz_eseverity severity)
{
    static_cast<std::vector<SMessage>*>(context->user)->push_back({localized, text, severity});
}

TEST_F(SpecialEntryPoints, InitWithoutAVersionTouchesNothing)
{
    EXPECT_EQ(provider.get<obzx_fi_init_fn>("init")(nullptr, nullptr, "method"), OBZ_ERR_VERSION);
    EXPECT_THAT(record.operations(), IsEmpty());
    EXPECT_EQ(record.plugins, 0);
}

TEST_F(SpecialEntryPoints, InitFillsTheVersionRecord)
{
    obz_version version;
    memset(&version, 0xFF, sizeof version);
    EXPECT_EQ(provider.get<obzx_fi_init_fn>("init")(nullptr, &version, nullptr), OBZ_OK);
    EXPECT_EQ(version.version, 7);
    EXPECT_THAT(version.reserved, ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(SpecialEntryPoints, InitWiresThePluginUpBeforeItStartsIt)
{
    std::vector<SMessage> messages;
    char locale[] = "de_DE";
    char* localeName = locale;
    obz_context context = {keepMessage, &messages, nullptr, &localeName};
    record.answers = {{"init", OBZ_ERR_INIT}};
    EXPECT_EQ(provider.init(&context, "method"), OBZ_ERR_INIT);
    EXPECT_THAT(record.operations(), ElementsAre("init")) << "not delayedInit";
    EXPECT_THAT(record.calls.at(0).texts, ElementsAre("testfi", "testfi", "testfi", "method", "6000", "de_DE", "testfi",
                                                      "errors wired", "private data traces", "sessions"));
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0].localized, "");
    EXPECT_EQ(messages[0].text, "init was here");
    EXPECT_EQ(messages[0].severity, OBZ_SEV_WARNING);
}

TEST_F(SpecialEntryPoints, InitWithoutALocaleLeavesTheNativeLanguageUnset)
{
    char* localeName = nullptr;
    obz_context contexts[] = {{nullptr, nullptr, nullptr, nullptr}, {nullptr, nullptr, nullptr, &localeName}};
    for (obz_context& context : contexts) {
        record.forget();
        EXPECT_EQ(provider.init(&context, nullptr), OBZ_OK);
        EXPECT_EQ(record.calls.at(0).texts.at(5), "");
        EXPECT_EQ(record.calls.at(0).texts.at(3), "") << "no method named";
        provider.fini();
    }
}

TEST_F(SpecialEntryPoints, FiniEndsThePluginAndItsSessionsAndIsTracedToTheEnd)
{
    provider.init();
    select("session", list({"a"}));
    record.forget();
    {
        CTraceLines lines;
        provider.fini();
        EXPECT_THAT(lines.take().back(), ::testing::StartsWith("L6 testfi Exiting Function testfi_fi_pgn_fini"));
    }
    EXPECT_THAT(record.operations(), ElementsAre("fini"));
    EXPECT_THAT(record.calls.at(0).words, ElementsAre(1)) << "the plug-in knows that it is shutting down";
    EXPECT_EQ(record.plugins, 0);
    EXPECT_EQ(record.destroyed, 1);

    provider.init();
    EXPECT_EQ(record.plugins, 1);
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SpecialEntryPoints, LibraryThatIsUnloadedWithoutFiniTakesItsObjectsAlong)
{
    {
        CLoadedProvider other{providerPath("othertestfi"), "othertestfi"};
        other.init();
        EXPECT_EQ(record.plugins, 1);
    }
    EXPECT_EQ(record.plugins, 0);
}

// ---- interpose ------------------------------------------------------------------------------------------------------

TEST_F(SpecialEntryPoints, InterposeGoesOnAfterFailedDelayedInitialisation)
{
    record.answers = {{"delayedInit", 9}, {"interpose", 1}};
    int32_t count = 0;
    obzx_objid* identity = nullptr;
    EXPECT_EQ(provider.get<obzx_fi_interpose_fn>("interpose")(objects.domain("a"), &identity, &identities, &count), 1);
    EXPECT_THAT(record.operations(), ElementsAre("delayedInit", "interpose"));
}

TEST_F(SpecialEntryPoints, InterposeHoldsThePluginsMutexThroughout)
{
    auto* const interpose = provider.get<obzx_fi_interpose_fn>("interpose");
    std::vector<std::string> metInside;
    std::future<int32_t> other;
    record.onCall = [&](const std::string& operation) {
        if (other.valid()) return;
        metInside.push_back(operation);
        if (operation != "interpose") return;
        other = std::async(std::launch::async, [&] { return interpose(nullptr, nullptr, nullptr, nullptr); });
        EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        EXPECT_EQ(interpose(nullptr, nullptr, nullptr, nullptr), 0) << "the thread that holds it may come again";
    };
    interpose(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(other.get(), 0);
    EXPECT_THAT(metInside, ElementsAre("delayedInit", "interpose"));
    EXPECT_THAT(record.callsOf("interpose"), SizeIs(3));
}

TEST_F(SpecialEntryPoints, InterposeAndClaimClearTheirOutputsBeforeAnythingElse)
{
    obzx_objid own = {};
    obzx_objid* identity = &own;
    obzx_objid** list = &identity;
    int32_t count = 77;
    EXPECT_EQ(provider.get<obzx_fi_interpose_fn>("interpose")(objects.domain("a"), &identity, &list, &count), 0);
    EXPECT_EQ(identity, nullptr);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
    auto* const claim = provider.get<obzx_fi_claim_fn>("claim");
    for (obzx_objid* const primary : {&own, static_cast<obzx_objid*>(nullptr)}) {
        list = &identity;
        count = 77;
        EXPECT_EQ(claim(primary, &list, &count), OBZ_CLAIM_NONE);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(count, 0);
    }
    count = 77;
    EXPECT_EQ(claim(&own, nullptr, &count), OBZ_CLAIM_NONE);
    EXPECT_EQ(count, 0);
    list = &identity;
    EXPECT_EQ(claim(&own, &list, nullptr), OBZ_CLAIM_NONE);
    EXPECT_EQ(list, nullptr);
}

TEST_F(SpecialEntryPoints, CallsThatAreRefusedForANullClearTheirOtherOutputs)
{
    obzx_objid own = {};
    obzx_objid* identity = &own;
    obzx_objid** subobjects = &identity;
    int32_t count = 77;
    EXPECT_EQ(provider.get<obzx_fi_subobj_list_fn>("subobj_list")(nullptr, &subobjects, &count), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(subobjects, nullptr);
    EXPECT_EQ(count, 0);
    obz_confspec other = {};
    obz_confspec* parameters = &other;
    EXPECT_EQ(provider.get<obzx_fi_config_fn>("config")(nullptr, "fim", nullptr, &parameters), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(parameters, nullptr);
    char* names[] = {nullptr};
    char** translated = names;
    EXPECT_EQ(provider.get<obzx_fi_translate_resource_names_fn>("translate_resource_names")(names, 1, &translated),
              OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(translated, nullptr);
    obz_snaphandle_entry entry = {};
    obz_snaphandle handle = {&entry, 1};
    EXPECT_EQ(provider.get<obzx_fi_update_snapshot_handle_fn>("update_snapshot_handle")(nullptr, &handle),
              OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(handle.entries, nullptr);
    EXPECT_EQ(handle.count, 0);
}

// ---- sessions -------------------------------------------------------------------------------------------------------

TEST_F(SpecialEntryPoints, SelectAddsTheNodesWhenTheProviderAgrees)
{
    EXPECT_EQ(select("session", list({"b", "a"})), OBZ_OK);
    EXPECT_THAT(record.callsOf("selectSnapshots"), IsEmpty());
    EXPECT_THAT(sessionNodes("session"), ElementsAre("a", "b"));
    EXPECT_THAT(sessionNodes("another"), IsEmpty());
}

TEST_F(SpecialEntryPoints, SelectGoesThroughTheSessionWhenTheProviderAsksForIt)
{
    record.answers = {{"select", OBZ_USE_SESSION}, {"selectSnapshots", 77}};
    EXPECT_EQ(select("session", list({"b", "a"})), 77);
    EXPECT_THAT(record.operations(), ElementsAre("delayedInit", "select", "selectSnapshots"));
    EXPECT_THAT(record.calls.back().texts, ElementsAre("a", "b"));
}

TEST_F(SpecialEntryPoints, SelectAddsNothingWhenTheProviderRefuses)
{
    record.answers = {{"select", 9}};
    EXPECT_EQ(select("session", list({"a"})), 9);
    EXPECT_EQ(select(nullptr, list({"a"})), 9);
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SpecialEntryPoints, SelectWithASingleNodeAddsIt)
{
    auto* const function = provider.get<obzx_fi_select_fn>("select");
    EXPECT_EQ(function(objects.splitNode("a"), "session", nullptr, 0), OBZ_OK);
    EXPECT_THAT(sessionNodes("session"), ElementsAre("a"));
}

TEST_F(SpecialEntryPoints, SelectNeedsASessionNameAndAListThatFitsItsCount)
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

TEST_F(SpecialEntryPoints, ListWithAGapIsRefusedWholeBeforeTheProviderIsAsked)
{
    obz_domain nameless = {};
    obz_splitnode withoutName = {nullptr, &nameless};
    obz_splitnode withoutNode = {nullptr, nullptr};
    auto* const preselect = provider.get<obzx_fi_preselect_fn>("preselect");
    auto* const prepare = provider.get<obzx_fi_prepare_fn>("prepare");
    auto* const makeAll = provider.get<obzx_fi_make_fn>("make");
    record.answers = {{"select", OBZ_USE_SESSION}, {"prepare", OBZ_USE_SESSION}, {"make", OBZ_USE_SESSION}};
    for (obz_splitnode* const gap : {static_cast<obz_splitnode*>(nullptr), &withoutName, &withoutNode}) {
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

TEST_F(SpecialEntryPoints, SingleNodeWithAGapIsRefusedToo)
{
    obz_domain nameless = {};
    obz_splitnode withoutName = {nullptr, &nameless};
    obz_splitnode withoutNode = {nullptr, nullptr};
    auto* const preselect = provider.get<obzx_fi_preselect_fn>("preselect");
    auto* const selectAll = provider.get<obzx_fi_select_fn>("select");
    for (obz_splitnode* const node : {&withoutName, &withoutNode}) {
        EXPECT_EQ(preselect(node, "session", nullptr, 0), OBZ_ERR_INVALID_ARG);
        EXPECT_EQ(selectAll(node, "session", nullptr, 0), OBZ_ERR_INVALID_ARG);
    }
    EXPECT_THAT(sessionNodes("session"), IsEmpty());
}

TEST_F(SpecialEntryPoints, FailedDelayedInitialisationComesBeforeALookAtTheList)
{
    record.answers = {{"delayedInit", 9}};
    EXPECT_EQ(select("session", {nullptr}), OBZ_ERR_DELAYED_INIT);
}

TEST_F(SpecialEntryPoints, PreselectAddsNodesWithoutAskingTheProvider)
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

TEST_F(SpecialEntryPoints, PrepareGoesThroughTheSessionWithoutAddingNodes)
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

TEST_F(SpecialEntryPoints, UpdateSnapshotHandleGetsTheSessionOfThatName)
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

TEST_F(SpecialEntryPoints, MakeThatTheProviderHandlesItselfKeepsItsOutputs)
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

TEST_F(SpecialEntryPoints, MakeListsTheNodesThatHaveACopyInNameOrder)
{
    select("session", list({"c", "b", "a"}));
    makeNodes({"c", "a"});
    EXPECT_EQ(make("session"), OBZ_OK);
    EXPECT_THAT(identityNames(), ElementsAre("a", "c"));
    EXPECT_EQ(identities[0]->type, OBZ_OBJID_TYPE_DEVICE);
    EXPECT_EQ(identities[0]->size, 2);
    obzx_free_objid_array(identities, identityCount);
}

TEST_F(SpecialEntryPoints, MakeListsWhatExistsAlsoAfterAFailureHalfWay)
{
    select("session", list({"b", "a"}));
    makeNodes({"b"});
    record.answers["makeSnapshots"] = 9;
    EXPECT_EQ(make("session"), 9);
    EXPECT_THAT(identityNames(), ElementsAre("b"));
    obzx_free_objid_array(identities, identityCount);
}

TEST_F(SpecialEntryPoints, MakeWithNothingMadeGivesNoArray)
{
    makeNodes({});
    EXPECT_EQ(make("session"), OBZ_OK);
    EXPECT_EQ(identities, nullptr);
    EXPECT_EQ(identityCount, 0);
}

TEST_F(SpecialEntryPoints, MakeGivesNoArrayWhenItCannotBeBuilt)
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

TEST_F(SpecialEntryPoints, MakeLeavesNoArrayWhenTheSnapshotThrows)
{
    select("session", list({"a"}));
    makeNodes({"a"});
    record.throwing = "makeSnapshots";
    EXPECT_THROW(make("session"), std::runtime_error);
    EXPECT_EQ(identities, nullptr);
    EXPECT_EQ(identityCount, 0);
}

TEST_F(SpecialEntryPoints, MakeTakesNoSnapshotThatItCouldNotReport)
{
    makeNodes({});
    auto* const function = provider.get<obzx_fi_make_fn>("make");
    EXPECT_EQ(function(nullptr, "session", nullptr, 0, nullptr, &identityCount), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(function(nullptr, "session", nullptr, 0, &identities, nullptr), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(function(nullptr, nullptr, nullptr, 0, &identities, &identityCount), OBZ_ERR_INVALID_ARG);
    EXPECT_THAT(record.callsOf("makeSnapshots"), IsEmpty());
}

// ---- objctl ---------------------------------------------------------------------------------------------------------

TEST_F(SpecialEntryPoints, ObjctlTakesTheRequestApartAndPutsTheReplyTogether)
{
    record.answers = {{"objctl", int64_t{1} << 40}};
    record.outputs = {{"state", "well done"}, {"n", "1"}};
    std::string request =
        "<OBJCTL_ARG_LIST> <OBJCTL_INPUT arg=mode value=fast type=string /> "
        "<OBJCTL_INPUT arg=n value=2 type=int /> </OBJCTL_ARG_LIST>";
    const std::string before = request;
    char* reply = nullptr;
    int64_t status = 0;
    auto* const objctl = provider.get<obzx_fi_objctl_fn>("objctl");
    EXPECT_EQ(objctl("object", request.data(), &reply, &status), OBZ_OK);
    EXPECT_EQ(status, int64_t{1} << 40);
    EXPECT_THAT(record.calls.back().texts, ElementsAre("object", "mode|fast|string", "n|2|int"));
    EXPECT_STREQ(reply,
                 "<OBJCTL_ARG_LIST> <OBJCTL_OUTPUT arg=state value=well done type=string /> "
                 "<OBJCTL_OUTPUT arg=n value=1 type=string /> </OBJCTL_ARG_LIST> ");
    EXPECT_EQ(request, before);
    free(reply);
}

TEST_F(SpecialEntryPoints, ObjctlReportsTheProvidersFailureThroughTheStatusOnly)
{
    record.answers = {{"objctl", -3}};
    char* reply = nullptr;
    int64_t status = 0;
    EXPECT_EQ(provider.get<obzx_fi_objctl_fn>("objctl")("object", nullptr, &reply, &status), OBZ_OK);
    EXPECT_EQ(status, -3);
    EXPECT_STREQ(reply, "<OBJCTL_ARG_LIST> </OBJCTL_ARG_LIST> ");
    free(reply);
}

TEST_F(SpecialEntryPoints, ObjctlDoesNotWriteNullOutputs)
{
    EXPECT_EQ(provider.get<obzx_fi_objctl_fn>("objctl")(nullptr, nullptr, nullptr, nullptr), OBZ_OK);
    EXPECT_THAT(record.calls.back().texts, ElementsAre(""));
}

TEST_F(SpecialEntryPoints, ObjctlTouchesNoOutputWhenDelayedInitialisationFails)
{
    record.answers = {{"delayedInit", 9}};
    char text[] = "untouched";
    char* reply = text;
    int64_t status = 42;
    EXPECT_EQ(provider.get<obzx_fi_objctl_fn>("objctl")("object", nullptr, &reply, &status), OBZ_ERR_DELAYED_INIT);
    EXPECT_EQ(reply, text);
    EXPECT_EQ(status, 42);
}

// ---- others ---------------------------------------------------------------------------------------------------------

TEST_F(SpecialEntryPoints, TranslateResourceNamesAcceptsNoCountButZero)
{
    char* names[] = {nullptr};
    char** translated = nullptr;
    auto* const translate = provider.get<obzx_fi_translate_resource_names_fn>("translate_resource_names");
    EXPECT_EQ(translate(names, 1, &translated), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(translate(names, -1, &translated), OBZ_ERR_INVALID_ARG);
    EXPECT_THAT(record.callsOf("translateResourceNames"), IsEmpty());
    EXPECT_EQ(translate(names, 0, &translated), OBZ_OK);
}

}  // namespace
}  // namespace pdktest
