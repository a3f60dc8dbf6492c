#include "framework/src/command_line.h"

#include <gmock/gmock.h>

#include "framework/src/output_lines.h"

namespace {

using namespace std::string_literals;
using obzx_pdk_4_4::appendLines;
using obzx_pdk_4_4::splitCommandLine;
using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::string>;

struct SAccepted
{
    std::string line;
    Words words;
};

TEST(CommandLine, SplitsAtBlanksAndHonoursQuotes)
{
    const SAccepted table[] = {
        {"tool", {"tool"}},
        {"tool a b", {"tool", "a", "b"}},
        {"  tool \t a  ", {"tool", "a"}},
        {"\"/opt/a b/tool\" x", {"/opt/a b/tool", "x"}},
        {"\"/usr/sbin/kforutil\" listdisk ", {"/usr/sbin/kforutil", "listdisk"}},
        {"\"tool\"", {"tool"}},
        {"a\"b c\"d", {"ab cd"}},
        {"tool \"\" x", {"tool", "", "x"}},
        {"\"\"", {""}},
        {"tool $HOME `x` ; | * 'a b' \\", {"tool", "$HOME", "`x`", ";", "|", "*", "'a", "b'", "\\"}},
        {"tool a\nb", {"tool", "a\nb"}},
    };
    for (const SAccepted& row : table) {
        Words words{"left over"};
        EXPECT_TRUE(splitCommandLine(row.line, words)) << row.line;
        EXPECT_EQ(words, row.words) << row.line;
    }
}

TEST(CommandLine, RefusesWhatIsNoCommand)
{
    const std::string table[] = {
        "", " ", " \t ", "\"", "\"tool", "tool \"a b", "tool \"a\" \"", "a\"b\"\"", "tool\0x"s, "\0"s,
    };
    for (const std::string& line : table) {
        Words words{"left over"};
        EXPECT_FALSE(splitCommandLine(line, words)) << line;
        EXPECT_THAT(words, IsEmpty()) << line;
    }
}

TEST(OutputLines, KeepsEverythingButTheLineFeeds)
{
    const SAccepted table[] = {
        {"", {}},
        {"a", {"a"}},
        {"a\n", {"a"}},
        {"a\nb", {"a", "b"}},
        {"\n", {""}},
        {"\n\na", {"", "", "a"}},
        {"a\r\nb\r", {"a\r", "b\r"}},
        {"a\0b\n\0"s, {"a\0b"s, "\0"s}},
    };
    for (const SAccepted& row : table) {
        Words lines;
        appendLines(row.line, lines);
        EXPECT_EQ(lines, row.words) << row.line;
    }
}

TEST(OutputLines, AreAddedToTheLinesThatAreThere)
{
    Words lines{"first"};
    appendLines("second\n", lines);
    EXPECT_THAT(lines, ElementsAre("first", "second"));
}

}  // namespace
