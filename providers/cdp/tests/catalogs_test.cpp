#include <iterator>
#include <regex>
#include <set>

#include "base/tests/text_file.h"
#include "providers/cdp/cdp_messages.h"
#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiContextSingleton;
using obzx_pdk_4_4::CFiIcuMessage;
using obzx_pdk_4_4::CFiMessageCatalogManager;

constexpr const char* LOCALES[] = {"root", "de", "fr", "ja"};
constexpr const char* KEYS[] = {message::INITIALIZATION_FAILED, message::INITIALIZATION_CAUSE,
                                message::NO_APPLIANCE_CONFIGURED, message::TOOL_NOT_USABLE,
                                message::DISK_LISTING_FAILED};

std::set<std::string> keysOf(const std::string& locale)
{
    const std::string text = base_test::contentOf(std::string(CATALOG_DIR) + "/" + locale + ".txt");
    const std::regex key(R"((MSG_\w+) \{)");
    std::set<std::string> keys;
    for (std::sregex_iterator found(text.begin(), text.end(), key), end; found != end; ++found) {
        keys.insert((*found)[1]);
    }
    return keys;
}

std::string textOf(const char* key, const std::string& locale)
{
    CFiMessageCatalogManager catalogs;
    catalogs.registerFactory(newCatalogFactory());
    const CFiIcuMessage message("cdpfi", key, {"FIRST", "SECOND"}, "", 1, OBZ_SEV_ERROR);
    return catalogs.getLocalizedMessage(message, locale);
}

}  // namespace

TEST(Catalogs, EveryLanguageHasEveryMessageAndNoOther)
{
    const std::set<std::string> expected(std::begin(KEYS), std::end(KEYS));
    for (const char* locale : LOCALES) {
        EXPECT_EQ(expected, keysOf(locale)) << locale;
    }
}

TEST(Catalogs, NoTwoLanguagesTellAMessageInTheSameWords)
{
    for (const char* key : KEYS) {
        std::set<std::string> texts;
        for (const char* locale : {"", "de", "fr", "ja"}) {
            texts.insert(textOf(key, locale));
        }
        EXPECT_EQ(4u, texts.size()) << key;
    }
}

TEST(Catalogs, EveryArgumentIsNamedInEveryLanguage)
{
    for (const char* locale : {"", "de_AT", "fr_CA", "ja_JP"}) {
        EXPECT_NE(std::string::npos, textOf(message::INITIALIZATION_CAUSE, locale).find("FIRST")) << locale;
        EXPECT_NE(std::string::npos, textOf(message::NO_APPLIANCE_CONFIGURED, locale).find("FIRST")) << locale;
        for (const char* key : {message::TOOL_NOT_USABLE, message::DISK_LISTING_FAILED}) {
            EXPECT_NE(std::string::npos, textOf(key, locale).find("FIRST")) << key << locale;
            EXPECT_NE(std::string::npos, textOf(key, locale).find("SECOND")) << key << locale;
        }
    }
}

TEST(Catalogs, EveryMessageSaysWhatHappenedAndInASecondSentenceWhatToDo)
{
    for (const char* key : KEYS) {
        for (const char* locale : {"", "de", "fr"}) {
            EXPECT_NE(std::string::npos, textOf(key, locale).find(". ")) << key << locale;
        }
        const std::string japanese = textOf(key, "ja");
        EXPECT_NE(japanese.find("。"), japanese.rfind("。")) << key;
    }
}

TEST(Catalogs, AnUnknownLanguageGetsTheEnglishText)
{
    EXPECT_EQ(textOf(message::INITIALIZATION_FAILED, ""), textOf(message::INITIALIZATION_FAILED, "sv"));
    EXPECT_EQ("The CDP provider could not be initialized. See the trace file of the provider for the reason.",
              textOf(message::INITIALIZATION_FAILED, ""));
}

}  // namespace cdpfi
