#include "host/src/text/display_text.h"

#include <sys/ioctl.h>
#include <unicode/coll.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace fictl {

namespace {

constexpr UChar32 JOINER = 0x200d;
constexpr UChar32 AS_EMOJI = 0xfe0f;

bool isMark(UChar32 code)
{
    const auto category = static_cast<UCharCategory>(u_charType(code));
    const bool isVowelOfHangul = u_getIntPropertyValue(code, UCHAR_HANGUL_SYLLABLE_TYPE) == U_HST_VOWEL_JAMO ||
                                 u_getIntPropertyValue(code, UCHAR_HANGUL_SYLLABLE_TYPE) == U_HST_TRAILING_JAMO;
    return category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR ||
           isVowelOfHangul;
}

size_t widthOf(UChar32 code)
{
    const int width = u_getIntPropertyValue(code, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

/// Walks over a text in steps of what a terminal shows in one place: a character with what modifies it.
class CPlaces
{
  public:
    explicit CPlaces(std::string_view text)
        : m_bytes(reinterpret_cast<const uint8_t*>(text.data())), m_length(static_cast<int32_t>(text.size()))
    {
    }

    bool atEnd() const { return m_at >= m_length; }
    size_t at() const { return static_cast<size_t>(m_at); }

    /// Goes on by one place and returns its width.
    size_t next()
    {
        const UChar32 first = take();
        size_t width = isMark(first) ? 0 : widthOf(first);
        bool isJoined = false;
        while (!atEnd()) {
            const int32_t before = m_at;
            const UChar32 code = take();
            const bool isModifier = u_hasBinaryProperty(code, UCHAR_EMOJI_MODIFIER) != 0 && width == 2;
            const bool isPart = isJoined && u_hasBinaryProperty(code, UCHAR_EXTENDED_PICTOGRAPHIC) != 0;
            if (!isMark(code) && !isModifier && !isPart) {
                m_at = before;
                break;
            }
            if (code == AS_EMOJI && u_hasBinaryProperty(first, UCHAR_EMOJI) != 0) width = 2;
            isJoined = code == JOINER;
        }
        return width;
    }

  private:
    UChar32 take()
    {
        UChar32 code = 0;
        U8_NEXT_OR_FFFD(m_bytes, m_at, m_length, code);
        return code;
    }

    const uint8_t* m_bytes;
    int32_t m_length;
    int32_t m_at = 0;
};

// The root collation, the same on every host, with runs of digits compared by their value; null without its data.
std::unique_ptr<icu::Collator> makeCollator()
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    if (collator != nullptr) collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    if (U_FAILURE(status)) collator.reset();
    return collator;
}

const icu::Collator* nameCollator()
{
    static const std::unique_ptr<icu::Collator> collator = makeCollator();
    return collator.get();
}

icu::StringPiece pieceOf(std::string_view text)
{
    return {text.data(), static_cast<int32_t>(text.size())};
}

int collate(std::string_view a, std::string_view b)
{
    const icu::Collator* const collator = nameCollator();
    if (collator == nullptr) return 0;
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult result = collator->compareUTF8(pieceOf(a), pieceOf(b), status);
    return U_FAILURE(status) ? 0 : static_cast<int>(result);
}

// Ends with a zero byte, as the collator makes it, and holds no other one; empty without the collator's data.
std::string collationKey(std::string_view text)
{
    const icu::Collator* const collator = nameCollator();
    if (collator == nullptr) return {};
    const icu::UnicodeString characters = icu::UnicodeString::fromUTF8(pieceOf(text));
    std::string key(64, '\0');
    const auto make = [&] {
        return static_cast<size_t>(
            collator->getSortKey(characters, reinterpret_cast<uint8_t*>(key.data()), static_cast<int32_t>(key.size())));
    };
    const size_t size = make();
    const bool isWhole = size <= key.size();
    key.resize(size);
    if (!isWhole) make();
    return key;
}

}  // namespace

size_t displayWidth(std::string_view text)
{
    // Most texts are plain ones, for which asking what each character is would take most of the time of a long table.
    if (std::ranges::all_of(text, [](char character) { return character >= ' ' && character <= '~'; })) {
        return text.size();
    }
    size_t width = 0;
    for (CPlaces places(text); !places.atEnd();) {
        width += places.next();
    }
    return width;
}

std::string cutToWidth(const std::string& text, size_t width)
{
    if (displayWidth(text) <= width) return text;
    if (width == 0) return {};
    CPlaces places(text);
    size_t fits = 0;
    for (size_t used = places.next(); used < width; used += places.next()) {
        fits = places.at();
    }
    return text.substr(0, fits) + "…";
}

size_t outputWidth()
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool SNameOrder::operator()(std::string_view a, std::string_view b) const
{
    const int order = collate(a, b);
    return order != 0 ? order < 0 : a < b;
}

std::string nameOrderKey(std::string_view text)
{
    return collationKey(text).append(text);
}

}  // namespace fictl
