// What a text is made of, and how the rest of it is shown.
#include "base/plain_text.h"

#include <gtest/gtest.h>

namespace base {

TEST(PlainText, IsUtf8WithoutControlCharacters)
{
    EXPECT_TRUE(isPlainText(""));
    EXPECT_TRUE(isPlainText("/dev/\xc3\xa4"));
    for (const char* const text : {"a\nb", "\xc2\x85", "\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xff"}) {
        EXPECT_FALSE(isPlainText(text)) << printable(text);
    }
}

TEST(PlainText, AsUtf8KeepsAllThatIs)
{
    EXPECT_EQ(base::asUtf8("a\n\xff\xc3\xa4\xc3"), "a\n\\xff\xc3\xa4\\xc3");
}

TEST(PlainText, MayBeUtf8WithControlCharacters)
{
    for (const char* const text : {"", "a\nb", "\xc2\x85", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_TRUE(isUtf8(text)) << printable(text);
    }
    for (const char* const text : {"\xc3", "a\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xff", "\xf4\x90\x80\x80"}) {
        EXPECT_FALSE(isUtf8(text)) << printable(text);
    }
}

TEST(PlainText, IsWhatIsLeftOfAnother)
{
    EXPECT_EQ(printable("a\x1b[31m\xff\xc3\xa4"), "a\\x1b[31m\\xff\xc3\xa4");
    EXPECT_EQ(printable("\x1b\xff", "0123456789ABCDEF"), "\\x1B\\xFF");
    EXPECT_TRUE(isPlainText(printable("a\nb\xff\xc2\x85")));
}

}  // namespace base
