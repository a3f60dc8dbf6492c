#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pdk/include/cfilist.h"
#include "pdk/tests/faults.h"

namespace pdktest {
namespace {

using namespace obzx_pdk_4_4;

std::vector<std::string> names(const obz_fim_list* list)
{
    std::vector<std::string> found;
    for (; list != nullptr; list = list->next) {
        found.push_back(std::string(list->name) + "|" + list->version + "|" + list->provider);
    }
    return found;
}

TEST(ListBuilder, HandsTheListOutWhenItIsDestroyed)
{
    auto* const before = reinterpret_cast<obz_fim_list*>(8);
    obz_fim_list* list = before;
    int32_t count = 3;
    {
        CFiFimListFactory builder(&list, "cdpfi", &count);
        builder.append({"first", "1"});
        builder.append({"second", "2"});
        EXPECT_EQ(list, before);
        EXPECT_STREQ(builder.getHead()->name, "first");
    }
    EXPECT_THAT(names(list), ::testing::ElementsAre("first|1|cdpfi", "second|2|cdpfi"));
    EXPECT_EQ(count, 5) << "counts on from where it was";
    obzx_free_fim_list(list);
}

TEST(ListBuilder, HandsOutNullForAnEmptyList)
{
    obz_fim_list* list = reinterpret_cast<obz_fim_list*>(8);
    {
        const CFiFimListFactory builder(&list, "cdpfi");
    }
    EXPECT_EQ(list, nullptr);
}

TEST(ListBuilder, WithoutAnOutputLeavesTheListToTheCaller)
{
    obz_fim_list* list = nullptr;
    {
        CFiFimListFactory builder(nullptr, "cdpfi");
        builder.append({"only", "1"});
        list = builder.getHead();
    }
    EXPECT_THAT(names(list), ::testing::ElementsAre("only|1|cdpfi"));
    obzx_free_fim_list(list);
}

TEST(ListBuilder, HandsOutWhatItHasWhenAnExceptionEndsIt)
{
    obz_fim_list* list = nullptr;
    try {
        CFiFimListFactory builder(&list, "cdpfi");
        builder.append({"first", "1"});
        throw std::runtime_error("stop");
    } catch (const std::runtime_error&) {
        EXPECT_THAT(names(list), ::testing::ElementsAre("first|1|cdpfi"));
    }
    obzx_free_fim_list(list);
}

/// A builder whose records come from the test; a name of "none" gives no record.
class CRecords : public CFiList<obz_fim_list, CFiFim>
{
  public:
    using CFiList::CFiList;

  protected:
    obz_fim_list* allocateListElement(const CFiFim& item) override
    {
        if (item.m_name == "none") return nullptr;
        auto* const record = obzx_build_fim_list_node(item.m_name.c_str(), "", "");
        record->next = record;  // a link that the builder must not trust
        return record;
    }
};

TEST(ListBuilder, AppendsNothingForARecordThatCouldNotBeMade)
{
    obz_fim_list* list = nullptr;
    int32_t count = 0;
    {
        CRecords builder(&list, &count);
        for (const char* const name : {"none", "a", "none", "b"}) {
            builder.append({name, ""});
        }
    }
    EXPECT_THAT(names(list), ::testing::ElementsAre("a||", "b||"));
    EXPECT_EQ(count, 2);
    obzx_free_fim_list(list);
}

TEST(ListBuilder, DescribesAProvider)
{
    obz_provider_list* list = nullptr;
    {
        CFiProviderInfoListFactory builder(&list, "cdpfi");
        builder.append({1, 2, {}});
        builder.append({3, 4, {"x", "y"}});
    }
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(list->name, "cdpfi");
    EXPECT_EQ(list->kind, 1);
    EXPECT_EQ(list->level, 2);
    EXPECT_THAT(list->version, ::testing::ElementsAre(7, 0, 0, 0));
    EXPECT_EQ(list->attributes, nullptr);
    EXPECT_EQ(list->attribute_count, 0);
    ASSERT_NE(list->next, nullptr);
    ASSERT_EQ(list->next->attribute_count, 2);
    EXPECT_STREQ(list->next->attributes[1], "y");
    EXPECT_EQ(list->next->next, nullptr);
    obzx_free_provider_list(list);
}

}  // namespace
}  // namespace pdktest
