#include "framework/include/cfiprivatedata.h"

#include <gmock/gmock.h>

#include <atomic>

#include "framework/include/obzx_runtime.h"
#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

using test::CNode;
using testing::ElementsAre;

std::atomic<int> s_alive{0};

class CCountedData : public CFiPrivateData
{
  public:
    CCountedData(obzx_objid* identity, bool isAltNode) : CFiPrivateData(identity, isAltNode) { ++s_alive; }
    ~CCountedData() override { --s_alive; }
};

class PrivateData : public testing::Test
{
  protected:
    PrivateData() { s_alive = 0; }
    CFiPrivateDataConcreteFactory<CCountedData> m_factory;
};

TEST_F(PrivateData, IsCreatedOnceForANode)
{
    CNode node("/dev/sdb");
    const CFiPrivateDataPtr first = m_factory.allocate(node.get(), false);
    const CFiPrivateDataPtr second = m_factory.allocate(node.get(), false);
    ASSERT_TRUE(first);
    EXPECT_EQ(first, second);
    EXPECT_EQ(m_factory.access(node.get()), first);
    EXPECT_EQ(s_alive, 1);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
}

TEST_F(PrivateData, StartsEmpty)
{
    CNode node("/dev/sdb");
    const CFiPrivateDataPtr data = m_factory.allocate(node.get(), true);
    EXPECT_EQ(data->getObjectId(), node->identity);
    EXPECT_EQ(data->getObjName(), "");
    EXPECT_EQ(data->getKey(), "/dev/sdb");
    EXPECT_EQ(data->getSessionId(), "");
    EXPECT_EQ(data->getSplitType(), "");
    EXPECT_EQ(data->getIntent(), OBZ_INTENT_NONE);
    EXPECT_FALSE(data->getTransportable());
    EXPECT_TRUE(data->getIsAltNode());
    EXPECT_EQ(data->getSubObjectListLength(), 0u);
    EXPECT_TRUE(data->getTargets().empty());
    EXPECT_TRUE(data->getHostList().empty());
    EXPECT_FALSE(data->hasConfigInfoList(0));
    EXPECT_FALSE(data->hasConfigDataList(0));
    m_factory.deallocate(node.get());
}

TEST_F(PrivateData, KeepsWhatIsSet)
{
    CFiPrivateData data(nullptr, false);
    EXPECT_EQ(data.getKey(), "");
    obzx_objid identity = {};
    data.setIntent(OBZ_INTENT_DEPORT);
    data.setTransportable(true);
    data.setIsAltNode(true);
    data.setSplitType("Lumora");
    data.addSubObject(&identity);
    data.addTarget("first");
    data.addTarget("second");
    data.configInfoList(3).push_back({"NAME", "text", "", ""});
    data.configDataList(4).push_back({"NAME", "value"});
    EXPECT_EQ(data.getIntent(), OBZ_INTENT_DEPORT);
    EXPECT_TRUE(data.getTransportable());
    EXPECT_TRUE(data.getIsAltNode());
    EXPECT_EQ(data.getSplitType(), "Lumora");
    EXPECT_THAT(data.getSubObjectList(), ElementsAre(&identity));
    EXPECT_THAT(data.getTargets(), ElementsAre("first", "second"));
    EXPECT_TRUE(data.hasConfigInfoList(3));
    EXPECT_FALSE(data.hasConfigInfoList(4));
    EXPECT_TRUE(data.hasConfigDataList(4));
    data.setSplitType(nullptr);
    EXPECT_EQ(data.getSplitType(), "");
}

TEST_F(PrivateData, CopiesHostNames)
{
    CFiPrivateData data(nullptr, false);
    std::string name = "hosta";
    obz_host_infn last = {name.data(), nullptr};
    obz_host_infn nameless = {nullptr, &last};
    data.setHostList(&nameless);
    name = "other";
    EXPECT_THAT(data.getHostList(), ElementsAre("hosta"));
    data.setHostList(nullptr);
    EXPECT_TRUE(data.getHostList().empty());
}

TEST_F(PrivateData, IsSharedByNodesOfOneObjectUntilTheLastGivesItBack)
{
    CNode first("/dev/sdb");
    CNode second("/dev/sdb");
    EXPECT_EQ(m_factory.allocate(first.get(), false).get(), m_factory.allocate(second.get(), false).get());
    EXPECT_EQ(s_alive, 1);
    EXPECT_EQ(m_factory.deallocate(first.get()), 0u);
    EXPECT_EQ(first->private_data, nullptr);
    EXPECT_EQ(s_alive, 1);
    EXPECT_TRUE(m_factory.access(second.get()));
    EXPECT_TRUE(m_factory.accessByName("/dev/sdb", false));
    EXPECT_EQ(m_factory.deallocate(second.get()), 0u);
    EXPECT_EQ(s_alive, 0);
    EXPECT_FALSE(m_factory.accessByName("/dev/sdb", false));
}

TEST_F(PrivateData, OfAnAlternateNodeIsApartFromThePrimarys)
{
    CNode primary("/dev/sdb");
    CNode alternate("/dev/sdb");
    const CFiPrivateDataPtr data = m_factory.allocate(primary.get(), false);
    EXPECT_FALSE(m_factory.accessByName("/dev/sdb", true));
    EXPECT_FALSE(m_factory.allocate(alternate.get(), true) == data);
    EXPECT_EQ(m_factory.accessByName("/dev/sdb", false), data);
    EXPECT_EQ(m_factory.getPrivateDataList(true).size(), 1u);
    m_factory.deallocate(primary.get());
    m_factory.deallocate(alternate.get());
    EXPECT_TRUE(m_factory.getPrivateDataList(true).empty());
}

TEST_F(PrivateData, OfANodeThatHasItIgnoresTheOtherMap)
{
    CNode node("/dev/sdb");
    const CFiPrivateDataPtr data = m_factory.allocate(node.get(), false);
    EXPECT_EQ(m_factory.allocate(node.get(), true), data);
    EXPECT_TRUE(m_factory.getPrivateDataList(true).empty());
    m_factory.deallocate(node.get());
}

TEST_F(PrivateData, GivesNothingBackTwice)
{
    CNode node("/dev/sdb");
    EXPECT_EQ(m_factory.deallocate(nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0xFFFFFFFFu);
    m_factory.allocate(node.get(), false);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0xFFFFFFFFu);
}

TEST_F(PrivateData, StaysInTheMapWhileSomebodyElseHoldsIt)
{
    CNode node("/dev/sdb");
    const CFiPrivateDataPtr held = m_factory.allocate(node.get(), false);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
    EXPECT_EQ(m_factory.accessByName("/dev/sdb", false), held);
}

TEST_F(PrivateData, LeavesTheMapAlsoWhenTheIdentityWasReplaced)
{
    CNode node("<cdpfi>target");
    m_factory.allocate(node.get(), true);
    node->identity = obzx_get_objid("/dev/sdc", 0, OBZ_OBJID_TYPE_DEVICE);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
    EXPECT_EQ(s_alive, 0);
    EXPECT_TRUE(m_factory.getPrivateDataList(true).empty());
}

TEST_F(PrivateData, ThatMovedToTheOtherKindIsLookedForThere)
{
    CNode node("/dev/sdb");
    m_factory.allocate(node.get(), false)->setIsAltNode(true);
    EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
    EXPECT_EQ(s_alive, 1);  // entered as a primary node's, it stays with the factory
    EXPECT_EQ(m_factory.getPrivateDataList(false).size(), 1u);
}

TEST_F(PrivateData, IsNotMadeForANodeWithoutAName)
{
    obz_domain domain = {};
    EXPECT_FALSE(m_factory.allocate(nullptr, false));
    EXPECT_FALSE(m_factory.allocate(&domain, false));
    obzx_objid identity = {};
    domain.identity = &identity;
    EXPECT_FALSE(m_factory.allocate(&domain, false));
    EXPECT_EQ(domain.private_data, nullptr);
    EXPECT_FALSE(m_factory.access(nullptr));
    EXPECT_FALSE(m_factory.access(&domain));
}

TEST_F(PrivateData, TakesNamesOfAnyBytes)
{
    for (const std::string& name : {std::string(""), std::string(10240, 'x'), std::string("\xff\xfe\n%s")}) {
        CNode node(name);
        const CFiPrivateDataPtr data = m_factory.allocate(node.get(), false);
        EXPECT_EQ(m_factory.accessByName(name.c_str(), false), data);
        EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
    }
    EXPECT_FALSE(m_factory.accessByName("xxx", false));
}

TEST_F(PrivateData, IsListedInNameOrder)
{
    CNode b("b");
    CNode a("a");
    m_factory.allocate(b.get(), false);
    m_factory.allocate(a.get(), false);
    std::vector<std::string> names;
    for (const CFiPrivateDataPtr& data : m_factory.getPrivateDataList(false)) {
        names.push_back(data->getKey());
    }
    EXPECT_THAT(names, ElementsAre("a", "b"));
    m_factory.deallocate(a.get());
    m_factory.deallocate(b.get());
}

TEST_F(PrivateData, DiesWithItsFactoryWhenNodesNeverGaveItBack)
{
    CNode node("/dev/sdb");
    {
        CFiPrivateDataConcreteFactory<CCountedData> factory;
        factory.allocate(node.get(), false);
        EXPECT_EQ(s_alive, 1);
    }
    EXPECT_EQ(s_alive, 1);  // the node still holds it
    EXPECT_EQ(m_factory.deallocate(node.get()), 0u);
    EXPECT_EQ(s_alive, 0);
}

TEST_F(PrivateData, GetsTheTraceLogOfItsFactory)
{
    CFiTraceLogPtr log(true);
    CNode node("/dev/sdb");
    m_factory.registerTraceLog(log);
    EXPECT_EQ(m_factory.allocate(node.get(), false)->traceLog(), log);
    m_factory.deallocate(node.get());
}

TEST_F(PrivateData, IsSharedByEightThreads)
{
    test::onEightThreads([this](int thread) {
        for (int i = 0; i < 100; ++i) {
            CNode shared("/dev/shared");
            CNode own("/dev/" + std::to_string(thread));
            const CFiPrivateDataPtr data = m_factory.allocate(shared.get(), false);
            ASSERT_TRUE(data);
            m_factory.allocate(own.get(), true);
            EXPECT_EQ(m_factory.access(shared.get()), data);
            EXPECT_EQ(m_factory.accessByName("/dev/shared", false), data);
            EXPECT_EQ(m_factory.getPrivateDataList(false).size(), 1u);
            EXPECT_EQ(m_factory.deallocate(own.get()), 0u);
            EXPECT_EQ(m_factory.deallocate(shared.get()), 0u);
        }
    });
    EXPECT_TRUE(m_factory.getPrivateDataList(true).empty());
    EXPECT_LE(s_alive, 1);  // the last node may have gone while another thread still held its data
}

TEST(PrivateDataManager, HasAFactoryOfItsOwn)
{
    CFiPrivateDataManager manager;
    CNode node("/dev/sdb");
    EXPECT_FALSE(manager.access(node.get()));
    const CFiPrivateDataPtr data = manager.allocate(node.get(), false);
    ASSERT_TRUE(data);
    EXPECT_EQ(dynamic_cast<CCountedData*>(data.get()), nullptr);
    EXPECT_EQ(manager.access(node.get()), data);
    EXPECT_EQ(manager.deallocate(node.get()), 0u);
    EXPECT_EQ(manager.deallocate(node.get()), 0xFFFFFFFFu);
}

TEST(PrivateDataManager, UsesTheFactoryThatWasRegisteredLast)
{
    CFiPrivateDataManager manager;
    CFiTraceLogPtr log(true);
    const CFiPrivateDataFactoryPtr factory(new CFiPrivateDataConcreteFactory<CCountedData>());
    manager.registerTraceLog(log);
    EXPECT_EQ(manager.getFactory()->traceLog(), log);
    manager.registerFactory(factory);
    manager.registerFactory(nullptr);
    EXPECT_EQ(manager.getFactory(), factory);
    EXPECT_EQ(factory->traceLog(), log);
    CNode node("/dev/sdb");
    EXPECT_NE(dynamic_cast<CCountedData*>(manager.allocate(node.get(), false).get()), nullptr);
    manager.deallocate(node.get());
}

}  // namespace
}  // namespace obzx_pdk_4_4
