#include "providers/cdp/cdp_state_text.h"

#include <gtest/gtest.h>

#include <string>

namespace cdpfi {

namespace {

constexpr uint32_t MISSING = 0xFFFFFFFFu;
constexpr size_t OPEN = 10;  // length of <SerialNo>

std::string read(const std::string& text)
{
    return std::string(taggedValue(text, findTags(text, "<SerialNo>", "</SerialNo>"), OPEN));
}

}  // namespace

TEST(StateText, TagsAreFoundAtTheirFirstPlaceFromTheStartOfTheText)
{
    const STagPosition position = findTags("ab</SerialNo><SerialNo>1</SerialNo>", "<SerialNo>", "</SerialNo>");
    EXPECT_EQ(13u, position.m_open);
    EXPECT_EQ(2u, position.m_close);
    EXPECT_EQ(MISSING, findTags("ab", "<SerialNo>", "</SerialNo>").m_open);
    EXPECT_EQ(MISSING, findTags("ab", "<SerialNo>", "</SerialNo>").m_close);
}

// Worked out by hand: start = position of the open tag + 10, cut to 32 bits; a negative length reaches to the end.
TEST(StateText, EveryCombinationOfMissingTagsGivesTheWrappedArithmetic)
{
    struct SCase
    {
        const char* text;
        const char* value;
    };
    const SCase cases[] = {
        {"<SerialNo>42</SerialNo>", "42"},
        {"<SerialNo></SerialNo>", ""},
        {"<SerialNo>42", "42"},  // no close tag: the rest
        {"<SerialNo>", ""},      // start at the end
        {"0123456789", "9"},     // neither: from 10 - 1 on
        {"012345678", ""},       // neither, the start is the end
        {"01234567", ""},        // neither, the start is past the end
        {"", ""},
        {"0123456789ab</SerialNo>tail", "9ab"},  // only the close tag: 9 up to its position
        {"012345678</SerialNo>", ""},            // close tag exactly at the start: length 0
        {"01</SerialNo>tail", "lNo>tail"},       // close tag before the start: the rest
        {"</SerialNo><SerialNo>42", "42"},       // close before open: the rest
        {"</SerialNo><SerialNo>42</SerialNo>", "42</SerialNo>"},
    };
    for (const SCase& one : cases) {
        EXPECT_EQ(one.value, read(one.text)) << one.text;
    }
}

TEST(StateText, ATaggedValueEndsInTheNameBeforeTheSlash)
{
    EXPECT_EQ(CString("<SerialNo>42<SerialNo/>"), createXmlTag("SerialNo", "42"));
    EXPECT_EQ(CString("42"), getXmlTagValue(createXmlTag("SerialNo", "42"), "SerialNo"));
    EXPECT_EQ(CString(""), getXmlTagValue(createXmlTag("SerialNo", ""), "SerialNo"));
}

TEST(StateText, ASlashBeforeTheNameDoesNotCloseATaggedValue)
{
    EXPECT_EQ(CString("42</SerialNo>"), getXmlTagValue("<SerialNo>42</SerialNo>", "SerialNo"));
}

TEST(StateText, TheFirstOfSeveralValuesIsRead)
{
    EXPECT_EQ(CString("1"), getXmlTagValue(createXmlTag("A", "1") + createXmlTag("A", "2"), "A"));
}

}  // namespace cdpfi
