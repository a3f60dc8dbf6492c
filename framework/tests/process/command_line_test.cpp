#include "framework/src/process/command_line.h"

#include <gmock/gmock.h>

namespace {

using namespace std::string_literals;
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

}  // namespace
