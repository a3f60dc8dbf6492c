#include <algorithm>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/cdp_messages.h"
#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiContextSingleton;
using obzx_pdk_4_4::CFiErrorManager;
using obzx_pdk_4_4::SFiAnnouncedFim;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Lifecycle : public CPluginTest
{
  protected:
    static auto errors() { return CFiContextSingleton<CFiErrorManager, FI_PLUGIN_NAME>::instance(false); }
    static auto catalogs()
    {
        return CFiContextSingleton<obzx_pdk_4_4::CFiMessageCatalogManager, FI_PLUGIN_NAME>::instance(false);
    }
    void removeShell() { std::filesystem::remove(m_scenario.root() / "opt/QXPKlm/bin/lmsh"); }
    /// Whether the private data of nodes is the provider's.
    bool makesProviderData()
    {
        CNode node("n");
        obz_blob blob{};
        return plugin().processProviderState(node.get(), &blob, OBZ_STATE_SET) == OBZ_OK;
    }
};

}  // namespace

TEST_F(Lifecycle, InitReadsTheConfigurationAnnouncesTheFimAndLoadsTheInventory)
{
    m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
    EXPECT_EQ(OBZ_OK, init());
    expectTrace();
    ASSERT_EQ(1u, plugin().getAnnouncedFims().size());
    const SFiAnnouncedFim fim = plugin().getAnnouncedFims().front();
    EXPECT_EQ("Lumora", fim.m_fimName);
    EXPECT_EQ("Lumora", fim.m_splitName);
    EXPECT_EQ("FI_QUIESCE_NONE", fim.m_quiesceName);
    EXPECT_EQ(3, fim.m_access);
    EXPECT_EQ("", fim.m_options);
    EXPECT_THAT(m_messages, IsEmpty());
}

TEST_F(Lifecycle, ALineOfTheConfigurationThatCannotBeReadIsTracedOnceByEachStart)
{
    m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
    m_scenario.append("etc/qz/cdpfi.conf", "LOCAL_NAME 192.0.2.77\n");
    const std::string line = "L2 CFiConfiguration - line [7] of [" + m_scenario.root().string() +
                             "/etc/qz/cdpfi.conf] cannot be read and is skipped.";
    for (const int start : {1, 2}) {
        m_trace.clear();
        ASSERT_EQ(OBZ_OK, init()) << "the tools are found all the same, start " << start;
        CNode node("<cdpfi>S1");
        EXPECT_EQ(OBZ_OK, initNode(node));
        EXPECT_EQ(1, std::ranges::count(m_trace.lines(), line)) << "start " << start;
        EXPECT_EQ(OBZ_OK, plugin().deInitNode(node.get()));
        fini();
    }
}

TEST_F(Lifecycle, WithoutAnApplianceInitFailsAndRegistersNothing)
{
    EXPECT_EQ(OBZ_ERR_INIT, init());
    expectTrace();
    EXPECT_THAT(plugin().getAnnouncedFims(), IsEmpty());
    EXPECT_FALSE(makesProviderData());
    EXPECT_EQ(0u, errors()->size());
    std::string pattern;
    EXPECT_FALSE(catalogs()->findPattern("cdpfi", message::INITIALIZATION_FAILED, "", pattern));
}

TEST_F(Lifecycle, WithoutAnApplianceTheHostIsToldWhichFileNamesNone)
{
    init("de_DE");
    ASSERT_EQ(1u, m_messages.size());
    EXPECT_EQ("Es ist keine Appliance konfiguriert. Fügen Sie der Datei " + m_scenario.root().string() +
                  "/etc/qz/hls.conf eine Zeile RSURL=<Name der Appliance> hinzu und stellen Sie sicher, dass sie eine "
                  "lesbare reguläre Datei ist.",
              m_messages[0].m_localized);
    EXPECT_EQ("No appliance is configured. Add a line RSURL=<appliance name> to the file " +
                  m_scenario.root().string() + "/etc/qz/hls.conf and make sure that it is a readable regular file.",
              m_messages[0].m_text);
    EXPECT_EQ(OBZ_SEV_ERROR, m_messages[0].m_severity);
}

TEST_F(Lifecycle, AHostWithoutALocaleGetsTheDefaultTextTwice)
{
    init();
    ASSERT_EQ(1u, m_messages.size());
    EXPECT_THAT(m_messages[0].m_text, HasSubstr("No appliance is configured."));
    EXPECT_EQ(m_messages[0].m_text, m_messages[0].m_localized);
}

TEST_F(Lifecycle, TheMessagesOfAFailedStartHaveTheDefaultTextThird)
{
    m_scenario.addAppliance("server1", {});
    m_scenario.refuse("kforutil listdisk");
    init("de_DE");
    ASSERT_EQ(2u, m_messages.size());
    EXPECT_EQ("Der CDP-Provider konnte nicht initialisiert werden. Den Grund nennt die Protokolldatei des Providers.",
              m_messages[1].m_localized);
    EXPECT_EQ("The CDP provider could not be initialized. See the trace file of the provider for the reason.",
              m_messages[1].m_text);
}

TEST_F(Lifecycle, WhenNoApplianceIsValidInitFailsAfterTheCatalogAndThePrivateDataWereRegistered)
{
    m_scenario.addAppliance("server1", {});
    m_scenario.addAppliance("server2", {});
    removeShell();
    EXPECT_EQ(OBZ_ERR_INIT, init("fr"));
    expectTrace();
    EXPECT_THAT(plugin().getAnnouncedFims(), IsEmpty());
    EXPECT_TRUE(makesProviderData());
    std::string pattern;
    EXPECT_TRUE(catalogs()->findPattern("cdpfi", message::INITIALIZATION_FAILED, "", pattern));
    ASSERT_EQ(1u, m_messages.size());
    EXPECT_THAT(m_messages[0].m_text,
                HasSubstr("The appliance shell " + m_scenario.root().string() +
                          "/opt/QXPKlm/bin/lmsh is missing or not executable, so none of these appliances can be used: "
                          "server1, server2."));
    EXPECT_THAT(m_messages[0].m_localized, HasSubstr("server1, server2"));
    EXPECT_THAT(m_messages[0].m_localized, HasSubstr("absent ou non exécutable"));
}

TEST_F(Lifecycle, TheFimsOfAllAppliancesAreAnnouncedWithoutLookingForDuplicates)
{
    m_scenario.addAppliance("server1", {});
    m_scenario.addAppliance("server2", {});
    EXPECT_EQ(OBZ_OK, init());
    expectTrace();
    EXPECT_EQ(2u, plugin().getAnnouncedFims().size());
}

// The appliances share one shell; it goes away between the two looks at it.
TEST_F(Lifecycle, WithOneValidAndOneInvalidApplianceTheFimsOfBothAreAnnounced)
{
    m_scenario.addAppliance("server1", {});
    m_scenario.addAppliance("server2", {});
    m_trace.onLine("L3 CCDPPlugin::init - Found a valid Appliance.", [this] { removeShell(); });
    EXPECT_EQ(OBZ_OK, init());
    expectTrace();
    EXPECT_EQ(2u, plugin().getAnnouncedFims().size());
}

TEST_F(Lifecycle, AnApplianceThatAnswersNothingDoesNotKeepTheProviderFromStarting)
{
    m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
    m_scenario.refuse("server1: *");
    EXPECT_EQ(OBZ_OK, init());
    expectTrace();
}

TEST_F(Lifecycle, AnExceptionOnTheWayUpIsReportedOnTheErrorStack)
{
    m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
    m_scenario.refuse("kforutil listdisk");
    EXPECT_EQ(OBZ_ERR_INIT, init());
    expectTrace();
    const auto message = errors()->top();
    ASSERT_TRUE(message);
    EXPECT_EQ("MSG_ERROR_INITIALIZATION_FAILED", message->getMessageId());
    EXPECT_EQ(OBZ_SEV_ERROR, message->getSeverity());
    EXPECT_EQ("../cdp_plugin.cpp", message->getFileName());
    EXPECT_EQ(107, message->getLineNumber());
    EXPECT_THAT(plugin().getAnnouncedFims(), testing::SizeIs(1)) << "what was registered before it stays registered";
}

TEST_F(Lifecycle, AFailedDiskListingIsReportedWithTheToolThatFailed)
{
    m_scenario.addAppliance("server1", {});
    m_scenario.refuse("kforutil listdisk");
    init("ja");
    ASSERT_EQ(2u, m_messages.size());
    EXPECT_THAT(m_messages[0].m_text, HasSubstr("The disk utility " + m_scenario.root().string() +
                                                "/opt/QXPKlm/bin/kforutil could not list the disks of this host"));
    EXPECT_THAT(m_messages[0].m_localized, HasSubstr("ディスクユーティリティ"));
    EXPECT_EQ("The CDP provider could not be initialized. See the trace file of the provider for the reason.",
              m_messages[1].m_text);
}

TEST_F(Lifecycle, ALaterInitReadsTheConfigurationAgain)
{
    m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
    ASSERT_EQ(OBZ_OK, init());
    fini();
    m_scenario.addAppliance("server2", {{"cg2", {"S2"}}});
    m_trace.clear();
    ASSERT_EQ(OBZ_OK, init());
    expectTrace();
    EXPECT_EQ(2u, plugin().getAnnouncedFims().size());
    CNode group("cg2");
    EXPECT_EQ(OBZ_OK, initNode(group));
}

TEST_F(Lifecycle, AFailedInitMayBeRepeatedOnceTheCauseIsGone)
{
    EXPECT_EQ(OBZ_ERR_INIT, init());
    m_scenario.addAppliance("server1", {});
    EXPECT_EQ(OBZ_OK, init());
}

TEST_F(Lifecycle, DelayedInitAndFiniOnlyTraceTheirLife)
{
    m_scenario.addAppliance("server1", {});
    start();
    EXPECT_EQ(OBZ_OK, plugin().delayedInit());
    EXPECT_EQ(OBZ_OK, plugin().fini());
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Lifecycle, ProviderInfoIsOneNodeAlsoBeforeInit)
{
    obz_provider_list* provider = nullptr;
    EXPECT_EQ(OBZ_OK, plugin().getProviderInfo(&provider));
    ASSERT_NE(nullptr, provider);
    EXPECT_STREQ("cdpfi", provider->name);
    EXPECT_EQ(1, provider->kind);
    EXPECT_EQ(2, provider->level);
    EXPECT_THAT(provider->version, ElementsAre(7, 0, 0, 0));
    EXPECT_EQ(0, provider->attribute_count);
    EXPECT_EQ(nullptr, provider->next);
    obzx_free_provider_list(provider);
    m_scenario.addAppliance("server1", {});
    start();
    EXPECT_EQ(OBZ_OK, plugin().getProviderInfo(&provider));
    expectTrace();
    ASSERT_NE(nullptr, provider);
    EXPECT_STREQ("cdpfi", provider->name);
    EXPECT_EQ(nullptr, provider->next);
    obzx_free_provider_list(provider);
}

TEST_F(Lifecycle, FimsOfEveryApplianceAreEnumerated)
{
    obz_fim_list* fims = nullptr;
    EXPECT_EQ(OBZ_OK, plugin().enumerateFims(&fims));
    EXPECT_EQ(nullptr, fims) << "no appliance, no list";
    m_scenario.addAppliance("server1", {});
    m_scenario.addAppliance("server2", {});
    start();
    EXPECT_EQ(OBZ_OK, plugin().enumerateFims(&fims));
    expectTrace();
    ASSERT_NE(nullptr, fims);
    EXPECT_STREQ("Lumora", fims->name);
    EXPECT_STREQ("6.5", fims->version);
    EXPECT_STREQ("cdpfi", fims->provider);
    ASSERT_NE(nullptr, fims->next);
    EXPECT_EQ(nullptr, fims->next->next);
    obzx_free_fim_list(fims);
}

TEST_F(Lifecycle, ANullListPointerIsAnInvalidArgument)
{
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().getProviderInfo(nullptr));
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().enumerateFims(nullptr));
    fini();
}

TEST_F(Lifecycle, ANodeWithoutPrivateDataHasNoneOfTheProviders)
{
    m_scenario.addAppliance("server1", {});
    start();
    EXPECT_EQ(nullptr, plugin().GetPrivateData(nullptr));
    CNode node("n");
    EXPECT_EQ(nullptr, plugin().GetPrivateData(node.get()));
    EXPECT_THAT(m_trace.lines(), IsEmpty());
}

}  // namespace cdpfi
