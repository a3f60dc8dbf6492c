// The shell language: what is understood, and what is refused with which words.
#include "appliance/core/shell/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

SScript parse(const std::string& commands)
{
    return parseScript("server alpha\n" + commands + "\nexit\n");
}

SCommand only(const std::string& commands)
{
    const SScript script = parse(commands);
    EXPECT_EQ(script.commands.size(), 1U);
    return script.commands.at(0);
}

// The command in its plainest spelling.
std::vector<std::string> plain(const std::string& commands)
{
    return commandLines(only(commands));
}

TEST(Script, UnderstandsSingleLineCommandsWithAnyBlanks)
{
    EXPECT_THAT(plain(" list  hosts "), ElementsAre("list hosts"));
    EXPECT_THAT(plain("\tlist\tcgroups"), ElementsAre("list cgroups"));
    EXPECT_THAT(plain(" show  host \"h1\""), ElementsAre("show host \"h1\""));
    EXPECT_THAT(plain(" show  cgroup \"a group\""), ElementsAre("show cgroup \"a group\""));
    EXPECT_THAT(plain(" delete  annotation \"A\" \"G\""), ElementsAre("delete annotation \"A\" \"G\""));
    EXPECT_THAT(plain(" delete  timeimage \"\" \"G\""), ElementsAre("delete timeimage \"\" \"G\""));
    EXPECT_THAT(plain(" list  timeimages \"G\""), ElementsAre("list timeimages \"G\""));
    EXPECT_THAT(plain(" show  timeimage \"T\" \"G\""), ElementsAre("show timeimage \"T\" \"G\""));
}

TEST(Script, KeepsTheNamesOfAKeywordLineInTheirOrder)
{
    EXPECT_THAT(only("list hosts").names, IsEmpty());
    EXPECT_THAT(only("show cgroup \"a group\"").names, ElementsAre("a group"));
    EXPECT_THAT(only("delete timeimage \"\" \"G\"").names, ElementsAre("", "G"));
}

TEST(Script, UnderstandsAnAnnotation)
{
    EXPECT_THAT(plain(" create  annotation \"A\" \"G\"\n set  message  CreatedByKestrav \n commit "),
                ElementsAre("create annotation \"A\" \"G\"", "set message \"CreatedByKestrav\"", "commit"));
    EXPECT_THAT(plain("create annotation \"A\" \"G\"\nset message \"two words\"\ncommit"),
                ElementsAre("create annotation \"A\" \"G\"", "set message \"two words\"", "commit"));
    EXPECT_THAT(plain("create annotation \"A\" \"G\"\ncommit"), ElementsAre("create annotation \"A\" \"G\"", "commit"));
}

TEST(Script, UnderstandsATimeImage)
{
    const SCommand made = only(
        " create  timeimage \"T\" \"G\"\n add  permission \"H\"\n use  annotation \"A\"\n"
        " set  preserve  mode  no \n set  prevent  expiration  timeout 0\n add permission \"I\"\n"
        " set  proactive  expiration  timeout \"7\"\n commit ");
    EXPECT_THAT(commandLines(made),
                ElementsAre("create timeimage \"T\" \"G\"", "add permission \"H\"", "use annotation \"A\"",
                            "set preserve mode no", "set prevent expiration timeout 0", "add permission \"I\"",
                            "set proactive expiration timeout 7", "commit"));
    EXPECT_EQ(commandText(made), "create timeimage \"T\" \"G\"");
    EXPECT_EQ(made.value({"use annotation \"A\""}), "A");
    EXPECT_THAT(made.values({"add permission \"H\""}), ElementsAre("H", "I"));
    EXPECT_EQ(made.value({"set message WORD"}, "none"), "none");
}

TEST(Script, TakesOneNameForTheGroupAndTwoForATimeImage)
{
    const SCommand group = only(" update  timeimage \"G\"\n add  permission \"H\"\n commit ");
    EXPECT_THAT(commandLines(group), ElementsAre("update timeimage \"G\"", "add permission \"H\"", "commit"));
    const SCommand image = only(" update  timeimage \"T\" \"G\"\n delete  permission \"H\"\n commit ");
    EXPECT_THAT(commandLines(image), ElementsAre("update timeimage \"T\" \"G\"", "delete permission \"H\"", "commit"));
    EXPECT_NE(group.kind, image.kind);
}

TEST(Script, TakesSeveralCommandsEmptyLinesAndNoNewlineAtTheEnd)
{
    const SScript script = parseScript("\n server   \"al pha\" \n\nlist hosts\n \t\nlist cgroups\nexit");
    EXPECT_EQ(script.server, "al pha");
    EXPECT_EQ(script.commands.size(), 2U);
    EXPECT_TRUE(parseScript("server a\nexit\n").commands.empty());
}

struct SRefusal
{
    std::string text;
    std::string why;
};

class ScriptRefusal : public testing::TestWithParam<SRefusal>
{
};

TEST_P(ScriptRefusal, NamesTheLineAndTheReason)
{
    try {
        parseScript(GetParam().text);
        FAIL() << "accepted";
    } catch (const EApplianceError& error) {
        EXPECT_EQ(error.status(), EStatus::MALFORMED);
        EXPECT_EQ(error.what(), GetParam().why);
    }
}

const SRefusal REFUSALS[] = {
    {"", "line 1: the script is empty"},
    {"\n \n", "line 1: the script is empty"},
    {"exit\n", "line 1: \"server NAME\" expected instead of: exit"},
    {"list hosts\nexit\n", "line 1: \"server NAME\" expected instead of: list hosts"},
    {"server\nexit\n", "line 1: \"server NAME\" expected instead of: server"},
    {"server a b\nexit\n", "line 1: \"server NAME\" expected instead of: server a b"},
    {"server a\nlist hosts\n", "line 2: the script ends without \"exit\""},
    {"server a\nlist hosts\nexi", "line 3: not a command: exi"},
    {"server a\n\"exit\"\n", "line 2: not a command: \"exit\""},
    {"server a\nexit\nlist hosts\n", "line 3: text after \"exit\""},
    {"server a\nlist\nexit\n", "line 2: not a command: list"},
    {"server a\nLIST hosts\nexit\n", "line 2: not a command: LIST hosts"},
    {"server a\nlist hosts now\nexit\n", "line 2: not a command: list hosts now"},
    {"server a\nlist timeimages G\nexit\n", "line 2: not a command: list timeimages G"},
    {"server a\nshow host H\nexit\n", "line 2: not a command: show host H"},
    {"server a\nshow cgroup\nexit\n", "line 2: not a command: show cgroup"},
    {"server a\n\"show\" cgroup \"G\"\nexit\n", "line 2: not a command: \"show\" cgroup \"G\""},
    {"server a\nshow cgroup \"G\nexit\n", "line 2: the quote is not closed"},
    {"server a\nshow cgroup \"G\"x\nexit\n", "line 2: text right after a closing quote"},
    {"server a\nshow cgroup \"G\"\"H\"\nexit\n", "line 2: text right after a closing quote"},
    {"server a\nshow cgroup x\"G\"\nexit\n", "line 2: a quote inside a word"},
    {"server a\r\nexit\r\n", "line 1: control character in the line"},
    {std::string("server a\0\nexit\n", 15), "line 1: control character in the line"},
    {"server a\nshow cgroup \"G\x01\"\nexit\n", "line 2: control character in the line"},
    {"server a\ncommit\nexit\n", "line 2: not a command: commit"},
    {"server a\ndelete annotation \"A\"\nexit\n", "line 2: not a command: delete annotation \"A\""},
    {"server a\ncreate annotation \"A\" \"G\"\nset message M\nexit\n",
     "line 2: no \"commit\" after: create annotation \"A\" \"G\""},
    {"server a\ncreate annotation \"A\" \"G\"\n", "line 2: no \"commit\" after: create annotation \"A\" \"G\""},
    {"server a\ncreate annotation \"A\" \"G\"\nset message M\nlist hosts\nexit\n",
     "line 4: not possible within create annotation \"A\" \"G\", or \"commit\" is missing: list hosts"},
    {"server a\ncreate annotation \"A\" \"G\"\nset message two words\ncommit\nexit\n",
     "line 3: not possible within create annotation \"A\" \"G\", or \"commit\" is missing: set message two words"},
    {"server a\ncreate annotation \"A\" \"G\"\nset message M\nset message N\ncommit\nexit\n",
     "line 4: given twice: set message N"},
    {"server a\ncreate annotation \"A\" \"G\"\ncommit now\nexit\n",
     "line 3: not possible within create annotation \"A\" \"G\", or \"commit\" is missing: commit now"},
    {"server a\ncreate timeimage \"T\" \"G\"\nadd permission \"H\"\ncommit\nexit\n",
     "line 2: no \"use annotation\" for: create timeimage \"T\" \"G\""},
    {"server a\ncreate timeimage \"T\" \"G\"\nuse annotation \"A\"\nuse annotation \"B\"\ncommit\nexit\n",
     "line 4: given twice: use annotation \"B\""},
    {"server a\ncreate timeimage \"T\" \"G\"\nuse annotation \"A\"\nset preserve mode maybe\ncommit\nexit\n",
     "line 4: not possible within create timeimage \"T\" \"G\", or \"commit\" is missing: set preserve mode maybe"},
    {"server a\ncreate timeimage \"T\" \"G\"\nuse annotation \"A\"\nset prevent expiration timeout -1\ncommit\nexit\n",
     "line 4: timeout \"-1\" is not a number of seconds"},
    {"server a\ncreate timeimage \"T\" \"G\"\nuse annotation \"A\"\nset proactive expiration timeout "
     "4294967296\ncommit\n",
     "line 4: timeout \"4294967296\" is not a number of seconds"},
    {"server a\ncreate timeimage \"T\" \"G\"\nuse annotation \"A\"\nset prevent expiration timeout 10h\ncommit\nexit\n",
     "line 4: timeout \"10h\" is not a number of seconds"},
    {"server a\ncreate timeimage \"T\" \"G\"\nuse annotation \"A\"\ndelete permission \"H\"\ncommit\nexit\n",
     "line 4: not possible within create timeimage \"T\" \"G\", or \"commit\" is missing: delete permission \"H\""},
    {"server a\nupdate timeimage \"G\"\ncommit\nexit\n", "line 2: nothing to commit for: update timeimage \"G\""},
    {"server a\nupdate timeimage \"G\"\nadd permission H\ncommit\nexit\n",
     "line 3: not possible within update timeimage \"G\", or \"commit\" is missing: add permission H"},
    {"server a\nupdate timeimage \"G\"\nadd permission \"H\"\nexit\n",
     "line 2: no \"commit\" after: update timeimage \"G\""},
    {"server a\nupdate timeimage\nexit\n", "line 2: not a command: update timeimage"},
};

INSTANTIATE_TEST_SUITE_P(All, ScriptRefusal, testing::ValuesIn(REFUSALS));

TEST(Script, RefusesOneThatIsTooLong)
{
    EXPECT_THROW(parseScript(std::string(MAX_SCRIPT_SIZE + 1, '\n')), EApplianceError);
}

TEST(Script, LongLinesAreCutInTheMessage)
{
    try {
        parse(std::string(5000, 'x'));
        FAIL() << "accepted";
    } catch (const EApplianceError& error) {
        EXPECT_EQ(error.what(), "line 2: not a command: " + std::string(200, 'x') + "...");
    }
}

}  // namespace

}  // namespace lumora
