#include <gtest/gtest.h>
#include <unicode/locid.h>

#include "base/tests/test_root.h"
#include "framework/include/cfimessagecatalog.h"
#include "framework/tests/support/plugin_test_support.h"

namespace obzx_pdk_4_4 {
namespace {

constexpr const char* COMPONENT = "pdktest";
constexpr const char* PLAIN = "MSG_ERROR_PDKTEST_0001";

class MessageCatalogs : public testing::Test
{
  protected:
    MessageCatalogs()
    {
        m_manager.registerFactory(CFiMessageCatalogFactoryPtr(new CFiIcuMessageCatalogFactory("root", COMPONENT)));
    }

    std::string text(const std::string& id, const std::string& locale, std::vector<std::string> arguments = {},
                     const std::string& component = COMPONENT)
    {
        const CFiIcuMessage message(component, id, std::move(arguments), "f", 1, OBZ_SEV_ERROR);
        return m_manager.getLocalizedMessage(message, locale);
    }

    CFiMessageCatalogManager m_manager;
};

TEST_F(MessageCatalogs, AnswerInTheLocale)
{
    EXPECT_EQ(text(PLAIN, "de"), "Einfacher Text");
    EXPECT_EQ(text(PLAIN, "de_AT"), "Text halt");
    EXPECT_EQ(text(PLAIN, "de-AT"), "Text halt");
    EXPECT_EQ(text(PLAIN, "de_DE.UTF-8"), "Einfacher Text");
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0002", "de_AT", {"X", "Y"}), "Y: X läßt sich nicht öffnen");
}

TEST_F(MessageCatalogs, AnswerInEnglishByDefault)
{
    EXPECT_EQ(text(PLAIN, ""), "Plain text");
    EXPECT_EQ(text(PLAIN, "C"), "Plain text");
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0002", "", {"X", "Y"}), "Cannot open X: Y");
}

TEST_F(MessageCatalogs, TextOfMoreThanAMebibyteIsCutUnlessTheStoreLetsItBeLonger)
{
    const base_test::CTestRoot root;
    const std::string longest(1 << 20, 'x');
    // "Cannot open X: Y" and the same without a catalog.
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0002", "", {longest, "Y"}),
              "Cannot open " + std::string((1 << 20) - 12, 'x') + " ... [15 bytes more]");
    EXPECT_EQ(text("KEY", "", {longest}, "other"), "KEY " + std::string((1 << 20) - 4, 'x') + " ... [4 bytes more]");
    root.write("etc/qz/pdktest.conf", "[FI_MESSAGE]\nMAX_LENGTH=1048590\n");
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0002", "", {longest, "Y"}), "Cannot open " + longest + ":  ... [1 bytes more]");
}

TEST_F(MessageCatalogs, FallBackToEnglishForWhatIsNotTranslated)
{
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0003", "de_AT"), "Only in English");
    EXPECT_EQ(text(PLAIN, "ko"), "Plain text");
    EXPECT_EQ(text(PLAIN, "xx_YY"), "Plain text");
}

TEST_F(MessageCatalogs, DoNotDependOnTheLocaleOfTheProcess)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale former;
    icu::Locale::setDefault(icu::Locale("de_AT"), status);
    EXPECT_EQ(text(PLAIN, ""), "Plain text");
    EXPECT_EQ(text(PLAIN, "ko"), "Plain text");
    icu::Locale::setDefault(former, status);
}

TEST_F(MessageCatalogs, TakeLocaleNamesOfAnyBytes)
{
    for (const std::string& locale :
         {std::string(10240, 'd'), std::string("\xff\xfe\0\x01", 4), std::string("../pdktest/de"), std::string("%s%n"),
          std::string(10240, '_'), std::string("de_") + std::string(10240, 'A')}) {
        EXPECT_EQ(text(PLAIN, locale), "Plain text");
    }
}

TEST_F(MessageCatalogs, ShowKeyAndArgumentsOfAnUnknownMessage)
{
    EXPECT_EQ(text("NO_SUCH", "de"), "NO_SUCH");
    EXPECT_EQ(text("NO_SUCH", "de", {"a", "b"}), "NO_SUCH a b");
    EXPECT_EQ(text("NOT_A_TEXT", ""), "NOT_A_TEXT");
    EXPECT_EQ(text("NOT_A_TEXT/inner", ""), "NOT_A_TEXT/inner");
    EXPECT_EQ(text("", ""), "");
    EXPECT_EQ(text(PLAIN, "de", {"a"}, "elsewhere"), "MSG_ERROR_PDKTEST_0001 a");
}

TEST_F(MessageCatalogs, ShowAMalformedPatternWithItsArguments)
{
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0004", "de", {"a"}), "Left open {0 a");
    EXPECT_EQ(text("MSG_ERROR_PDKTEST_0005", "de", {"a"}), "{0,number,integer} of them a");
}

TEST_F(MessageCatalogs, MakeMessagesFromRecords)
{
    std::string catalog = COMPONENT;
    std::string id = PLAIN;
    std::string argument = "a";
    char* arguments[] = {argument.data(), nullptr};
    obz_msg_info info = {catalog.data(), id.data(), nullptr, 7, OBZ_SEV_WARNING, arguments, 2};
    const CFiMessagePtr message = m_manager.allocateMessage(&info);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->getMessageId(), PLAIN);
    EXPECT_EQ(message->getFileName(), "");
    EXPECT_EQ(message->getLineNumber(), 7);
    EXPECT_EQ(message->getSeverity(), OBZ_SEV_WARNING);
    EXPECT_EQ(message->getArguments(), (std::vector<std::string>{"a", ""}));
}

TEST_F(MessageCatalogs, MakeMessagesFromRecordsThatHoldNonsense)
{
    std::string catalog = COMPONENT;
    obz_msg_info info = {catalog.data(), nullptr, nullptr, -1, 4711, nullptr, 3};
    CFiMessagePtr message = m_manager.allocateMessage(&info);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->getMessageId(), "");
    EXPECT_EQ(message->getSeverity(), OBZ_SEV_ERROR);
    EXPECT_TRUE(message->getArguments().empty());

    char* arguments[] = {catalog.data()};
    info.arguments = arguments;
    info.argument_count = -1;
    info.severity = OBZ_SEV_INFO;
    message = m_manager.allocateMessage(&info);
    EXPECT_TRUE(message->getArguments().empty());
    EXPECT_EQ(message->getSeverity(), OBZ_SEV_INFO);
}

TEST_F(MessageCatalogs, MakeNoMessageWithoutAFactory)
{
    std::string catalog = "elsewhere";
    obz_msg_info info = {};
    EXPECT_FALSE(m_manager.allocateMessage(&info));
    info.catalog = catalog.data();
    EXPECT_FALSE(m_manager.allocateMessage(&info));
    EXPECT_FALSE(m_manager.allocateMessage(nullptr));
}

TEST_F(MessageCatalogs, KeepTheNativeLanguage)
{
    EXPECT_EQ(m_manager.getNativeLanguage(), "");
    m_manager.setNativeLanguage("de_DE.UTF-8");
    EXPECT_EQ(m_manager.getNativeLanguage(), "de_DE.UTF-8");
}

TEST_F(MessageCatalogs, ServeEightThreads)
{
    test::onEightThreads([this](int thread) {
        for (int i = 0; i < 50; ++i) {
            if (thread == 0) m_manager.setNativeLanguage("de");
            EXPECT_EQ(text(PLAIN, thread % 2 == 0 ? "de" : "fr"), thread % 2 == 0 ? "Einfacher Text" : "Plain text");
        }
    });
}

class CFixedCatalog : public CFiMessageCatalog
{
  public:
    bool getPattern(const std::string&, const std::string&, std::string& pattern) override
    {
        pattern = "fixed";
        return true;
    }
};

class CFixedFactory : public CFiIcuMessageCatalogFactory
{
  public:
    CFixedFactory() : CFiIcuMessageCatalogFactory("root", COMPONENT) {}
    CFiMessageCatalogPtr allocateCatalog(const char*) override { return CFiMessageCatalogPtr(new CFixedCatalog()); }
};

TEST_F(MessageCatalogs, ComeFromTheFactoryThatWasRegisteredLast)
{
    EXPECT_EQ(text(PLAIN, ""), "Plain text");
    m_manager.registerFactory(nullptr);
    EXPECT_EQ(text(PLAIN, ""), "Plain text");
    m_manager.registerFactory(CFiMessageCatalogFactoryPtr(new CFixedFactory()));
    EXPECT_EQ(text(PLAIN, ""), "fixed");
}

TEST(IcuCatalogFactory, GivesNoCatalogWithoutARootBundle)
{
    CFiIcuMessageCatalogFactory factory("root", COMPONENT);
    EXPECT_TRUE(factory.allocateCatalog(COMPONENT));
    EXPECT_FALSE(factory.allocateCatalog(nullptr));
    EXPECT_FALSE(factory.allocateCatalog(""));
    EXPECT_FALSE(factory.allocateCatalog("no_such_component"));
    EXPECT_FALSE(factory.allocateCatalog("pdktest_malformed"));  // a folder without bundles
    EXPECT_FALSE(factory.allocateCatalog("../catalogs/pdktest"));
    EXPECT_FALSE(factory.allocateCatalog(std::string(10240, 'x').c_str()));
    EXPECT_FALSE(CFiIcuMessageCatalogFactory("absent", COMPONENT).allocateCatalog(COMPONENT));
}

TEST(IcuCatalogFactory, MakesNoMessageOfNothing)
{
    EXPECT_FALSE(CFiIcuMessageCatalogFactory("root", COMPONENT).allocateMessage(nullptr));
}

}  // namespace
}  // namespace obzx_pdk_4_4
