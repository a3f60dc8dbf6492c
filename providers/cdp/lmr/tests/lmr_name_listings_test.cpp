// The strict readers of the listings that hold names: what is such a listing, and what only looks a little like one.

#include <gtest/gtest.h>

#include "providers/cdp/lmr/listings/lmr_name_listings.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/tests/listing_tables.h"

namespace cdpfi {
namespace {

using CReader = SLMRNameListing (*)(const CListingLines&);

template <CReader READER>
std::string namesOf(const std::string& text)
{
    const CListingLines lines = base_test::linesOf(text);
    const SLMRNameListing listing = READER(lines);
    if (!listing.isListing) {
        EXPECT_TRUE(listing.names.empty()) << text;
        return listing.strayLine ? "no listing, line " + std::to_string(*listing.strayLine) : "no listing";
    }
    std::string names;
    for (const std::string_view name : listing.names) {
        names.append("<").append(name).append(">");
    }
    return names;
}

TEST(NameListings, HostsAreOneNameALineWithOrWithoutAnAddress)
{
    expectAll(namesOf<readHostListing>, {{"", ""},
                                         {"\n", ""},
                                         {"production\nbackup\n", "<production><backup>"},
                                         {"  production\t\r\n", "<production>"},
                                         {"backup01   10.0.0.7\nbackup02 fe80::1\n", "<backup01><backup02>"},
                                         {"a.b-c_d\n\n9\n", "<a.b-c_d><9>"}});
}

TEST(NameListings, WhatIsNoHostSpoilsTheListingOfHosts)
{
    expectAll(namesOf<readHostListing>, {{"Welcome to the storage shell\nproduction\n", "no listing, line 0"},
                                         {"production\nbackup\nLast login: today\n", "no listing, line 2"},
                                         {"Welcome!\n", "no listing, line 0"},
                                         {"There are none!\n", "no listing, line 0"},
                                         {"lmsh:\n", "no listing, line 0"},
                                         {"production 10.0.0.7 online\n", "no listing, line 0"},
                                         {"production 10.0.0\n", "no listing, line 0"},
                                         {"production online\n", "no listing, line 0"},
                                         {".hidden\n", "no listing, line 0"},
                                         {"-x\n", "no listing, line 0"},
                                         {"prod,backup\n", "no listing, line 0"},
                                         {"\"production\"\n", "no listing, line 0"},
                                         {"cg1 luns=2\n", "no listing, line 0"},
                                         {"====\n", "no listing, line 0"},
                                         {"pr\xc3\xb6"
                                          "d\n",
                                          "no listing, line 0"},
                                         {std::string("a\0b\n", 4), "no listing, line 0"},
                                         {std::string("a 10.0.0.7\0\n", 12), "no listing, line 0"}});
}

TEST(NameListings, GroupsAreTheirNamesWithTheirNumbersOfLuns)
{
    expectAll(namesOf<readGroupListing>, {{"", ""},
                                          {"\r\n\n", ""},
                                          {"cg1 luns=2 annotations=1 timeimages=1\ncg2 luns=0\n", "<cg1><cg2>"},
                                          {"db that does not exist luns=3\r\n", "<db that does not exist>"},
                                          {"x images=1 luns=12\t\n", "<x images=1>"},
                                          {"a<b luns=1\n", "<a<b>"},
                                          {"LM00B97B0C453DEF luns=1\n", "<LM00B97B0C453DEF>"},
                                          {"say \"hi\" luns=1\n", "<say \"hi\">"}});
}

TEST(NameListings, WhatIsNoGroupSpoilsTheListingOfGroups)
{
    expectAll(namesOf<readGroupListing>, {{"Welcome to the storage shell\ncg1 luns=2\n", "no listing, line 0"},
                                          {"cg1 luns=2\nbye\n", "no listing, line 1"},
                                          {"Groups:\n", "no listing, line 0"},
                                          {"production\n", "no listing, line 0"},
                                          {"cg1\n", "no listing, line 0"},
                                          {"luns=2\n", "no listing, line 0"},
                                          {" luns=2\n", "no listing, line 0"},
                                          {"cg1 luns=\n", "no listing, line 0"},
                                          {"cg1 luns= 2\n", "no listing, line 0"},
                                          {"cg1 luns=two\n", "no listing, line 0"},
                                          {"cg1 luns=2x\n", "no listing, line 0"},
                                          {"cg1 luns=-1\n", "no listing, line 0"},
                                          {"cg1 LUNS=2\n", "no listing, line 0"},
                                          {"There are none!\n", "no listing, line 0"}});
}

TEST(NameListings, TimeImagesAreNamesBeforeTheirTimeOrAnnotation)
{
    expectAll(namesOf<readTimeImageListing>,
              {{"There are none!\n", ""},
               {"  There are none!\r\n", ""},
               {"KSV_Time_Image_77 2026-11-21T01:51:22Z annotation=\"KSV_Check_Point_77\"\n", "<KSV_Time_Image_77>"},
               {"ti1 2024-05-01 10:00:00\nti2\n\n", "<ti1><ti2>"},
               {"ti1 annotation=\"There are none!\"\n", "<ti1>"},
               {"There 1\n", "<There>"}});
}

TEST(NameListings, WhatIsNoTimeImageSpoilsTheListingOfTimeImages)
{
    expectAll(namesOf<readTimeImageListing>, {{"", "no listing"},
                                              {"\n\r\n", "no listing"},
                                              {"Welcome to the storage shell\nti1 2024-05-01\n", "no listing, line 0"},
                                              {"ti1 2024-05-01\nThere are none!\n", "no listing, line 1"},
                                              {"There are none!\n\n", "no listing, line 0"},
                                              {"There are none\n", "no listing, line 0"},
                                              {"ti1 annotation=x\n", "no listing, line 0"},
                                              {"Time images: none\n", "no listing, line 0"}});
}

TEST(NameListings, AListingOfManyNamesIsReadWhole)
{
    CListingLines lines(100'000, "cg luns=1");
    EXPECT_EQ(readGroupListing(lines).names.size(), lines.size());
    lines.back() = std::string(1U << 20, 'x');
    EXPECT_EQ(readGroupListing(lines).strayLine, lines.size() - 1);
}

}  // namespace
}  // namespace cdpfi
