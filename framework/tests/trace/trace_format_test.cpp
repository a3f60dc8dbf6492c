#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "framework/include/cfitrace.h"

namespace {

using namespace std::string_literals;
using obzx_pdk_4_4::CFiTraceArg;
using obzx_pdk_4_4::formatTrace;

template <class... Args>
std::string line(std::string_view format, const Args&... args)
{
    const std::vector<CFiTraceArg> list{CFiTraceArg(args)...};
    return formatTrace(format, list.data(), list.size());
}

enum EColour : int
{
    RED = 3
};

TEST(TraceFormat, CarriesOutTheUsualConversions)
{
    EXPECT_EQ(line("a %s b", "text"), "a text b");
    EXPECT_EQ(line("%d %i %u", -1, 2, 3u), "-1 2 3");
    EXPECT_EQ(line("[%5d|%-5d|%05d|%+d|% d]", 42, 42, 42, 42, 42), "[   42|42   |00042|+42| 42]");
    EXPECT_EQ(line("%.3d|%8.3d|%.0d|", 5, 5, 0), "005|     005||");
    EXPECT_EQ(line("%x %X %#x %o %#o %#x", 255, 255, 255, 8, 8, 0), "ff FF 0xff 10 010 0");
    EXPECT_EQ(line("%08x|%#X", 0xbeef, 0xbeef), "0000beef|0XBEEF");
    EXPECT_EQ(line("[%10s|%-10s|%.2s|%5.1s]", "text", "text", "text", "text"), "[      text|text      |te|    t]");
    EXPECT_EQ(line("%c%c", 'a', 98), "ab");
    EXPECT_EQ(line("%f %.2f %e %g %G", 1.5, 1.005, 12345.678, 0.0001, 1e-10),
              "1.500000 1.00 1.234568e+04 0.0001 1E-10");
    EXPECT_EQ(line("%8.3f|%-8.1f|%08.2f|%+.1f", -1.5, 1.5, -1.5, 1.5), "  -1.500|1.5     |-0001.50|+1.5");
    EXPECT_EQ(line("100%% %d%%", 5), "100% 5%");
    EXPECT_EQ(line("%p", static_cast<const void*>(nullptr)), "(nil)");
    EXPECT_EQ(line("%p", reinterpret_cast<const void*>(0x1234)), "0x1234");
}

TEST(TraceFormat, TakesIntegersOfEveryWidthAtTheirValue)
{
    EXPECT_EQ(line("%ld %lld %zu %hhd %jd", LONG_MIN, LLONG_MAX, SIZE_MAX, 300, 7),
              "-9223372036854775808 9223372036854775807 18446744073709551615 300 7");
    EXPECT_EQ(line("%x %x %x", -1, static_cast<short>(-1), int64_t{-1}), "ffffffff ffff ffffffffffffffff");
    EXPECT_EQ(line("%u", -1), "4294967295");
    EXPECT_EQ(line("%d %d %d", size_t{3}, true, RED), "3 1 3");
}

TEST(TraceFormat, TakesEveryKindOfText)
{
    const char* none = nullptr;
    EXPECT_EQ(line("%s %s %s %s", "a", "b"s, std::string_view("c"), ACE_String_Base<char>("d")), "a b c d");
    EXPECT_EQ(line("%s", none), "(null)");
    EXPECT_EQ(line("[%s]", ACE_String_Base<char>()), "[]");
}

TEST(TraceFormat, ConversionWithoutAnArgumentStandsAsItIs)
{
    EXPECT_EQ(line("%s"), "%s");
    EXPECT_EQ(line("%d and %-5.2s", 1), "1 and %-5.2s");
    EXPECT_EQ(line("%*d", 5), "%*d");
    EXPECT_EQ(line("%*d %d", 5), "%*d 5");
    EXPECT_EQ(line("%.*s", 2), "%.*s");
}

TEST(TraceFormat, IncompleteConversionStandsAsItIs)
{
    EXPECT_EQ(line("failed with error [%l].", "argument"), "failed with error [%l].");
    EXPECT_EQ(line("Command [%s] failed with error [%l].", "tool"), "Command [tool] failed with error [%l].");
    EXPECT_EQ(line("%l%d", 1), "%l1");
    EXPECT_EQ(line("%", 1), "%");
    EXPECT_EQ(line("a %5", 1), "a %5");
    EXPECT_EQ(line("%-08.3", 1), "%-08.3");
    EXPECT_EQ(line("%n %k %d", 1), "%n %k 1");
    EXPECT_EQ(line("%5 d|%d", 1), "%5 d|1");
    EXPECT_EQ(line("%-%|%d", 1), "%-%|1");
    EXPECT_EQ(line("%\xff%d", 1),
              "%\xff"
              "1");
    EXPECT_EQ(line("%*k %d", 1), "%*k 1");
}

TEST(TraceFormat, ArgumentOfAnotherKindIsWrittenInItsOwnForm)
{
    EXPECT_EQ(line("%s", 42), "42");
    EXPECT_EQ(line("[%6s|%-6s]", 42, -42), "[    42|-42   ]");
    EXPECT_EQ(line("%d", "text"), "text");
    EXPECT_EQ(line("%x %c %f", "a", "bc", "d"), "a bc d");
    EXPECT_EQ(line("%s %d", 1.5, 2.5), "1.5 2.5");
    EXPECT_EQ(line("%f", 3), "3");
    EXPECT_EQ(line("%p", 3), "3");
    EXPECT_EQ(line("%d %s", reinterpret_cast<const void*>(0x10), reinterpret_cast<const void*>(0x20)), "0x10 0x20");
    EXPECT_EQ(line("%c", 1.5), "1.5");
    EXPECT_EQ(line("%s", SIZE_MAX), "18446744073709551615");
}

TEST(TraceFormat, StarTakesAnArgument)
{
    EXPECT_EQ(line("[%*d|%-*d|%*d]", 4, 1, 4, 2, -4, 3), "[   1|2   |3   ]");
    EXPECT_EQ(line("%.*s|%.*s", 2, "text", -1, "text"), "te|text");
    EXPECT_EQ(line("%*.*f", 8, 2, 1.5), "    1.50");
    EXPECT_EQ(line("%*d", 4u, 1), "   1");
    EXPECT_EQ(line("%*d", "wide", 1), "1");
}

TEST(TraceFormat, NobodyCanAskForGigabytes)
{
    EXPECT_EQ(line("%2000000000d", 1).size(), 4096u);
    EXPECT_EQ(line("%.2000000000d", 1).size(), 4096u);
    EXPECT_EQ(line("%99999999999999999999999s", "x").size(), 4096u);
    EXPECT_EQ(line("%.2000000000f", 1.5).size(), 4098u);
    EXPECT_EQ(line("%.2000000000e", 1.5).size(), 4102u);
    EXPECT_EQ(line("%*d", INT64_MAX, 1).size(), 4096u);
    EXPECT_EQ(line("%*d", INT64_MIN, 1).size(), 4096u);
    EXPECT_EQ(line("%*d", SIZE_MAX, 1).size(), 4096u);
    EXPECT_EQ(line("%.*f", INT_MAX, 1e308).size(), 309u + 1u + 4096u);
}

TEST(TraceFormat, LongTextIsWrittenWhole)
{
    const std::string text(1024 * 1024, 'x');
    EXPECT_EQ(line("[%s]", text), "[" + text + "]");
    EXPECT_EQ(line("%.5000s", text).size(), 5000u);
    EXPECT_EQ(line(text), text);
}

TEST(TraceFormat, LineIsCutWhereItMayNotBeLongerAndSaysHowMuchIsMissing)
{
    const auto cut = [](size_t most, std::string_view format, const auto&... args) {
        const std::vector<CFiTraceArg> list{CFiTraceArg(args)...};
        return formatTrace(format, list.data(), list.size(), most);
    };
    EXPECT_EQ(cut(5, "%s", "12345"), "12345");
    EXPECT_EQ(cut(5, "%s", "123456"), "12345 ... [1 bytes more]");
    EXPECT_EQ(cut(5, "123456789"), "12345 ... [4 bytes more]");
    EXPECT_EQ(cut(5, "a%sb%dc", "123456789", 7), "a1234 ... [8 bytes more]");
    EXPECT_EQ(cut(5, "%.3s|%s", "123456789", "x"), "123|x");
    EXPECT_EQ(cut(5, "%.7s", "123456789"), "12345 ... [2 bytes more]");
    EXPECT_EQ(cut(5, "%d", "123456789"), "12345 ... [4 bytes more]");
    // No character is torn.
    EXPECT_EQ(cut(4, "%s", "a\xe2\x82\xac\xe2\x82\xac"), "a\xe2\x82\xac ... [3 bytes more]");
    EXPECT_EQ(cut(5, "%s", "a\xe2\x82\xac\xe2\x82\xac"), "a\xe2\x82\xac ... [3 bytes more]");
    EXPECT_EQ(cut(3, "%s", "\x80\x80\x80\x80\x80\x80"), "\x80\x80\x80 ... [3 bytes more]");
    EXPECT_EQ(cut(0, "%s", "x"), " ... [1 bytes more]");
}

TEST(TraceFormat, NulAndNewlineStayInTheText)
{
    EXPECT_EQ(line("a\0%s"s, "b\0\nc"s), "a\0b\0\nc"s);
}

TEST(TraceFormat, OddRealsHaveATextToo)
{
    EXPECT_EQ(line("%f %F %5g|%05f", HUGE_VAL, -HUGE_VAL, HUGE_VAL, HUGE_VAL), "inf -INF   inf|  inf");
    EXPECT_EQ(line("%.0f %g", 2.0, 1e300), "2 1e+300");
}

TEST(TraceFormat, SurplusArgumentsAreIgnored)
{
    EXPECT_EQ(line("%d", 1, 2, "three"), "1");
}

TEST(TraceFormat, ArgumentsThatAreNotThereAreNotRead)
{
    EXPECT_EQ(formatTrace("%s %d", nullptr, 2), "%s %d");
    EXPECT_EQ(formatTrace("", nullptr, 0), "");
}

}  // namespace
