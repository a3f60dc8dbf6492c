#include "framework/src/plugin/parameter_parser.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "base/tests/temporary_folder.h"
#include "framework/include/cfiplugininterposer.h"
#include "framework/include/obzx_runtime.h"
#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

std::vector<std::string> namesIn(const std::string& xml)
{
    CFiConfigParamInfoList list;
    EXPECT_TRUE(parseParameterDescription(xml, list)) << xml;
    std::vector<std::string> names;
    for (const CFiConfigParamInfo& parameter : list) {
        names.push_back(parameter.name);
    }
    return names;
}

TEST(ParameterDescription, IsReadInOrder)
{
    EXPECT_THAT(namesIn("<parameters><parameter name='b'/><parameter name='a'/></parameters>"), ElementsAre("b", "a"));
    EXPECT_THAT(namesIn("<parameters/>"), IsEmpty());
    EXPECT_THAT(namesIn("<!DOCTYPE parameters><parameters/>"), IsEmpty());  // declares nothing
}

TEST(ParameterDescription, PassesOverWhatIsNoParameter)
{
    EXPECT_THAT(namesIn("<parameters><parameter/><parameter name=''/><x name='x'/>text"
                        "<x><parameter name='deep'/></x><parameter name='a' other='b'><x/></parameter></parameters>"),
                ElementsAre("a"));
}

TEST(ParameterDescription, TakesEveryCharacterOfXml)
{
    CFiConfigParamInfoList list;
    ASSERT_TRUE(
        parseParameterDescription("<parameters><parameter name='&lt;Größe&gt;' default='&#x65e5;'>"
                                  "<help> a <![CDATA[<b>]]>\n\t c<x>no</x> </help></parameter></parameters>",
                                  list));
    ASSERT_THAT(list, SizeIs(1));
    EXPECT_EQ(list.front().name, "<Größe>");
    EXPECT_EQ(list.front().defaultValue, "日");
    EXPECT_EQ(list.front().help, "a <b> c");
}

class MalformedDescriptions : public testing::TestWithParam<std::string>
{
};

TEST_P(MalformedDescriptions, AreRefused)
{
    CFiConfigParamInfoList list;
    EXPECT_FALSE(parseParameterDescription(GetParam(), list));
}

INSTANTIATE_TEST_SUITE_P(
    All, MalformedDescriptions,
    testing::Values("", " ", "parameters", "<parameters>", "<parameters></parameter>", "<other/>",
                    "<parameters/><parameters/>", "<parameters><parameter name=a/></parameters>",
                    "<parameters>&unknown;</parameters>", "<parameters>\xff\xfe</parameters>",
                    std::string("<parameters>\0</parameters>", 26), std::string("\0\0\0\0", 4),
                    "<?xml version='1.0' encoding='none'?><parameters/>", "<parameters a='1' a='2'/>",

                    "<!DOCTYPE p [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;'>]><parameters>&b;</parameters>",
                    "<!DOCTYPE p SYSTEM 'file:///etc/passwd'><parameters/>",
                    "<!DOCTYPE p [<!ENTITY x SYSTEM '/etc/passwd'>]><parameters>&x;</parameters>"));

TEST(ParameterDescription, TakesDeepNesting)
{
    std::string xml = "<parameters>";
    for (int i = 0; i < 20000; ++i) {
        xml += "<x>";
    }
    for (int i = 0; i < 20000; ++i) {
        xml += "</x>";
    }
    EXPECT_THAT(namesIn(xml + "</parameters>"), IsEmpty());
}

class CDescribed : public CFiPluginInterposer
{
  public:
    const CFiConfigParamInfoList& defaults() const { return m_globalConfigDefaults; }
};

TEST(GlobalConfiguration, ComesFromTheDescriptionBesideTheCatalogs)
{
    CDescribed plugin;
    EXPECT_THAT(plugin.globalConfigInfoList(), IsEmpty());  // nobody knows yet whose it is
    plugin.setProviderName("pdktest");
    const CFiConfigParamInfoList& list = plugin.globalConfigInfoList();
    ASSERT_THAT(list, SizeIs(2));
    EXPECT_EQ(list.front().name, "FI_TRACE/LEVEL");
    EXPECT_EQ(list.front().type, "number");
    EXPECT_EQ(list.front().defaultValue, "2");
    EXPECT_EQ(list.front().help, "Level up to which lines are traced & kept.");
    EXPECT_EQ(list.back().name, "FI_EXEC/MAX_TIMEOUT");
    EXPECT_EQ(list.back().help, "");
    ASSERT_THAT(plugin.defaults(), SizeIs(1));
    EXPECT_EQ(plugin.defaults().front().name, "FI_TRACE/LEVEL");
    EXPECT_EQ(&plugin.globalConfigInfoList(), &list);
    EXPECT_THAT(plugin.defaults(), SizeIs(1));
}

struct SBadDescription
{
    const char* component;
    const char* line;
};

class BadDescriptionFiles : public testing::TestWithParam<SBadDescription>
{
};

TEST_P(BadDescriptionFiles, GiveAnEmptyListAndATraceLine)
{
    const test::CTraceCapture capture(TRACE_INVALID);
    CFiPluginInterposer plugin;
    plugin.registerTraceLog(capture.log());
    plugin.setProviderName(GetParam().component);
    EXPECT_THAT(plugin.globalConfigInfoList(), IsEmpty());
    EXPECT_THAT(plugin.globalConfigInfoList(), IsEmpty());
    ASSERT_THAT(capture.lines(), SizeIs(1));
    EXPECT_THAT(capture.lines()[0], StartsWith(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadDescriptionFiles,
    testing::Values(SBadDescription{"no_such_component", "2 Cannot read the parameter description ["},
                    SBadDescription{"pdktest_malformed", "2 The parameter description ["},
                    SBadDescription{"pdktest_large", "2 Cannot read the parameter description ["},
                    SBadDescription{"../catalogs/pdktest", "2 Cannot read the parameter description ["}));

// Beside the runtime that it runs with, a copy alone.
TEST(GlobalConfiguration, IsEmptyAndTracedWithoutTheParser)
{
    constexpr const char* FOLDER = "CDPFI_TEST_RUNTIME_ALONE";
    if (const char* const folder = std::getenv(FOLDER)) {
        const test::CTraceCapture capture(TRACE_INVALID);
        CFiPluginInterposer plugin;
        plugin.registerTraceLog(capture.log());
        plugin.setProviderName("pdktest");
        EXPECT_THAT(plugin.globalConfigInfoList(), IsEmpty());
        ASSERT_THAT(capture.lines(), SizeIs(1));
        EXPECT_THAT(capture.lines()[0],
                    StartsWith(std::string("2 Cannot load the parser of parameter descriptions [") + folder + "/lib/"));
        return;
    }
    Dl_info runtime{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&obzx_free_confspec), &runtime), 0);
    const fs::path library = fs::canonical(runtime.dli_fname);
    const fs::path catalogs = library.parent_path() / "../share/obzx/catalogs/pdktest";
    const base_test::CTemporaryFolder place;
    const fs::path& folder = place.path();
    fs::create_directories(folder / "lib");
    fs::copy(library, folder / "lib/libobzx_pdk.so.4");
    fs::create_directories(folder / "share/obzx/catalogs");
    fs::copy(catalogs, folder / "share/obzx/catalogs/pdktest");
    const std::string command = std::string(FOLDER) + "='" + folder.string() + "' LD_LIBRARY_PATH='" +
                                (folder / "lib").string() + "' '" + fs::canonical("/proc/self/exe").string() +
                                "' --gtest_filter=GlobalConfiguration.IsEmptyAndTracedWithoutTheParser";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

TEST(ConfigOperation, HandsOutTheDescribedParameters)
{
    CFiPluginInterposer plugin;
    plugin.setProviderName("pdktest");
    test::CNode node("a");
    obz_confspec* list = nullptr;
    ASSERT_EQ(plugin.config(node.get(), nullptr, nullptr, &list), OBZ_OK);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(list->name, "FI_TRACE/LEVEL");
    EXPECT_STREQ(list->type, "number");
    EXPECT_STREQ(list->value, "2");
    EXPECT_STREQ(list->help, "Level up to which lines are traced & kept.");
    ASSERT_NE(list->next, nullptr);
    EXPECT_STREQ(list->next->name, "FI_EXEC/MAX_TIMEOUT");
    EXPECT_STREQ(list->next->value, "");
    EXPECT_EQ(list->next->next, nullptr);
    obzx_free_confspec(list);
}

TEST(GlobalConfiguration, IsReadOnceByEightThreads)
{
    CFiPluginInterposer plugin;
    plugin.setProviderName("pdktest");
    test::onEightThreads([&](int) { EXPECT_THAT(plugin.globalConfigInfoList(), SizeIs(2)); });
}

}  // namespace
}  // namespace obzx_pdk_4_4
