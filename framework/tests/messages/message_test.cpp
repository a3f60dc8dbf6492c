#include "framework/include/cfimessage.h"

#include <gtest/gtest.h>

#include <climits>

namespace obzx_pdk_4_4 {
namespace {

std::string formatted(const std::string& pattern, const std::vector<std::string>& arguments,
                      const std::string& locale = "")
{
    return CFiIcuMessage("c", "ID", arguments, "f", 1, OBZ_SEV_ERROR).format(pattern, locale);
}

TEST(MessageId, IsTheCodeAboveTheOffsetWithFourDigits)
{
    EXPECT_EQ(CFiError(6012, "").getMessageId("cdpfi", 6000), "MSG_ERROR_CDPFI_0012");
    EXPECT_EQ(CFiError(12, "").getMessageId("cdpfi", 6000), "MSG_ERROR_CDPFI_0012");
    EXPECT_EQ(CFiError(6001, "").getMessageId("cdpfi", 6000), "MSG_ERROR_CDPFI_0001");
    EXPECT_EQ(CFiError(6000, "").getMessageId("cdpfi", 6000), "MSG_ERROR_CDPFI_6000");
    EXPECT_EQ(CFiError(26000, "").getMessageId("cdpfi", 6000), "MSG_ERROR_CDPFI_20000");
}

TEST(MessageId, TakesEveryCodeAndOffset)
{
    EXPECT_EQ(CFiError(-5, "").getMessageId("a", 0), "MSG_ERROR_A_-005");
    EXPECT_EQ(CFiError(INT_MAX, "").getMessageId("a", INT_MIN), "MSG_ERROR_A_4294967295");
    EXPECT_EQ(CFiError(INT_MIN, "").getMessageId("", INT_MAX), "MSG_ERROR__-2147483648");
}

TEST(Error, CarriesItsCodeAndText)
{
    const CFiError error(6012, "no appliance");
    EXPECT_EQ(error.getCode(), 6012);
    EXPECT_STREQ(error.what(), "no appliance");
}

TEST(Message, KeepsWhatItIsMadeOf)
{
    const CFiMessage message("cdpfi", "ID", {"a", "b"}, "file.cpp", 12, OBZ_SEV_WARNING);
    EXPECT_EQ(message.getCatalog(), "cdpfi");
    EXPECT_EQ(message.getMessageId(), "ID");
    EXPECT_EQ(message.getArguments(), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(message.getFileName(), "file.cpp");
    EXPECT_EQ(message.getLineNumber(), 12);
    EXPECT_EQ(message.getSeverity(), OBZ_SEV_WARNING);
    EXPECT_EQ(message.format("{0}", "de"), "{0}");
}

TEST(IcuMessage, FillsThePlacesOfThePattern)
{
    EXPECT_EQ(formatted("Cannot open {0}: {1}", {"/dev/sdb", "denied"}), "Cannot open /dev/sdb: denied");
    EXPECT_EQ(formatted("{1} {0} {1}", {"a", "b"}, "de_DE"), "b a b");
    EXPECT_EQ(formatted("l'appliance {0}", {"x"}), "l'appliance x");
    EXPECT_EQ(formatted("größer als {0}", {"日本"}, "ja"), "größer als 日本");
}

TEST(IcuMessage, LeavesPlacesWithoutAnArgument)
{
    EXPECT_EQ(formatted("{0} and {3}", {"a"}), "a and {3}");
    EXPECT_EQ(formatted("no place", {"a"}), "no place");
    EXPECT_EQ(formatted("", {}), "");
}

TEST(IcuMessage, ShowsAPatternThatIsNoneAsItStands)
{
    EXPECT_EQ(formatted("Left open {0", {"a", "b"}), "Left open {0 a b");
    EXPECT_EQ(formatted("{0,nonsense}", {"a"}), "{0,nonsense} a");
    EXPECT_EQ(formatted("{0,number,integer} of them", {"a"}), "{0,number,integer} of them a");
    EXPECT_EQ(formatted("{99999999999999999999}", {}), "{99999999999999999999}");
}

TEST(IcuMessage, TakesAnyLocaleName)
{
    for (const std::string& locale : {std::string("../.."), std::string(10240, 'x'), std::string("\xff\0\x01", 3),
                                      std::string("de_DE@calendar=;;;"), std::string("C")}) {
        EXPECT_EQ(formatted("{0}!", {"a"}, locale), "a!");
    }
}

TEST(IcuMessage, TakesArgumentsOfAnyBytes)
{
    EXPECT_EQ(formatted("{0}", {"a\xff"}), "a\xef\xbf\xbd");  // a byte that is no character shows as the replacement
    EXPECT_EQ(formatted("{0}", {std::string("a\0b", 3)}), std::string("a\0b", 3));
    EXPECT_EQ(formatted("{0}", {std::string(1 << 20, 'x')}).size(), size_t{1} << 20);
    EXPECT_EQ(formatted("{0}", {"{1}'{0}'"}), "{1}'{0}'");
}

TEST(Message, ArgumentOfMoreThanAMebibyteIsCut)
{
    const std::string longest(1 << 20, 'x');
    const CFiMessage message("c", "ID", {longest, longest + "yz", ""}, "f", 1, OBZ_SEV_ERROR);
    EXPECT_EQ(message.getArguments(), (std::vector<std::string>{longest, longest + " ... [2 bytes more]", ""}));
}

}  // namespace
}  // namespace obzx_pdk_4_4
