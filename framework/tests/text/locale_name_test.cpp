#include "framework/src/text/locale_name.h"

#include <gmock/gmock.h>

namespace obzx_pdk_4_4 {
namespace {

using testing::ElementsAre;

struct SCase
{
    const char* text;
    const char* name;
};

class LocaleNames : public testing::TestWithParam<SCase>
{
};

TEST_P(LocaleNames, BecomeBundleNames)
{
    EXPECT_EQ(normalizeLocale(GetParam().text), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Accepted, LocaleNames,
                         testing::Values(SCase{"de", "de"}, SCase{"ja", "ja"}, SCase{"de-DE", "de_DE"},
                                         SCase{"de_DE", "de_DE"}, SCase{"DE_de", "de_DE"},
                                         SCase{"de_DE.UTF-8", "de_DE"}, SCase{"de_DE@euro", "de_DE"},
                                         SCase{"zh-hans-cn", "zh_Hans_CN"}, SCase{"fr_419", "fr_419"},
                                         SCase{"_de__AT_", "de_AT"}));

INSTANTIATE_TEST_SUITE_P(Refused, LocaleNames,
                         testing::Values(SCase{"", ""}, SCase{"C", ""}, SCase{"C.UTF-8", ""}, SCase{"POSIX", ""},
                                         SCase{"../../etc/passwd", ""}, SCase{"de/AT", ""}, SCase{"d", ""},
                                         SCase{"12", ""}, SCase{"d\xc3\xa4", ""}, SCase{"de DE", ""}, SCase{".", ""},
                                         SCase{"____", ""}, SCase{"\x01\xff", ""}));

TEST(LocaleName, WithANulOrPastSixtyFourBytesIsNone)
{
    EXPECT_EQ(normalizeLocale(std::string(10240, 'd')), "");
    EXPECT_EQ(normalizeLocale(std::string("de\0x", 4)), "");
}

TEST(LocaleChain, GoesFromTheNearestBundleToTheRoot)
{
    EXPECT_THAT(localeChain("zh-Hans-CN", "root"), ElementsAre("zh_Hans_CN", "zh_Hans", "zh", "root"));
    EXPECT_THAT(localeChain("", "root"), ElementsAre("root"));
    EXPECT_THAT(localeChain("not a locale", "root"), ElementsAre("root"));
    EXPECT_THAT(localeChain("root", "root"), ElementsAre("root"));
}

}  // namespace
}  // namespace obzx_pdk_4_4
