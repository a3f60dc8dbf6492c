#include "framework/include/cfisessionmgr.h"

#include <gmock/gmock.h>

#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

using test::CSplitNodes;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

std::vector<std::string> namesOf(const std::vector<CFiSplitNode>& nodes)
{
    std::vector<std::string> names;
    for (const CFiSplitNode& node : nodes) {
        names.emplace_back(node.m_name.c_str());
    }
    return names;
}

TEST(SessionManager, GivesOneSessionForAName)
{
    CFiSessionManager manager;
    const CFiSessionPtr first = manager.getSession("one");
    ASSERT_TRUE(first);
    EXPECT_EQ(manager.getSession("one"), first);
    EXPECT_FALSE(manager.getSession("two") == first);
    EXPECT_TRUE(manager.getSession(""));
    EXPECT_FALSE(manager.getSession("") == first);
    EXPECT_FALSE(first->traceLog());
    EXPECT_TRUE(first->getNodes().empty());
}

TEST(SessionManager, HasNoSessionWithoutAName)
{
    CFiSessionManager manager;
    EXPECT_FALSE(manager.getSession(nullptr));
}

TEST(Session, AddsNodesByNameInOrder)
{
    CFiSession session;
    CSplitNodes nodes({"b", "a"});
    std::string text = "Lumora";
    nodes.at(0).text = text.data();
    session.addNodes(nodes.list(), nodes.count());
    const std::vector<CFiSplitNode> list = session.getNodes();
    ASSERT_THAT(list, SizeIs(2));
    EXPECT_THAT(namesOf(list), ElementsAre("a", "b"));
    EXPECT_EQ(list[0].m_text, "");
    EXPECT_EQ(list[1].m_text, "Lumora");
    EXPECT_EQ(list[1].m_target.length(), 0u);
    EXPECT_EQ(list[1].m_makeDone + list[1].m_selectDone + list[1].m_prepareDone + list[1].m_updateDone, 0);
}

TEST(Session, KeepsTheProgressOfANodeThatIsAddedAgain)
{
    CFiSession session;
    CSplitNodes nodes({"a"});
    session.addNodes(nodes.list(), 1);
    EXPECT_TRUE(session.update("a", [](CFiSplitNode& node) { node.m_makeDone = 1; }));
    std::string text = "other";
    nodes.at(0).text = text.data();
    session.addNodes(nodes.list(), 1);
    ASSERT_THAT(session.getNodes(), SizeIs(1));
    EXPECT_EQ(session.getNodes()[0].m_makeDone, 1);
    EXPECT_EQ(session.getNodes()[0].m_text, "");
}

TEST(Session, AddsNothingOfNothing)
{
    CFiSession session;
    CSplitNodes nodes({"a", "b", "c"});
    EXPECT_TRUE(session.addNodes(nodes.list(), 0));
    EXPECT_TRUE(session.addNodes(nodes.list(), -1));
    EXPECT_TRUE(session.addNodes(nullptr, 0));
    EXPECT_FALSE(session.addNodes(nullptr, 3));
    EXPECT_THAT(session.getNodes(), IsEmpty());
}

TEST(Session, AddsNothingOfAListWithAGap)
{
    CFiSession session;
    CSplitNodes entry({"a", "b", "c"});
    entry.list()[2] = nullptr;
    EXPECT_FALSE(session.addNodes(entry.list(), 3));
    CSplitNodes name({"a", "b"});
    name.at(0).node->name = nullptr;
    EXPECT_FALSE(session.addNodes(name.list(), 2));
    CSplitNodes node({"a", "b"});
    node.at(1).node = nullptr;
    EXPECT_FALSE(session.addNodes(node.list(), 2));
    EXPECT_THAT(session.getNodes(), IsEmpty());
    EXPECT_TRUE(session.addNodes(entry.list(), 2)) << "the gap stands behind these two";
    EXPECT_THAT(namesOf(session.getNodes()), ElementsAre("a", "b"));
}

TEST(Session, ANodeThatAListNamesTwiceIsOne)
{
    CFiSession session;
    CSplitNodes nodes({"a", "a"});
    std::string text = "first";
    nodes.at(0).text = text.data();
    EXPECT_TRUE(session.addNodes(nodes.list(), 2));
    ASSERT_THAT(session.getNodes(), SizeIs(1));
    EXPECT_EQ(session.getNodes()[0].m_text, "first");
}

TEST(Session, ChangesOnlyANodeThatIsThere)
{
    CFiSession session;
    EXPECT_FALSE(session.update("a", [](CFiSplitNode&) { FAIL(); }));
}

TEST(Session, MarksAllNodesSelected)
{
    CFiSession session;
    CSplitNodes nodes({"a", "b"});
    session.addNodes(nodes.list(), 2);
    session.markSelected();
    EXPECT_THAT(session.getSplitNodeList(PHASE_SELECT), IsEmpty());
    EXPECT_THAT(session.getSplitNodeList(PHASE_PREPARE), SizeIs(2));
}

TEST(Session, MarksAllNodesPrepared)
{
    CFiSession session;
    CSplitNodes nodes({"a", "b"});
    session.addNodes(nodes.list(), 2);
    session.markPrepared();
    for (const CFiSplitNode& node : session.getNodes()) {
        EXPECT_EQ(node.m_prepareDone, 1);
    }
    EXPECT_THAT(session.getSplitNodeList(PHASE_PREPARE), IsEmpty());
}

TEST(Session, HandsEachMadeNodeOutOnce)
{
    CFiSession session;
    CSplitNodes nodes({"c", "b", "a"});
    session.addNodes(nodes.list(), 3);
    for (const char* name : {"c", "a"}) {
        session.update(name, [](CFiSplitNode& node) { node.m_makeDone = 1; });
    }
    std::vector<std::string> taken;
    const auto take = [&](const std::vector<CFiSplitNode*>& made) {
        for (const CFiSplitNode* node : made) {
            taken.emplace_back(node->m_name.c_str());
        }
        return true;
    };
    EXPECT_TRUE(session.takeMade(take));
    EXPECT_TRUE(session.takeMade(take));
    EXPECT_THAT(taken, ElementsAre("a", "c"));
    EXPECT_THAT(namesOf(session.getSplitNodeList(PHASE_UPDATE)), ElementsAre("b"));
}

TEST(Session, KeepsMadeNodesThatWereNotTaken)
{
    CFiSession session;
    CSplitNodes nodes({"a"});
    session.addNodes(nodes.list(), 1);
    session.update("a", [](CFiSplitNode& node) { node.m_makeDone = 1; });
    EXPECT_FALSE(session.takeMade([](const std::vector<CFiSplitNode*>&) { return false; }));
    const auto fail = [](const std::vector<CFiSplitNode*>&) -> bool { throw std::bad_alloc(); };
    EXPECT_THROW(session.takeMade(fail), std::bad_alloc);
    EXPECT_THAT(namesOf(session.getSplitNodeList(PHASE_UPDATE)), ElementsAre("a"));
}

struct SPhaseCase
{
    int phase;
    int32_t CFiSplitNode::*flag;
    const char* line;
};

class SessionPhases : public testing::TestWithParam<SPhaseCase>
{
};

TEST_P(SessionPhases, ListTheNodesThatAreNotDone)
{
    const test::CTraceCapture capture(TRACE_DETAIL);
    CFiSession session;
    session.registerTraceLog(capture.log());
    CSplitNodes nodes({"c", "b", "a"});
    session.addNodes(nodes.list(), 3);
    session.update("b", [](CFiSplitNode& node) { node.*(GetParam().flag) = 1; });
    EXPECT_THAT(namesOf(session.getSplitNodeList(GetParam().phase)), ElementsAre("a", "c"));

    const std::vector<std::string> lines = capture.lines();
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_THAT(lines[0],
                AllOf(StartsWith("6 Entering Function getSplitNodeList ["), HasSubstr(", cfisessionmgr.cpp]")));
    EXPECT_EQ(lines[1], GetParam().line);
    EXPECT_EQ(lines[2], GetParam().line);
    EXPECT_THAT(lines[3],
                AllOf(StartsWith("6 Exiting Function getSplitNodeList ["), HasSubstr(", cfisessionmgr.cpp]")));
}

INSTANTIATE_TEST_SUITE_P(
    All, SessionPhases,
    testing::Values(SPhaseCase{1, &CFiSplitNode::m_selectDone, "3 DBG : Found selectDone zero, adding node"},
                    SPhaseCase{2, &CFiSplitNode::m_prepareDone, "3 DBG : Found prepareDone zero, adding node"},
                    SPhaseCase{3, &CFiSplitNode::m_makeDone, "3 DBG : Found makeDone zero, adding node"},
                    SPhaseCase{4, &CFiSplitNode::m_updateDone, "3 DBG : Found updateDone zero, adding node"}));

TEST(Session, ListsNothingForANumberThatIsNoPhase)
{
    const test::CTraceCapture capture(TRACE_DETAIL);
    CFiSession session;
    session.registerTraceLog(capture.log());
    CSplitNodes nodes({"a"});
    session.addNodes(nodes.list(), 1);
    for (const int phase : {0, 5, -1, 1 << 30}) {
        EXPECT_THAT(session.getSplitNodeList(phase), IsEmpty());
    }
    EXPECT_THAT(capture.lines(), SizeIs(8));  // entered and left, four times
}

TEST(Session, WithoutNodesTracesEntryAndExitOnly)
{
    const test::CTraceCapture capture(TRACE_DETAIL);
    CFiSession session;
    session.registerTraceLog(capture.log());
    EXPECT_THAT(session.getSplitNodeList(PHASE_MAKE), IsEmpty());
    EXPECT_THAT(capture.lines(), SizeIs(2));
}

TEST(Sessions, AreSharedByEightThreads)
{
    CFiSessionManager manager;
    test::onEightThreads([&](int thread) {
        for (int i = 0; i < 50; ++i) {
            const CFiSessionPtr session = manager.getSession(i % 2 == 0 ? "even" : "odd");
            const std::string own = std::to_string(thread) + "." + std::to_string(i);
            CSplitNodes nodes({own, "common"});
            session->addNodes(nodes.list(), 2);
            EXPECT_TRUE(session->update(own, [](CFiSplitNode& node) { node.m_makeDone = 1; }));
            session->update("common", [](CFiSplitNode& node) { ++node.m_selectDone; });
            session->markPrepared();
            // Nodes only accumulate, so those that are counted later are at least as many.
            const size_t pending = session->getSplitNodeList(PHASE_UPDATE).size();
            EXPECT_GE(session->getNodes().size(), pending);
        }
    });
    const CFiSessionPtr even = manager.getSession("even");
    EXPECT_THAT(even->getNodes(), SizeIs(8 * 25 + 1));
    EXPECT_THAT(namesOf(even->getSplitNodeList(PHASE_MAKE)), ElementsAre("common"));
    EXPECT_TRUE(even->update("common", [](const CFiSplitNode& node) { EXPECT_EQ(node.m_selectDone, 8 * 25); }));
}

}  // namespace
}  // namespace obzx_pdk_4_4
