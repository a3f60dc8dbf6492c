// The entry points that do more than pass their arguments on, step by step; those on sessions have a file of their own.
#include "pdk/tests/special_entry_points.h"
#include "pdk/tests/faults.h"
#include "pdk/tests/trace_lines.h"

#include <chrono>
#include <future>

namespace pdktest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

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

// Each singleton has a mutex in the provider's library, which is locked to fetch the singleton and to end it.
TEST_F(SpecialEntryPoints, FiniEndsThePluginCatalogsTraceLogErrorsPrivateDataAndSessionsInThisOrder)
{
    enum ESingleton
    {
        PLUGIN,
        CATALOGS,
        TRACE_LOG,
        ERRORS,
        PRIVATE_DATA,
        SESSIONS
    };
    std::map<const pthread_mutex_t*, ESingleton> singletons;
    {
        CLockWatch watch;
        provider.init();
        const std::vector<const pthread_mutex_t*> locked = watch.lockedOf("libtestfi");
        // The entry's own trace log; the plug-in, to name it; the managers that it is given.
        const std::vector<ESingleton> fetched = {TRACE_LOG, PLUGIN,       CATALOGS, TRACE_LOG,
                                                 ERRORS,    PRIVATE_DATA, SESSIONS};
        ASSERT_GE(locked.size(), fetched.size());
        for (size_t i = 0; i < fetched.size(); ++i) {
            singletons.emplace(locked[i], fetched[i]);
        }
        ASSERT_THAT(singletons, SizeIs(6));
    }
    std::vector<ESingleton> met;
    {
        CLockWatch watch;
        provider.fini();
        for (const pthread_mutex_t* const mutex : watch.lockedOf("libtestfi")) {
            met.push_back(singletons.at(mutex));
        }
    }
    // Again the entry's own trace log, and the plug-in, to tell it that it ends and to let it end.
    EXPECT_THAT(met,
                ElementsAre(TRACE_LOG, PLUGIN, PLUGIN, PLUGIN, CATALOGS, TRACE_LOG, ERRORS, PRIVATE_DATA, SESSIONS));
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

TEST_F(SpecialEntryPoints, InterposeDoesNotGiveThePluginsMutexBackAfterDelayedInitialisation)
{
    CLockWatch watch;
    std::set<const pthread_mutex_t*> heldInside;
    record.onCall = [&](const std::string& operation) {
        if (operation == "delayedInit") {
            heldInside = watch.held();
            watch.takeGivenBack();
            return;
        }
        for (const pthread_mutex_t* const mutex : watch.takeGivenBack()) {
            EXPECT_EQ(heldInside.count(mutex), 0u);
        }
    };
    provider.get<obzx_fi_interpose_fn>("interpose")(nullptr, nullptr, nullptr, nullptr);
    EXPECT_THAT(record.operations(), ElementsAre("delayedInit", "interpose"));
    EXPECT_THAT(heldInside, SizeIs(1)) << "the plug-in's";
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
