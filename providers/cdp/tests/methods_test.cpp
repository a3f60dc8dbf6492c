// A type of appliance that offers two methods: what the plug-in does for each method that an appliance offers.
#include "providers/cdp/cdp_appliance_types.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_configuration.h"
#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiFim;
using obzx_pdk_4_4::SFiAnnouncedFim;
using obzx_pdk_4_4::SFiFimInfo;

class CTwoMethods : public CLMRAppliance
{
  public:
    explicit CTwoMethods(const CString& name) : CLMRAppliance(name) {}
    std::vector<SFiFimInfo> getFims() override
    {
        std::vector<SFiFimInfo> fims = CLMRAppliance::getFims();
        fims[0].m_splitName = "FirstSplit";
        fims[0].m_quiesceName = "FirstQuiesce";
        fims.push_back(fims[0]);
        fims[1].m_splitName = "SecondSplit";
        fims[1].m_quiesceName = "SecondQuiesce";
        fims[1].m_access = OBZ_ACCESS_LOCAL;
        return fims;
    }
};

constexpr SCDPApplianceType TYPES[] = {
    {LMR_LIST_MARK, [](const CString& name) { return CAppliancePtr(new CTwoMethods(name)); }},
};

class Methods : public CPluginTest
{
  protected:
    Methods()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
        start();
    }
};

}  // namespace

// In place of the types that the provider has.
std::span<const SCDPApplianceType> applianceTypes()
{
    return TYPES;
}

TEST_F(Methods, ANodeGetsACombinationForEach)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    const obz_combo* const first = node->combos;
    ASSERT_NE(nullptr, first);
    EXPECT_STREQ("FirstQuiesce", first->quiesce->name);
    EXPECT_STREQ("FirstSplit", first->split->name);
    const obz_combo* const second = first->next;
    ASSERT_NE(nullptr, second);
    EXPECT_STREQ("SecondQuiesce", second->quiesce->name);
    EXPECT_STREQ("SecondSplit", second->split->name);
    EXPECT_EQ(node.get(), second->quiesce->node);
    EXPECT_EQ(node.get(), second->split->node);
    EXPECT_EQ(nullptr, second->next);
}

TEST_F(Methods, TheFirstOneThatMatchesEndsTheSearch)
{
    CNode node("<cdpfi>S1");
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "any"));
    EXPECT_EQ(3, node.access());
    EXPECT_TRUE(m_trace.has("L3 Checking with  FIM FirstSplit"));
    EXPECT_FALSE(m_trace.has("L3 Checking with  FIM SecondSplit"));
}

TEST_F(Methods, ALaterOneIsFoundByItsName)
{
    CNode node("<cdpfi>S1");
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "SecondSplit"));
    EXPECT_EQ(OBZ_ACCESS_LOCAL, node.access());
}

TEST_F(Methods, EachIsAnnounced)
{
    const std::vector<SFiAnnouncedFim> announced = plugin().getFims("");
    ASSERT_EQ(2u, announced.size());
    EXPECT_EQ("FirstSplit", announced[0].m_fimName);
    EXPECT_EQ("SecondSplit", announced[1].m_fimName);
    EXPECT_EQ("FI_QUIESCE_NONE", announced[1].m_quiesceName);
}

}  // namespace cdpfi
