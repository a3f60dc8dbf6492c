#include "base/plain_text.h"

#include <algorithm>
#include <cstdint>

namespace base {

namespace {

bool isFollowing(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U;
}

struct SLead
{
    size_t length;
    uint32_t bits;
    uint32_t smallest;  // code points below are written with fewer bytes
};

SLead lead(unsigned char c)
{
    if (c < 0x80U) return {1, c, 0};
    if ((c & 0xe0U) == 0xc0U) return {2, c & 0x1fU, 0x80};
    if ((c & 0xf0U) == 0xe0U) return {3, c & 0x0fU, 0x800};
    if ((c & 0xf8U) == 0xf0U) return {4, c & 0x07U, 0x10000};
    return {0, 0, 0};
}

struct SCharacter
{
    size_t length = 0;  // 0: no UTF-8
    uint32_t code = 0;
};

SCharacter firstOf(std::string_view text)
{
    const SLead first = lead(static_cast<unsigned char>(text.front()));
    if (first.length == 0 || first.length > text.size()) return {};
    uint32_t code = first.bits;
    for (size_t i = 1; i < first.length; ++i) {
        if (!isFollowing(text[i])) return {};
        code = (code << 6U) | (static_cast<unsigned char>(text[i]) & 0x3fU);
    }
    const bool isOutside = code < first.smallest || code > 0x10ffff || (code >= 0xd800 && code < 0xe000);
    return isOutside ? SCharacter{} : SCharacter{first.length, code};
}

// Whether every character at the front of the rest has a length.
bool isAll(std::string_view text, size_t (*lengthOf)(std::string_view))
{
    while (true) {
        // Most characters are these, one byte each.
        const auto* const end = std::ranges::find_if(text, [](char c) { return c < ' ' || c > '~'; });
        text.remove_prefix(static_cast<size_t>(end - text.begin()));
        if (text.empty()) return true;
        const size_t length = lengthOf(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
}

size_t utf8Length(std::string_view text)
{
    return firstOf(text).length;
}

// The text with each byte at which none of these characters begins as \xNN.
std::string escaped(std::string_view text, size_t (*lengthOf)(std::string_view), std::string_view digits)
{
    std::string shown;
    while (!text.empty()) {
        const size_t length = lengthOf(text);
        if (length > 0) {
            shown += text.substr(0, length);
            text.remove_prefix(length);
            continue;
        }
        const auto byte = static_cast<unsigned char>(text.front());
        shown += "\\x";
        shown += digits[byte >> 4U];
        shown += digits[byte & 0x0fU];
        text.remove_prefix(1);
    }
    return shown;
}

}  // namespace

size_t plainLength(std::string_view text)
{
    const SCharacter first = firstOf(text);
    const bool isControl = first.code < 0x20 || (first.code >= 0x7f && first.code < 0xa0);
    return isControl ? 0 : first.length;
}

bool isUtf8(std::string_view text)
{
    return isAll(text, utf8Length);
}

bool isPlainText(std::string_view text)
{
    return isAll(text, plainLength);
}

std::string printable(std::string_view text, std::string_view digits)
{
    return escaped(text, plainLength, digits);
}

std::string asUtf8(std::string_view text)
{
    return escaped(text, utf8Length, LOWER_DIGITS);
}

}  // namespace base
