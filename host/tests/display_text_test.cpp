#include "host/src/text/display_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "host/src/output/result.h"

namespace fictl {

TEST(DisplayWidth, CountsColumnsOfATerminal)
{
    EXPECT_EQ(displayWidth(""), 0U);
    EXPECT_EQ(displayWidth("plain"), 5U);
    EXPECT_EQ(displayWidth("B\u00fccher"), 6U);
    EXPECT_EQ(displayWidth("Bu\u0308cher"), 6U) << "a combining mark sits on the letter before it";
    EXPECT_EQ(displayWidth("\u65e5\u672c\u8a9e"), 6U);
    EXPECT_EQ(displayWidth("\uff21"), 2U) << "full width A";
    EXPECT_EQ(displayWidth("\uff71"), 1U) << "half width katakana";
    EXPECT_EQ(displayWidth("\u1112\u1161\u11ab"), 2U) << "a Hangul syllable of three parts";
    EXPECT_EQ(displayWidth("a\u200bb"), 2U) << "zero width space";
}

TEST(DisplayWidth, CountsAnEmojiWithItsPartsOnce)
{
    EXPECT_EQ(displayWidth("\U0001f600"), 2U);
    EXPECT_EQ(displayWidth("\U0001f44d\U0001f3fd"), 2U) << "with a skin tone";
    EXPECT_EQ(displayWidth("\u2764\ufe0f"), 2U) << "a heart shown as emoji";
    EXPECT_EQ(displayWidth("\u2764"), 1U);
    EXPECT_EQ(displayWidth("\U0001f468\u200d\U0001f469\u200d\U0001f467"), 2U) << "a family";
    EXPECT_EQ(displayWidth("\U0001f1e9\U0001f1ea"), 2U) << "a flag";
}

TEST(DisplayWidth, TakesAnyBytes)
{
    EXPECT_EQ(displayWidth("\xff\xc3"), 2U);
    EXPECT_EQ(displayWidth("\u0308"), 0U);
    EXPECT_EQ(displayWidth("\u200d\u200d"), 0U);
}

TEST(CutToWidth, KeepsWhatFitsAndSaysThatItIsCut)
{
    EXPECT_EQ(cutToWidth("12345", 5), "12345");
    EXPECT_EQ(cutToWidth("123456", 5), "1234\u2026");
    EXPECT_EQ(cutToWidth("\u65e5\u672c\u8a9e", 5), "\u65e5\u672c\u2026");
    EXPECT_EQ(cutToWidth("\u65e5\u672c\u8a9e", 4), "\u65e5\u2026") << "half a character is none";
    EXPECT_EQ(cutToWidth("abu\u0308cd", 4), "abu\u0308\u2026") << "a mark stays with its letter";
    EXPECT_EQ(cutToWidth("abc", 1), "\u2026");
    EXPECT_EQ(cutToWidth("abc", 0), "");
}

TEST(NameOrder, IsThatOfPeople)
{
    std::vector<std::string> names = {"node10", "Node2", "node2", "a9b10", "a9b2", "node", "node02", "n", "10", "9"};
    std::sort(names.begin(), names.end(), SNameOrder());
    EXPECT_EQ(names, (std::vector<std::string>{"9", "10", "a9b2", "a9b10", "n", "node", "node02", "node2", "Node2",
                                               "node10"}));
}

TEST(NameOrder, IsTotal)
{
    // Names that look alike, are no text, or differ in what a collation ignores.
    std::vector<std::string> names = {"a",
                                      "A",
                                      "a1",
                                      "a01",
                                      "a001",
                                      "\u00e4",
                                      "a\u0308",
                                      "\xff",
                                      "\xfe",
                                      "",
                                      std::string(1, '\0'),
                                      "a\u200d",
                                      "a\u200b",
                                      "99999999999999999999",
                                      "\u0661"};
    std::vector<std::string> sorted = names;
    std::sort(sorted.begin(), sorted.end(), SNameOrder());
    for (size_t i = 0; i + 1 < sorted.size(); ++i) {
        EXPECT_TRUE(SNameOrder()(sorted[i], sorted[i + 1])) << i;
        EXPECT_FALSE(SNameOrder()(sorted[i + 1], sorted[i])) << i;
    }
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    std::sort(names.begin(), names.end(), SNameOrder());
    EXPECT_EQ(names, sorted);
}

TEST(NameOrder, IsThatOfItsKeys)
{
    // Digits, case, marks that combine, what is ignored, characters of every length, zeros and what is no UTF-8.
    const std::vector<std::string> pieces = {"",
                                             "0",
                                             "00",
                                             "7",
                                             "12",
                                             "99999999999999999999999999",
                                             "a",
                                             "A",
                                             "b",
                                             "-",
                                             "_",
                                             ".",
                                             " ",
                                             "ß",
                                             "ä",
                                             "a\u0308",
                                             "\u00ad",
                                             "\u200d",
                                             "漢",
                                             "😀",
                                             "\xff",
                                             "\xc3",
                                             "\xf0\x9f\x98",
                                             std::string(1, '\0')};
    std::mt19937 random(42);
    const auto text = [&] {
        std::string made;
        for (size_t i = random() % 6; i > 0; --i) {
            made += pieces[random() % pieces.size()];
        }
        return made;
    };
    for (int round = 0; round < 50'000; ++round) {
        const std::string a = text();
        const std::string b = text();
        ASSERT_EQ(SNameOrder()(a, b), nameOrderKey(a) < nameOrderKey(b))
            << testing::PrintToString(a) << " " << testing::PrintToString(b);
    }
    const std::string common(300, 'x');  // keys longer than the room that is tried first
    EXPECT_LT(nameOrderKey(common + "2"), nameOrderKey(common + "10"));
}

TEST(Table, AlignsColumnsAndShowsControlCharacters)
{
    EXPECT_EQ(formatTable({{"A", "B"}, {"long", ""}, {"\t", "x"}}, 0), "A     B\nlong  -\n\\x09  x\n");
}

TEST(Table, AlignsByWhatIsSeen)
{
    EXPECT_EQ(formatTable({{"A", "B"}, {"\u65e5\u672c", "x"}, {"u\u0308", "y"}}, 0),
              "A     B\n\u65e5\u672c  x\nu\u0308     y\n");
}

TEST(Table, CutsItsWidestColumnOnly)
{
    const Rows rows = {{"NAME", "MESSAGE", "ID"}, {"short", "a rather long message", "12"}};
    EXPECT_EQ(formatTable(rows, 80), "NAME   MESSAGE                ID\nshort  a rather long message  12\n");
    EXPECT_EQ(formatTable(rows, 24), "NAME   MESSAGE        ID\nshort  a rather lon\u2026  12\n");
    EXPECT_EQ(formatTable(rows, 5), "NAME   MESSAGE   ID\nshort  a rathe\u2026  12\n");
    EXPECT_EQ(formatTable({}, 5), "");
}

}  // namespace fictl
