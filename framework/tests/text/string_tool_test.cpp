#include "framework/include/cfistringtool.h"

#include <gmock/gmock.h>

#include <climits>

namespace {

using namespace std::string_literals;
using obzx_pdk_4_4::CFiStringTool;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(StringTool, TokenizeDropsEmptyPieces)
{
    EXPECT_THAT(CFiStringTool::tokenize("RSURL==a", "="), ElementsAre("RSURL", "a"));
    EXPECT_THAT(CFiStringTool::tokenize("\t a  b\n", "\t \n"), ElementsAre("a", "b"));
    EXPECT_THAT(CFiStringTool::tokenize("one", ","), ElementsAre("one"));
    EXPECT_THAT(CFiStringTool::tokenize(",,,", ","), IsEmpty());
    EXPECT_THAT(CFiStringTool::tokenize("", ","), IsEmpty());
    EXPECT_THAT(CFiStringTool::tokenize("a b", ""), ElementsAre("a b"));
    EXPECT_THAT(CFiStringTool::tokenize("a\0b"s, "\0"s), ElementsAre("a", "b"));
}

TEST(StringTool, TokenizeAppendsToTheList)
{
    std::vector<std::string> pieces{"x"};
    CFiStringTool::tokenize(pieces, "a,b", ",");
    EXPECT_THAT(pieces, ElementsAre("x", "a", "b"));
}

TEST(StringTool, TrimTakesTheCharactersOffBothEndsOnly)
{
    EXPECT_EQ(CFiStringTool::trim(" \t a b\r\n", " \n\t\r"), "a b");
    EXPECT_EQ(CFiStringTool::trim("a", " "), "a");
    EXPECT_EQ(CFiStringTool::trim("  ", " "), "");
    EXPECT_EQ(CFiStringTool::trim("", " "), "");
    EXPECT_EQ(CFiStringTool::trim(" a ", ""), " a ");
}

TEST(StringTool, FindGivesTheFirstLineWithTheMarker)
{
    const std::vector<std::string> lines{"head", "a=1", "b=2", "a=3"};
    int index = 7;
    EXPECT_EQ(CFiStringTool::find(lines, "a=", index, 0), 1);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(CFiStringTool::find(lines, "a=", index, 2), 3);
    EXPECT_EQ(index, 3);
    EXPECT_EQ(CFiStringTool::find(lines, "a=", index, -5), 1);
    EXPECT_EQ(CFiStringTool::find(lines, "c=", index, 0), -1);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(CFiStringTool::find(lines, "a=", index, 4), -1);
    EXPECT_EQ(CFiStringTool::find(lines, "a=", index, INT_MAX), -1);
    EXPECT_EQ(CFiStringTool::find({}, "", index, 0), -1);
}

TEST(StringTool, ConvertsTextsByteForByte)
{
    const std::string bytes = "a\0b\xff\n"s;
    EXPECT_EQ(CFiStringTool::tstr2str(CFiStringTool::str2tstr(bytes)), bytes);
    EXPECT_EQ(CFiStringTool::str2tstr(bytes).length(), bytes.size());
    EXPECT_EQ(CFiStringTool::tstr2str(CFiStringTool::str2tstr("")), "");
    EXPECT_EQ(CFiStringTool::tstr2str(ACE_String_Base<char>()), "");
}

TEST(StringTool, UpperCaseLeavesOtherBytesAlone)
{
    EXPECT_EQ(CFiStringTool::tostrupper("cdpfi-9_{\xc3\xa4"), "CDPFI-9_{\xc3\xa4");
}

TEST(StringTool, NumbersAreDecimal)
{
    EXPECT_EQ(CFiStringTool::int2str(0), "0");
    EXPECT_EQ(CFiStringTool::int2str(INT64_MIN), "-9223372036854775808");
}

}  // namespace
