#include "providers/cdp/cdp_combos.h"

#include <gtest/gtest.h>

#include <memory>

#include "framework/include/obzx_runtime.h"
#include "providers/cdp/cdp_identities.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

TEST(Combos, AreAppendedAtTheTailWithCopiesOfTheirNames)
{
    obz_domain node{};
    obz_domain group{};
    CString quiesce("quiet");
    ASSERT_TRUE(appendCombo(&node, quiesce, "first", &group));
    ASSERT_TRUE(appendCombo(&node, "quiet2", "second", nullptr));
    quiesce = "changed";
    const obz_combo* first = node.combos;
    ASSERT_NE(nullptr, first);
    EXPECT_STREQ("quiet", first->quiesce->name);
    EXPECT_STREQ("first", first->split->name);
    EXPECT_EQ(&node, first->quiesce->node);
    EXPECT_EQ(&node, first->split->node);
    EXPECT_EQ(&group, first->quiesce->group);
    EXPECT_EQ(&group, first->split->group);
    const obz_combo* second = first->next;
    ASSERT_NE(nullptr, second);
    EXPECT_STREQ("second", second->split->name);
    EXPECT_EQ(nullptr, second->split->group);
    EXPECT_EQ(nullptr, second->next);
    releaseCombos(&node);
    EXPECT_EQ(nullptr, node.combos);
}

TEST(Combos, AnEmptyListIsReleasedToo)
{
    obz_domain node{};
    releaseCombos(&node);
    EXPECT_EQ(nullptr, node.combos);
}

TEST(Combos, WithoutMemoryTheListStaysAsItWas)
{
    obz_domain node{};
    ASSERT_TRUE(appendCombo(&node, "quiet", "first", nullptr));
    const obz_combo* const first = node.combos;
    for (int skipped = 0; skipped < 5; ++skipped) {  // combination, entry, name, entry, name
        const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, skipped);
        EXPECT_FALSE(appendCombo(&node, "quiet", "second", nullptr)) << skipped;
        EXPECT_TRUE(fault.happened());
        EXPECT_EQ(first, node.combos);
        EXPECT_EQ(nullptr, first->next);
    }
    releaseCombos(&node);
}

TEST(Identities, ANodeWithoutAnIdentityOrANameHasAnEmptyName)
{
    EXPECT_EQ(CString(""), nameOf(nullptr));
    obz_domain node{};
    EXPECT_EQ(CString(""), nameOf(&node));
    obzx_objid identity{};
    node.identity = &identity;
    EXPECT_EQ(CString(""), nameOf(&node));
}

TEST(Identities, TheGroupListHoldsAllGroupsOrIsNotMade)
{
    const CString names[] = {"cg1", "cg2"};
    obzx_objid** list = newGroupList(names, 2);
    ASSERT_NE(nullptr, list);
    EXPECT_STREQ("cg1", list[0]->name);
    EXPECT_EQ(4, list[0]->size);
    EXPECT_EQ(3, list[0]->type);
    EXPECT_STREQ("cg2", list[1]->name);
    obzx_free_objid_array(list, 2);
    for (int skipped = 0; skipped < 3; ++skipped) {  // the buffer, each identity
        const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, skipped);
        EXPECT_EQ(nullptr, newGroupList(names, 2)) << skipped;
        EXPECT_TRUE(fault.happened());
    }
}

}  // namespace cdpfi
