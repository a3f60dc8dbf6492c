#include "providers/cdp/cdp_group_nodes.h"

#include <gtest/gtest.h>

#include <new>
#include <thread>
#include <vector>

#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

TEST(GroupNodes, ANewerNodeTakesTheOlderOnesPlace)
{
    CGroupNodes nodes;
    obz_domain older{};
    obz_domain newer{};
    nodes.enter("cg1", &older);
    nodes.enter("cg1", &newer);
    EXPECT_EQ(&newer, nodes.find("cg1"));
    EXPECT_EQ(1u, nodes.size());
}

TEST(GroupNodes, LookingForAnAbsentGroupEntersItWithANullNode)
{
    CGroupNodes nodes;
    EXPECT_EQ(nullptr, nodes.find("cg1"));
    EXPECT_EQ(1u, nodes.size());
    nodes.erase("cg1");
    nodes.erase("cg1");
    EXPECT_EQ(0u, nodes.size());
}

TEST(GroupNodes, ANodeIsTakenOutOfTheGroupsThatItIsEnteredFor)
{
    CGroupNodes nodes;
    obz_domain own{};
    obz_domain other{};
    nodes.enter("cg1", &own);
    nodes.enter("cg2", &other);
    nodes.enter("cg3", &own);
    nodes.find("without a node");
    nodes.eraseNode(&own);
    EXPECT_EQ(1u, nodes.size());
    EXPECT_EQ(&other, nodes.find("cg2"));
}

TEST(GroupNodes, ANodeIsNotTakenOutOfAGroupThatAnotherOneHasNow)
{
    CGroupNodes nodes;
    obz_domain older{};
    obz_domain newer{};
    nodes.enter("taken over", &older);
    nodes.enter("kept", &older);
    nodes.enter("taken over", &newer);
    nodes.enter("filled", nodes.find("filled"));
    nodes.enter("filled", &newer);
    nodes.eraseNode(&older);
    EXPECT_EQ(&newer, nodes.find("taken over"));
    EXPECT_EQ(&newer, nodes.find("filled"));
    EXPECT_EQ(2u, nodes.size());
}

TEST(GroupNodes, ANodeThatCouldNotBeEnteredDoesNotTakeAnotherOneAlong)
{
    for (int skipped = 0;; ++skipped) {
        CGroupNodes nodes;
        obz_domain refused{};
        obz_domain entered{};
        const CMemoryFault fault(CMemoryFault::EKind::OPERATOR_NEW, skipped);
        try {
            nodes.enter("a group with a name of some length", &refused);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(fault.happened());
        }
        if (!fault.happened()) break;
        nodes.enter("a group with a name of some length", &entered);
        nodes.eraseNode(&refused);
        EXPECT_EQ(&entered, nodes.find("a group with a name of some length")) << skipped;
    }
}

TEST(GroupNodes, AGroupThatWasTakenOutCanBeEnteredAgain)
{
    CGroupNodes nodes;
    obz_domain node{};
    nodes.enter("cg1", &node);
    nodes.erase("cg1");
    nodes.enter("cg1", &node);
    nodes.eraseNode(&node);
    EXPECT_EQ(0u, nodes.size());
    nodes.enter("cg1", &node);
    EXPECT_EQ(&node, nodes.find("cg1"));
}

TEST(GroupNodes, ManyThreadsMayUseThem)
{
    CGroupNodes nodes;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&nodes, i] {
            const CString name(std::to_string(i).c_str());
            obz_domain node{};
            for (int round = 0; round < 500; ++round) {
                nodes.enter(name, &node);
                nodes.find("shared");
                nodes.eraseNode(&node);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_LE(nodes.size(), 1u);  // the shared one may have been taken out with the last node
}

}  // namespace cdpfi
