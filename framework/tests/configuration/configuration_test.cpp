#include "framework/include/cficonfiguration.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "framework/include/cfistringtool.h"
#include "framework/tests/support/little_memory.h"
#include "framework/tests/support/scratch.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace obzx_pdk_4_4;
using obzx_test::text;

class Configuration : public obzx_test::CScratch
{
  protected:
    std::string storePath() const { return root() + "/etc/qz/unit.conf"; }

    /// The value, or "<none>" when it or its section is not there.
    static std::string value(const std::string& section, const std::string& name, const std::string& component = "unit")
    {
        CFiConfiguration store(text(component));
        ACE_Configuration_Section_Key key;
        ACE_String_Base<char> found("<none>");
        if (store.openSection(section.c_str(), key, 1) == 0 && store.getStringValue(name.c_str(), found) != 0) {
            EXPECT_STREQ(found.c_str(), "<none>");
        }
        return CFiStringTool::tstr2str(found);
    }
    /// One value that is looked for, and what is found.
    struct SFound
    {
        const char* section;
        const char* name;
        const char* value;
    };
    static void expectValues(std::initializer_list<SFound> found)
    {
        for (const SFound& each : found) {
            EXPECT_EQ(value(each.section, each.name), each.value) << each.section << "/" << each.name;
        }
    }
    static long number(const std::string& name)
    {
        CFiConfiguration store("unit");
        ACE_Configuration_Section_Key key;
        long found = -77;
        EXPECT_EQ(store.openSection("S", key, 1), 0);
        if (store.getIntegerValue(name.c_str(), found) != 0) {
            EXPECT_EQ(found, -77);
        }
        return found;
    }
};

TEST_F(Configuration, ReadsValuesOfTheOpenSection)
{
    configure("[FIRST]\nNAME=a\n[SECOND]\nNAME=b\nOTHER=c\n");
    expectValues({{"FIRST", "NAME", "a"},
                  {"SECOND", "NAME", "b"},
                  {"SECOND", "OTHER", "c"},
                  {"FIRST", "OTHER", "<none>"},
                  {"THIRD", "NAME", "<none>"}});
}

TEST_F(Configuration, QuotesAndBlanksAroundAValueDoNotBelongToIt)
{
    configure(
        "# a comment\n; another\n\n  [S]  \n\tPLAIN =  /opt/a b/  \nQUOTED = \" /opt/a b \"\nEMPTY=\nCR=x\r\nEQ=a=b\n");
    expectValues({{"S", "PLAIN", "/opt/a b/"},
                  {"S", "QUOTED", " /opt/a b "},
                  {"S", "EMPTY", ""},
                  {"S", "CR", "x"},
                  {"S", "EQ", "a=b"}});
}

TEST_F(Configuration, NamesAreExact)
{
    configure("[First]\nName=a\nNAME=b\n[FIRST]\nOther=c\n");
    expectValues({{"First", "Name", "a"},
                  {"First", "NAME", "b"},
                  {"First", "name", "<none>"},
                  {"First", "Other", "<none>"},
                  {"FIRST", "Other", "c"},
                  {"FIRST", "OTHER", "<none>"},
                  {"first", "Other", "<none>"}});
}

TEST_F(Configuration, SectionMayComeAgainAndTheLastOfSeveralValuesCounts)
{
    configure("[S]\nA=1\nB=1\n[T]\nA=2\n[S]\nA=3\n");
    expectValues({{"S", "A", "3"}, {"S", "B", "1"}, {"T", "A", "2"}});
}

TEST_F(Configuration, TellsWhereItLiesAndOnWhichLineAValueStands)
{
    configure("# first\n\n[S]\r\nA=1\nbroken\nB=2\n[T]\nA=\n[S]\nA=3");
    const CFiConfiguration store("unit");
    EXPECT_EQ(store.path(), storePath());
    EXPECT_EQ(store.lineOf("S", "A"), 10);
    EXPECT_EQ(store.lineOf("S", "B"), 6);
    EXPECT_EQ(store.lineOf("T", "A"), 8) << "an empty value is one";
    for (const auto& [section, name] : {std::pair("S", "C"), {"U", "A"}, {"s", "A"}, {"", ""}}) {
        EXPECT_EQ(store.lineOf(section, name), 0) << section << name;
    }
    EXPECT_EQ(store.lineOf(nullptr, "A"), 0);
    EXPECT_EQ(store.lineOf("S", nullptr), 0);
}

TEST_F(Configuration, LookingForALineOpensNoSection)
{
    configure("[S]\nA=1\n[T]\nA=2\n");
    CFiConfiguration store("unit");
    ACE_Configuration_Section_Key key;
    ACE_String_Base<char> found;
    ASSERT_EQ(store.openSection("S", key, 1), 0);
    EXPECT_EQ(store.lineOf("T", "A"), 4);
    ASSERT_EQ(store.getStringValue("A", found), 0);
    EXPECT_STREQ(found.c_str(), "1");
}

TEST_F(Configuration, StoreThatIsNotThereTellsWhereItWouldBe)
{
    const CFiConfiguration store("unit");
    EXPECT_EQ(store.path(), storePath());
    EXPECT_EQ(store.lineOf("S", "A"), 0);
    EXPECT_TRUE(store.unreadableLines().empty());
    EXPECT_EQ(CFiConfiguration("../unit").path(), "");
}

TEST_F(Configuration, IsReadAnewByEachObject)
{
    configure("[S]\nA=1\n");
    EXPECT_EQ(value("S", "A"), "1");
    configure("[S]\nA=2\n");
    EXPECT_EQ(value("S", "A"), "2");
}

TEST_F(Configuration, ValueWithoutAnOpenSectionIsNotThere)
{
    configure("[S]\nA=1\n");
    CFiConfiguration store("unit");
    ACE_Configuration_Section_Key key;
    ACE_String_Base<char> found("kept");
    long number = 5;
    EXPECT_NE(store.getStringValue("A", found), 0);
    EXPECT_EQ(store.openSection("S", key, 1), 0);
    EXPECT_EQ(store.getStringValue("A", found), 0);
    EXPECT_NE(store.openSection("T", key, 1), 0);
    EXPECT_NE(store.getIntegerValue("A", number), 0);
    EXPECT_EQ(number, 5);
}

TEST_F(Configuration, NullAndEmptyNamesAreNotThere)
{
    configure("[S]\nA=1\n");
    CFiConfiguration store("unit");
    ACE_Configuration_Section_Key key;
    ACE_String_Base<char> found;
    EXPECT_NE(store.openSection(nullptr, key, 1), 0);
    EXPECT_NE(store.openSection("", key, 1), 0);
    ASSERT_EQ(store.openSection("S", key, 1), 0);
    EXPECT_NE(store.getStringValue(nullptr, found), 0);
    EXPECT_NE(store.getStringValue("", found), 0);
    EXPECT_NE(store.openSection(std::string(100000, 'x').c_str(), key, 1), 0);
}

TEST_F(Configuration, WholeNumbersOnly)
{
    configure(
        "[S]\nZERO=0\nMAX=2147483647\nQUOTED=\" 12 \"\nOVER=2147483648\nHUGE=99999999999999999999\nNEG=-1\n"
        "WORD=ten\nTAIL=10s\nHEX=0x10\nPLUS=+1\nNONE=\nREAL=1.0\n");
    EXPECT_EQ(number("ZERO"), 0);
    EXPECT_EQ(number("MAX"), 2147483647);
    EXPECT_EQ(number("QUOTED"), 12);
    for (const char* bad : {"OVER", "HUGE", "NEG", "WORD", "TAIL", "HEX", "PLUS", "NONE", "REAL", "MISSING"}) {
        EXPECT_EQ(number(bad), -77) << bad;
    }
}

TEST_F(Configuration, MissingStoreHasNoSections)
{
    EXPECT_EQ(value("S", "A"), "<none>");
}

TEST_F(Configuration, StoreThatIsNoRegularFileHasNoSections)
{
    fs::create_directories(storePath());
    EXPECT_EQ(value("S", "A"), "<none>");
    fs::remove(storePath());
    ASSERT_EQ(::mkfifo(storePath().c_str(), 0600), 0);  // must not wait for a writer
    EXPECT_EQ(value("S", "A"), "<none>");
    fs::remove(storePath());
    fs::create_symlink("/dev/zero", storePath());
    EXPECT_EQ(value("S", "A"), "<none>");
    fs::remove(storePath());
    fs::create_symlink(storePath(), storePath());
    EXPECT_EQ(value("S", "A"), "<none>");
}

TEST_F(Configuration, StoreIsReadUpToOneMiB)
{
    const std::string head = "[S]\nA=1\n";
    const size_t limit = 1024 * 1024;
    std::string content = head;
    while (content.size() + 100 < limit) {
        content += "#" + std::string(98, 'x') + "\n";
    }
    content += std::string(limit - content.size(), '\n');
    configure(content);
    EXPECT_EQ(value("S", "A"), "1");
    configure(content + "\n");
    EXPECT_EQ(value("S", "A"), "<none>");
    EXPECT_TRUE(CFiConfiguration("unit").unreadableLines().empty());
}

TEST_F(Configuration, LineThatCannotBeReadCostsThatLineAndNothingElse)
{
    const std::string unreadable[] = {
        "word",
        "=",
        "=1",
        "A]=1",
        "A/B=1",
        "A\\B=1",
        "\"A\"=1",
        "[S",
        "[",
        "[]",
        "[S/T]",
        "]",
        "\0\0\0"s,
        "A=1\0"s,
        "# \0"s,
        "\xff\xfe",
        "[\"S\"]",
        std::string(256, 'n') + "=1",
        "[" + std::string(256, 's') + "]",
        std::string(5000, '['),
        std::string(70000, 'x'),
    };
    for (const std::string& line : unreadable) {
        configure("[S]\nA=first\n \t" + line + "\r\nB=second\n[T]\nC=third\n");
        EXPECT_EQ(value("S", "A"), "first") << line.substr(0, 40);
        EXPECT_EQ(value("S", "B"), "second") << line.substr(0, 40);
        EXPECT_EQ(value("T", "C"), "third") << line.substr(0, 40);
        const CFiConfiguration store("unit");
        ASSERT_EQ(store.unreadableLines().size(), 1u) << line.substr(0, 40);
        EXPECT_EQ(store.unreadableLines().front().m_line, 3);
        EXPECT_EQ(store.unreadableLines().front().m_text, line);
    }
}

TEST_F(Configuration, ValueBeforeTheFirstSectionCannotBeRead)
{
    configure("A=1\n# comment\n\nB=2\n[S]\nA=3");
    expectValues({{"S", "A", "3"}, {"S", "B", "<none>"}, {"", "A", "<none>"}});
    const CFiConfiguration store("unit");
    ASSERT_EQ(store.unreadableLines().size(), 2u);
    EXPECT_EQ(store.unreadableLines().front().m_line, 1);
    EXPECT_EQ(store.unreadableLines().back().m_line, 4);
}

TEST_F(Configuration, LastLineNeedsNoNewlineToBeReadOrToBeNoted)
{
    configure("[S]\nA=1\nlast");
    const CFiConfiguration store("unit");
    ASSERT_EQ(store.unreadableLines().size(), 1u);
    EXPECT_EQ(store.unreadableLines().front().m_line, 3);
    EXPECT_EQ(store.unreadableLines().front().m_text, "last");
}

TEST_F(Configuration, OverlongValueDoesNoHarm)
{
    configure("[S]\nA=" + std::string(100000, 'x') + "\n");
    value("S", "A");
    configure("[S]\n" + std::string(3000, 'n') + "=1\nA=1\n");
    value("S", "A");
}

TEST_F(Configuration, ComponentThatCannotNameAFileHasNoSections)
{
    obzx_test::writeFile(root() + "/etc/outside.conf", "[S]\nA=1\n");
    configure("[S]\nA=1\n");
    for (const std::string& name : {""s, "../outside"s, "/unit"s, "unit\0"s, std::string(5000, 'x')}) {
        EXPECT_EQ(value("S", "A", name), "<none>") << name;
    }
}

#if OBZX_TEST_LIMITS_MEMORY
TEST_F(Configuration, LackOfMemoryIsAnExceptionNotTheEndOfTheHost)
{
    configure("[FIRST]\nNAME=" + std::string(100, 'a') + "\n[SECOND]\nNAME=b\n");
    const ACE_String_Base<char> component("unit");
    obzx_test::runWithLittleMemory([&component] {
        CFiConfiguration store(component);
        ACE_Configuration_Section_Key key;
        ACE_String_Base<char> found;
        return store.openSection("FIRST", key, 1) == 0 && store.getStringValue("NAME", found) == 0 &&
               found.length() == 100;
    });
}
#endif

TEST_F(Configuration, PathToolWantsAnExecutableRegularFile)
{
    const std::string tool = root() + "/usr/sbin/tool";
    EXPECT_EQ(CFiConfigurationPathTool::verify("/usr/sbin/tool"), ENOENT);
    obzx_test::writeFile(tool, "#!/bin/sh\n");
    ASSERT_EQ(::chmod(tool.c_str(), 0644), 0);
    EXPECT_EQ(CFiConfigurationPathTool::verify("/usr/sbin/tool"), EACCES);
    ASSERT_EQ(::chmod(tool.c_str(), 0755), 0);
    EXPECT_EQ(CFiConfigurationPathTool::verify("/usr/sbin/tool"), 0);
    EXPECT_EQ(CFiConfigurationPathTool::verify("/usr/sbin"), EISDIR);
    EXPECT_EQ(CFiConfigurationPathTool::verify("/usr/sbin/tool/x"), ENOTDIR);
    EXPECT_EQ(CFiConfigurationPathTool::verify(""), ENOENT);
    EXPECT_EQ(CFiConfigurationPathTool::verify(text("/usr/sbin/tool\0x"s)), ENOENT);
    EXPECT_EQ(CFiConfigurationPathTool::verify(text(std::string(100000, 'x'))), ENAMETOOLONG);
    const std::string fifo = root() + "/fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0755), 0);
    EXPECT_EQ(CFiConfigurationPathTool::verify("/fifo"), EACCES);
    fs::create_symlink("loop", root() + "/loop");
    EXPECT_EQ(CFiConfigurationPathTool::verify("/loop"), ELOOP);
}

}  // namespace
