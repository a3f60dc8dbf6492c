#include <gmock/gmock.h>

#include "framework/include/cfipluginbase.h"
#include "framework/include/obzx_runtime.h"
#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SnapshotHandle : public testing::Test
{
  protected:
    void add(const std::vector<std::string>& names)
    {
        test::CSplitNodes nodes(names);
        m_session->addNodes(nodes.list(), nodes.count());
    }

    void make(const std::string& name, const std::string& target)
    {
        EXPECT_TRUE(m_session->update(name, [&](CFiSplitNode& node) {
            node.m_makeDone = 1;
            node.m_target = target.c_str();
        }));
    }

    std::vector<std::string> update()
    {
        obz_snaphandle handle = {reinterpret_cast<obz_snaphandle_entry*>(uintptr_t{0x10}), 77};
        EXPECT_EQ(m_plugin.updateSnapshotHandle(m_session, &handle), OBZ_OK);
        std::vector<std::string> entries;
        for (int32_t i = 0; i < handle.count; ++i) {
            entries.push_back(std::string(handle.entries[i].node) + "=" + handle.entries[i].target);
        }
        obzx_free_snaphandle(&handle);
        return entries;
    }

    CFiPluginBase m_plugin;
    CFiSessionPtr m_session{new CFiSession()};
};

TEST_F(SnapshotHandle, OfAnEmptySessionIsEmpty)
{
    EXPECT_THAT(update(), IsEmpty());
}

TEST_F(SnapshotHandle, HoldsTheNodesThatAreMadeInNameOrder)
{
    add({"c", "b", "a"});
    make("c", "target of c");
    make("a", "");
    EXPECT_THAT(update(), ElementsAre("a=", "c=target of c"));
}

TEST_F(SnapshotHandle, HoldsEachNodeOnce)
{
    add({"a", "b"});
    make("a", "1");
    EXPECT_THAT(update(), ElementsAre("a=1"));
    EXPECT_THAT(update(), IsEmpty());
    make("b", "2");
    EXPECT_THAT(update(), ElementsAre("b=2"));
    EXPECT_THAT(m_session->getSplitNodeList(PHASE_UPDATE), IsEmpty());
}

TEST_F(SnapshotHandle, LeavesNodesThatAreNotMadeForLater)
{
    add({"a"});
    EXPECT_THAT(update(), IsEmpty());
    EXPECT_EQ(m_session->getSplitNodeList(PHASE_UPDATE).size(), 1u);
}

TEST_F(SnapshotHandle, HandsEachNodeToOneOfEightThreads)
{
    std::vector<std::string> names;
    for (int i = 0; i < 200; ++i) {
        names.push_back("n" + std::to_string(i));
    }
    add(names);
    for (const std::string& name : names) {
        make(name, "t");
    }
    std::atomic<size_t> handedOut{0};
    test::onEightThreads([&](int) { handedOut += update().size(); });
    EXPECT_EQ(handedOut, 200u);
}

TEST(SnapshotHandleOperation, EmptiesTheHandleAlsoWhenThereIsNoSession)
{
    CFiPluginBase plugin;
    CFiSessionPtr none;
    obz_snaphandle handle = {reinterpret_cast<obz_snaphandle_entry*>(uintptr_t{0x10}), 77};
    EXPECT_EQ(plugin.updateSnapshotHandle(none, &handle), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(handle.entries, nullptr);
    EXPECT_EQ(handle.count, 0);
}

}  // namespace
}  // namespace obzx_pdk_4_4
