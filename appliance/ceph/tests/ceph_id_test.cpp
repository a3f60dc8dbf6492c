// Names of objects in a cluster.
#include "appliance/ceph/ceph_id.h"

#include <gtest/gtest.h>

#include "appliance/core/conventions/error.h"

namespace lumora::test {
namespace {

TEST(CephId, TakesLettersDigitsAndTwoSigns)
{
    EXPECT_NO_THROW(checkCephId("v1"));
    EXPECT_NO_THROW(checkCephId("Group_7-b"));
    for (const char* const id : {"", "a.b", "a/b", "a@b", "a b", "\xC3\xA4", "a\n"}) {
        try {
            checkCephId(id);
            ADD_FAILURE() << "takes " << inQuotes(id);
        } catch (const EApplianceError& error) {
            EXPECT_EQ(error.status(), EStatus::MALFORMED);
            EXPECT_EQ(error.what(), inQuotes(id) + " is no id: letters, digits, \"-\" and \"_\" make one");
        }
    }
}

TEST(CephId, TellsWhatAnImportShows)
{
    const std::string name = importName("c1", "t1", "v1");
    EXPECT_EQ(name, "c1.t1.v1");
    EXPECT_TRUE(isImportOf(name, "c1", "v1"));
    EXPECT_FALSE(isImportOf(name, "c", "v1"));
    EXPECT_FALSE(isImportOf(name, "c1", "v"));
    EXPECT_FALSE(isImportOf(name, "c1", "v11"));
    EXPECT_FALSE(isImportOf("c1.v1", "c1", "v1"));
    EXPECT_FALSE(isImportOf("v1", "v1", "v1"));
    EXPECT_FALSE(isImportOf("", "", ""));
    EXPECT_THROW(importName("c1", "", "v1"), EApplianceError);
}

}  // namespace

}  // namespace lumora::test
