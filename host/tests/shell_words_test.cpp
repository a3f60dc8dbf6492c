// The command lines of the history, taken apart again.
#include "host/src/text/shell_words.h"

#include <gtest/gtest.h>

namespace fictl {

namespace {

using Words = std::vector<std::string>;

TEST(ShellWords, AreTakenApartAsAShellDoes)
{
    EXPECT_EQ(shellWords("fictl snapshot  create 'it'\\''s a' ''"),
              (Words{"fictl", "snapshot", "create", "it's a", ""}));
    EXPECT_EQ(shellWords(""), Words{});
}

TEST(ShellWords, OfAListStandBetweenItsSeparators)
{
    EXPECT_EQ(separatedWords(" a, b,,c\t", ", \t"), (Words{"a", "b", "c"}));
    EXPECT_EQ(separatedWords(" , ", ", "), Words{});
    EXPECT_EQ(separatedWords("", " "), Words{});
}

TEST(ShellWords, AnOptionHasTheValueBehindItOrBehindAnEqualsSign)
{
    EXPECT_EQ(valuesOf({"a", "--file", "b", "--file=c", "--file"}, "--file"), (Words{"b", "c"}));
    EXPECT_EQ(valuesOf({"a", "--files", "b"}, "--file"), Words{});
}

TEST(ShellWords, ACommandIsTwoWordsWhateverOptionsStandBetween)
{
    for (const char* const line :
         {"fictl snapshot export s", "fictl snapshot --verbose export s", "fictl snapshot -o json export s",
          "fictl -o json snapshot --output=json export s", "fictl --provider x snapshot --timeout 9 --record r export",
          "fictl snapshot -ojson export s", "/usr/bin/fictl --provider snapshot snapshot --dry-run export s"}) {
        EXPECT_TRUE(hasCommand(shellWords(line), "snapshot", "export")) << line;
    }
    for (const char* const line : {"fictl snapshot show snapshot export", "fictl -o snapshot export",
                                   "fictl snapshot -o export s", "fictl snapshot", "snapshot export", ""}) {
        EXPECT_FALSE(hasCommand(shellWords(line), "snapshot", "export")) << line;
    }
    EXPECT_TRUE(hasCommand({"fictl", "--verbose", "snapshot", "export", "s"}, "snapshot", "export"));
    EXPECT_FALSE(hasCommand({"fictl", "snapshot", "show", "export"}, "snapshot", "export"));
    EXPECT_FALSE(hasCommand({}, "snapshot", "export"));
}

}  // namespace

}  // namespace fictl
