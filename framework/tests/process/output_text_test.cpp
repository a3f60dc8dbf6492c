#include "framework/include/cfioutputtext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using namespace std::string_literals;
using obzx_pdk_4_4::CFiOutputText;
using ::testing::ElementsAre;

using Lines = std::vector<std::string>;

constexpr size_t BLOCK = size_t{64} * 1024;

CFiOutputText textOf(std::string_view content)
{
    CFiOutputText text;
    text.append(content);
    return text;
}

// All lines, taken so many at once.
Lines take(CFiOutputText& text, size_t atOnce)
{
    Lines lines;
    std::vector<std::string_view> taken(atOnce);
    for (size_t count = text.takeLines(taken); count > 0; count = text.takeLines(taken)) {
        lines.insert(lines.end(), taken.begin(), taken.begin() + static_cast<ptrdiff_t>(count));
    }
    return lines;
}

TEST(OutputText, KeepsEverythingButTheLineFeeds)
{
    const std::pair<std::string, Lines> table[] = {
        {"", {}},
        {"a", {"a"}},
        {"a\n", {"a"}},
        {"a\nb", {"a", "b"}},
        {"\n", {""}},
        {"\n\na", {"", "", "a"}},
        {"a\r\nb\r", {"a\r", "b\r"}},
        {"a\0b\n\0"s, {"a\0b"s, "\0"s}},
    };
    for (const auto& [content, expected] : table) {
        CFiOutputText text = textOf(content);
        EXPECT_EQ(text.countLines(), expected.size()) << content;
        EXPECT_EQ(take(text, 1), expected) << content;
        EXPECT_EQ(text.countLines(), 0u) << content;
    }
}

TEST(OutputText, LinesAreAddedToThoseThatAreThere)
{
    Lines lines{"first"};
    textOf("second\n").appendLinesTo(lines);
    EXPECT_THAT(lines, ElementsAre("first", "second"));
}

TEST(OutputText, LinesOfOneCallStayWhereverABlockEnds)
{
    Lines expected;
    std::string content;
    for (size_t length : {BLOCK - 2, size_t{0}, size_t{0}, size_t{5}, BLOCK, BLOCK - 1, 3 * BLOCK, size_t{7}, BLOCK - 8,
                          size_t{0}, size_t{3}}) {
        expected.emplace_back(length, static_cast<char>('a' + expected.size()));
        content += expected.back() + "\n";
    }
    for (size_t atOnce = 1; atOnce <= expected.size() + 1; ++atOnce) {
        CFiOutputText text = textOf(content);
        EXPECT_EQ(text.countLines(), expected.size());
        EXPECT_EQ(take(text, atOnce), expected) << atOnce;
    }
}

TEST(OutputText, CountsTheLinesThatAreLeft)
{
    CFiOutputText text = textOf("a\nb\nc");
    std::array<std::string_view, 2> two;
    EXPECT_EQ(text.takeLines(two), 2u);
    EXPECT_EQ(text.countLines(), 1u);
    EXPECT_EQ(text.takeLines(two), 1u);
    EXPECT_EQ(two[0], "c");
    EXPECT_EQ(text.takeLines(two), 0u);
}

TEST(OutputText, CountsLineEndsWhereverTheyStand)
{
    for (size_t count = 0; count <= 600; ++count) {
        EXPECT_EQ(textOf(std::string(count, '\n')).countLines(), count);
        EXPECT_EQ(textOf(std::string(count, 'x') + "\n\ny").countLines(), 3u) << count;
    }
}

TEST(OutputText, WhatIsCutOffIsGone)
{
    for (const size_t size : {size_t{0}, size_t{1}, BLOCK - 1, BLOCK, BLOCK + 1, 2 * BLOCK, 3 * BLOCK}) {
        CFiOutputText text = textOf(std::string(2 * BLOCK + 1, 'x'));
        text.cut(size);
        text.append("y");
        const size_t kept = std::min(size, 2 * BLOCK + 1);
        EXPECT_EQ(text.size(), kept + 1);
        EXPECT_EQ(take(text, 1), Lines{std::string(kept, 'x') + "y"});
    }
}

}  // namespace
