#include <gtest/gtest.h>

#include "framework/include/cfipluginbase.h"
#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

class PluginErrors : public testing::Test
{
  protected:
    PluginErrors()
    {
        m_catalogs->registerFactory(CFiMessageCatalogFactoryPtr(new CFiIcuMessageCatalogFactory("root", "pdktest")));
        m_plugin.setProviderName("pdktest");
        m_plugin.registerCatalogManager(m_catalogs);
        m_plugin.registerErrorManager(m_errors);
    }

    void push(const std::string& id, std::vector<std::string> arguments = {}, const std::string& catalog = "pdktest")
    {
        m_errors->push(
            CFiMessagePtr(new CFiIcuMessage(catalog, id, std::move(arguments), "f.cpp", 12, OBZ_SEV_WARNING)));
    }

    std::string errMsg(int32_t code)
    {
        char* text = nullptr;
        EXPECT_EQ(m_plugin.errMsg(code, &text), OBZ_OK);
        return take(text);
    }

    std::string take(char* text)
    {
        if (text == nullptr) return "(none)";
        const std::string result = text;
        EXPECT_EQ(m_plugin.delLocaleMessage(text), OBZ_OK);
        return result;
    }

    CFiPluginBase m_plugin;
    CFiMessageCatalogManagerPtr m_catalogs{true};
    CFiErrorManagerPtr m_errors{true};
};

TEST_F(PluginErrors, CodesHaveTextsInTheNativeLanguage)
{
    EXPECT_EQ(errMsg(6001), "Plain text");
    EXPECT_EQ(errMsg(1), "Plain text");
    EXPECT_EQ(errMsg(6002), "Cannot open {0}: {1}");
    m_catalogs->setNativeLanguage("de_DE.UTF-8");
    EXPECT_EQ(errMsg(6001), "Einfacher Text");
    EXPECT_EQ(errMsg(6003), "Only in English");
}

TEST_F(PluginErrors, CodesWithoutATextHaveNone)
{
    for (const int32_t code : {0, 6000, 6999, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(errMsg(code), "(none)");
    }
    m_plugin.setMessageIndexOffset(7000);
    EXPECT_EQ(errMsg(7001), "Plain text");
    EXPECT_EQ(errMsg(6001), "(none)");
    m_plugin.setProviderName("elsewhere");
    EXPECT_EQ(errMsg(7001), "(none)");
}

TEST_F(PluginErrors, TheNewestMessageStaysUntilItIsDeleted)
{
    push("FIRST");
    push("SECOND", {"a", ""});
    obz_msg_info* info = nullptr;
    ASSERT_EQ(m_plugin.getLastError(&info), OBZ_OK);
    ASSERT_NE(info, nullptr);
    EXPECT_STREQ(info->catalog, "pdktest");
    EXPECT_STREQ(info->id, "SECOND");
    EXPECT_STREQ(info->file, "f.cpp");
    EXPECT_EQ(info->line, 12);
    EXPECT_EQ(info->severity, OBZ_SEV_WARNING);
    ASSERT_EQ(info->argument_count, 2);
    EXPECT_STREQ(info->arguments[0], "a");
    EXPECT_STREQ(info->arguments[1], "");
    EXPECT_EQ(m_errors->size(), 2u);
    EXPECT_EQ(m_plugin.delLastError(info), OBZ_OK);
    EXPECT_EQ(m_errors->size(), 1u);

    ASSERT_EQ(m_plugin.getLastError(&info), OBZ_OK);
    EXPECT_STREQ(info->id, "FIRST");
    EXPECT_EQ(info->argument_count, 0);
    EXPECT_EQ(m_plugin.delLastError(info), OBZ_OK);
    ASSERT_EQ(m_plugin.getLastError(&info), OBZ_OK);
    EXPECT_EQ(info, nullptr);
}

TEST_F(PluginErrors, TwoRecordsOfOneMessageAreBothFreed)
{
    push("FIRST");
    obz_msg_info* one = nullptr;
    obz_msg_info* two = nullptr;
    m_plugin.getLastError(&one);
    m_plugin.getLastError(&two);
    EXPECT_EQ(m_plugin.delLastError(one), OBZ_OK);
    EXPECT_EQ(m_plugin.delLastError(two), OBZ_OK);
    EXPECT_EQ(m_errors->size(), 0u);
}

TEST_F(PluginErrors, ARecordReadsInAnyLocale)
{
    push("MSG_ERROR_PDKTEST_0002", {"X", "Y"});
    obz_msg_info* info = nullptr;
    ASSERT_EQ(m_plugin.getLastError(&info), OBZ_OK);
    const auto text = [&](const char* locale) {
        char* given = nullptr;
        EXPECT_EQ(m_plugin.getLocaleMessage(info, locale, &given), OBZ_OK);
        return take(given);
    };
    EXPECT_EQ(text("de"), "Y: X läßt sich nicht öffnen");
    EXPECT_EQ(text(""), "Cannot open X: Y");
    EXPECT_EQ(text(nullptr), "Cannot open X: Y");
    EXPECT_EQ(text(std::string(10240, '\xff').c_str()), "Cannot open X: Y");
    m_catalogs->setNativeLanguage("de");
    EXPECT_EQ(text(""), "Cannot open X: Y");
    m_plugin.delLastError(info);
}

TEST_F(PluginErrors, ARecordWithoutACatalogReadsAsItsKey)
{
    push("SOME_KEY", {"a", "b"}, "elsewhere");
    obz_msg_info* info = nullptr;
    ASSERT_EQ(m_plugin.getLastError(&info), OBZ_OK);
    char* text = nullptr;
    EXPECT_EQ(m_plugin.getLocaleMessage(info, "de", &text), OBZ_OK);
    EXPECT_EQ(take(text), "SOME_KEY a b");
    m_plugin.delLastError(info);
}

TEST(PluginErrorsWithoutManagers, AnswerNothing)
{
    CFiPluginBase plugin;
    char* text = nullptr;
    EXPECT_EQ(plugin.errMsg(6001, &text), OBZ_OK);
    EXPECT_EQ(text, nullptr);
    obz_msg_info* last = nullptr;
    EXPECT_EQ(plugin.getLastError(&last), OBZ_OK);
    EXPECT_EQ(last, nullptr);
    std::string id = "KEY";
    char* arguments[] = {id.data(), nullptr};
    obz_msg_info info = {nullptr, id.data(), nullptr, 0, 0, arguments, 2};
    ASSERT_EQ(plugin.getLocaleMessage(&info, nullptr, &text), OBZ_OK);
    EXPECT_STREQ(text, "KEY KEY ");
    plugin.delLocaleMessage(text);
}

}  // namespace
}  // namespace obzx_pdk_4_4
