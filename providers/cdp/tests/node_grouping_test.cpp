#include "providers/cdp/cdp_node_grouping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace cdpfi {

namespace {

using testing::ElementsAre;
using EAdded = CNodeGrouping::EAdded;

std::vector<std::string> flat(const CNodeGrouping& grouping)
{
    std::vector<std::string> lines;
    for (const auto& [appliance, groups] : grouping.appliances()) {
        for (const auto& [group, nodes] : groups) {
            std::string line = appliance + "/" + group + ":";
            for (const std::string& node : nodes) {
                line += " " + node;
            }
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace

TEST(NodeGrouping, TellsWhatWasNew)
{
    CNodeGrouping grouping;
    EXPECT_EQ(EAdded::NEW_APPLIANCE, grouping.add("s1", "A", "n1"));
    EXPECT_EQ(EAdded::NEW_GROUP, grouping.add("s1", "B", "n2"));
    EXPECT_EQ(EAdded::KNOWN_GROUP, grouping.add("s1", "A", "n3"));
    EXPECT_EQ(EAdded::NEW_APPLIANCE, grouping.add("s2", "A", "n4"));
}

TEST(NodeGrouping, AppliancesAndGroupsStandInByteOrderAndNodesInTheOrderOfAdding)
{
    CNodeGrouping grouping;
    grouping.add("s2", "b", "n9");
    grouping.add("s10", "b", "n1");
    grouping.add("s2", "B", "n2");
    grouping.add("s2", "b", "n0");
    grouping.add("s2", "bb", "n3");
    grouping.add("s2", "\xc3\xa9", "n4");
    EXPECT_THAT(flat(grouping), ElementsAre("s10/b: n1", "s2/B: n2", "s2/b: n9 n0", "s2/bb: n3", "s2/\xc3\xa9: n4"));
}

TEST(NodeGrouping, TenThousandNodesInAHundredGroupsAreGrouped)
{
    CNodeGrouping grouping;
    for (int i = 0; i < 10000; ++i) {
        grouping.add("s1", "g" + std::to_string(i % 100), std::to_string(i));
    }
    const CNodeGrouping::CGroups& groups = grouping.appliances().begin()->second;
    ASSERT_EQ(100u, groups.size());
    for (const auto& group : groups) {
        EXPECT_EQ(100u, group.second.size());
    }
}

}  // namespace cdpfi
