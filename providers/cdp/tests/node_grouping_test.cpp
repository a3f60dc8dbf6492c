#include "providers/cdp/cdp_node_grouping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
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
            for (const CString* node : nodes) {
                line += std::string(" ") + node->c_str();
            }
            lines.push_back(line);
        }
    }
    return lines;
}

/// Names that stay where they are.
class CNames
{
  public:
    const CString& operator()(const std::string& name)
    {
        m_names.emplace_back(name.c_str());
        return m_names.back();
    }

  private:
    std::list<CString> m_names;
};

}  // namespace

TEST(NodeGrouping, TellsWhatWasNew)
{
    CNames named;
    CNodeGrouping grouping;
    EXPECT_EQ(EAdded::NEW_APPLIANCE, grouping.add("s1", "A", named("n1")));
    EXPECT_EQ(EAdded::NEW_GROUP, grouping.add("s1", "B", named("n2")));
    EXPECT_EQ(EAdded::KNOWN_GROUP, grouping.add("s1", "A", named("n3")));
    EXPECT_EQ(EAdded::NEW_APPLIANCE, grouping.add("s2", "A", named("n4")));
}

TEST(NodeGrouping, AppliancesAndGroupsStandInByteOrderAndNodesInTheOrderOfAdding)
{
    CNames named;
    CNodeGrouping grouping;
    grouping.add("s2", "b", named("n9"));
    grouping.add("s10", "b", named("n1"));
    grouping.add("s2", "B", named("n2"));
    grouping.add("s2", "b", named("n0"));
    grouping.add("s2", "bb", named("n3"));
    grouping.add("s2", "\xc3\xa9", named("n4"));
    EXPECT_THAT(flat(grouping), ElementsAre("s10/b: n1", "s2/B: n2", "s2/b: n9 n0", "s2/bb: n3", "s2/\xc3\xa9: n4"));
}

TEST(NodeGrouping, TenThousandNodesInAHundredGroupsAreGrouped)
{
    CNames named;
    CNodeGrouping grouping;
    for (int i = 0; i < 10000; ++i) {
        grouping.add("s1", "g" + std::to_string(i % 100), named(std::to_string(i)));
    }
    const CNodeGrouping::CGroups& groups = grouping.appliances().begin()->second;
    ASSERT_EQ(100u, groups.size());
    for (const auto& group : groups) {
        EXPECT_EQ(100u, group.second.size());
    }
}

}  // namespace cdpfi
