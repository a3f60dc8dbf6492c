#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pdk/include/cfiobjctlargs.h"

namespace pdktest {
namespace {

using obzx_pdk_4_4::CFiKeyValuePair;
using obzx_pdk_4_4::CFiObjctlArgs;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> inputs(std::string request)
{
    CFiObjctlArgs args;
    EXPECT_EQ(args.importArgs(request.data()), 0);
    std::vector<std::string> texts;
    for (const CFiKeyValuePair& pair : args.getInputs()) {
        texts.push_back(std::string(pair.m_arg.c_str()) + "|" + pair.m_value.c_str() + "|" + pair.m_type.c_str());
    }
    return texts;
}

const std::string A = "<OBJCTL_INPUT arg=a value=1 type=int />";
const std::string B = "<OBJCTL_INPUT arg=b value=2 type=int />";

TEST(ObjctlRequest, Accepted)
{
    const std::string open = "<OBJCTL_ARG_LIST> ";
    const std::string close = " </OBJCTL_ARG_LIST>";
    EXPECT_THAT(inputs("<OBJCTL_ARG_LIST> <OBJCTL_INPUT arg=mode value=fast type=string /> </OBJCTL_ARG_LIST>"),
                ElementsAre("mode|fast|string"));
    EXPECT_THAT(inputs(open + A + " " + B + close), ElementsAre("a|1|int", "b|2|int"));
    EXPECT_THAT(inputs(open + A + " " + A + close), ElementsAre("a|1|int", "a|1|int")) << "the same twice";
    EXPECT_THAT(inputs(open + "</OBJCTL_ARG_LIST>"), IsEmpty());
    EXPECT_THAT(inputs("<OBJCTL_ARG_LIST>"), IsEmpty());
    EXPECT_THAT(inputs(open + A), ElementsAre("a|1|int")) << "no closing tag";
    EXPECT_THAT(inputs(open + "<OBJCTL_INPUT arg=a=b value==c type=d= />" + close), ElementsAre("a=b|=c|d="))
        << "a name ends at its first =";
    EXPECT_THAT(inputs(open + "<OBJCTL_INPUT arg=\"a\" value=\tx\n type=\xC3\xA4 />" + close),
                ElementsAre("\"a\"|\tx\n|\xC3\xA4"))
        << "values are raw";
    EXPECT_THAT(inputs(open + A + " "), ElementsAre("a|1|int")) << "a blank at the end";
}

TEST(ObjctlRequest, RejectedFromTheFirstTextThatDoesNotFit)
{
    struct SCase
    {
        const char* what;
        std::string request;
        size_t accepted;  // of the element A in front
    };
    const std::string open = "<OBJCTL_ARG_LIST> ";
    const std::vector<SCase> cases = {
        {"empty", "", 0},
        {"blanks", "   ", 0},
        {"no list", A, 0},
        {"list in lower case", "<objctl_arg_list> " + A, 0},
        {"list run together with its element", "<OBJCTL_ARG_LIST>" + A, 0},
        {"text before the list", "x " + open + A, 0},
        {"other separator", "<OBJCTL_ARG_LIST>\t" + A, 0},
        {"unknown element", open + A + " <OBJCTL_OUTPUT arg=b value=2 type=int /> " + B, 1},
        {"element in lower case", open + A + " <objctl_input arg=b value=2 type=int /> " + B, 1},
        {"second element not closed", open + A + " <OBJCTL_INPUT arg=b value=2 type=int </OBJCTL_ARG_LIST>", 1},
        {"second element ends the text", open + A + " <OBJCTL_INPUT arg=b value=2 type=int", 1},
        {"close run together with the type", open + A + " <OBJCTL_INPUT arg=b value=2 type=int/> " + B, 1},
        {"value before arg", open + A + " <OBJCTL_INPUT value=2 arg=b type=int /> " + B, 1},
        {"type before value", open + A + " <OBJCTL_INPUT arg=b type=int value=2 /> " + B, 1},
        {"name in upper case", open + A + " <OBJCTL_INPUT ARG=b value=2 type=int /> " + B, 1},
        {"longer name", open + A + " <OBJCTL_INPUT args=b value=2 type=int /> " + B, 1},
        {"no name", open + A + " <OBJCTL_INPUT =b value=2 type=int /> " + B, 1},
        {"no equals sign", open + A + " <OBJCTL_INPUT arg value=2 type=int /> " + B, 1},
        {"no type", open + A + " <OBJCTL_INPUT arg=b value=2 /> " + B, 1},
        {"no arg value", open + A + " <OBJCTL_INPUT arg= value=2 type=int /> " + B, 1},
        {"no type value", open + A + " <OBJCTL_INPUT arg=b value=2 type= /> " + B, 1},
        {"blank before the list", " " + open + A, 0},
        {"two blanks after the list", open + " " + A, 0},
        {"two blanks between elements", open + A + "  " + B, 1},
        {"two blanks before arg", open + A + " <OBJCTL_INPUT  arg=b value=2 type=int /> " + B, 1},
        {"two blanks before value", open + A + " <OBJCTL_INPUT arg=b  value=2 type=int /> " + B, 1},
        {"two blanks before type", open + A + " <OBJCTL_INPUT arg=b value=2  type=int /> " + B, 1},
        {"two blanks before the close", open + A + " <OBJCTL_INPUT arg=b value=2 type=int  /> " + B, 1},
        {"blank before the equals sign", open + A + " <OBJCTL_INPUT arg =b value=2 type=int /> " + B, 1},
        {"shorter name", open + A + " <OBJCTL_INPUT ar=b value=2 type=int /> " + B, 1},
        {"name with text before it", open + A + " <OBJCTL_INPUT xarg=b value=2 type=int /> " + B, 1},
        {"longer value name", open + A + " <OBJCTL_INPUT arg=b values=2 type=int /> " + B, 1},
        {"text ends in a name", open + A + " <OBJCTL_INPUT arg", 1},
        {"text ends after an equals sign", open + A + " <OBJCTL_INPUT arg=b value=", 1},
        {"text ends after the element tag", open + A + " <OBJCTL_INPUT", 1},
        {"blank in a value", open + A + " <OBJCTL_INPUT arg=b value=2 3 type=int /> " + B, 1},
        {"element after the end", open + A + " </OBJCTL_ARG_LIST> " + B, 1},
        {"second list", open + A + " " + open + B, 1},
    };
    for (const SCase& each : cases) {
        SCOPED_TRACE(each.what);
        EXPECT_EQ(inputs(each.request), std::vector<std::string>(each.accepted, "a|1|int"));
    }
}

TEST(ObjctlRequest, EveryPrefixOfARequestIsReadWithoutGoingPastItsEnd)
{
    const std::string whole = "<OBJCTL_ARG_LIST> " + A + " " + B + " </OBJCTL_ARG_LIST> ";
    for (size_t length = 0; length <= whole.size(); ++length) {
        // An allocation of its own exact size, so that a byte too far is noticed.
        std::vector<char> text(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        text.push_back('\0');
        text.shrink_to_fit();
        CFiObjctlArgs args;
        EXPECT_EQ(args.importArgs(text.data()), 0);
        EXPECT_LE(args.getInputs().size(), 2u);
    }
}

TEST(ObjctlRequest, NullGivesNoInputs)
{
    CFiObjctlArgs args;
    EXPECT_EQ(args.importArgs(nullptr), 0);
    EXPECT_THAT(args.getInputs(), IsEmpty());
}

TEST(ObjctlRequest, LongValueIsKeptWhole)
{
    const std::string value(1 << 20, 'x');
    EXPECT_THAT(inputs("<OBJCTL_ARG_LIST> <OBJCTL_INPUT arg=a value=" + value + " type=t />"),
                ElementsAre("a|" + value + "|t"));
}

TEST(ObjctlReply, WithoutOutputsIsTheTwoTags)
{
    EXPECT_STREQ(CFiObjctlArgs().exportArgs().c_str(), "<OBJCTL_ARG_LIST> </OBJCTL_ARG_LIST> ");
}

TEST(ObjctlReply, HasOneElementForEachOutputInOrder)
{
    CFiObjctlArgs args;
    args.addOutput({"b", "two words", "string"});
    args.addOutput({"a", "", ""});
    EXPECT_STREQ(args.exportArgs().c_str(),
                 "<OBJCTL_ARG_LIST> <OBJCTL_OUTPUT arg=b value=two words type=string />"
                 " <OBJCTL_OUTPUT arg=a value= type= /> </OBJCTL_ARG_LIST> ");
}

}  // namespace
}  // namespace pdktest
