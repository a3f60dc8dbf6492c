#include "host/src/text/plain_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace fictl {

namespace {

bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isOneOf(char c, std::string_view set)
{
    return set.find(c) != std::string_view::npos;
}

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

// Bytes of the character at the front of the text; 0 when it is a control character or not UTF-8.
size_t plainLength(std::string_view text)
{
    const SLead first = lead(static_cast<unsigned char>(text.front()));
    if (first.length == 0 || first.length > text.size()) return 0;
    uint32_t code = first.bits;
    for (size_t i = 1; i < first.length; ++i) {
        if (!isFollowing(text[i])) return 0;
        code = (code << 6U) | (static_cast<unsigned char>(text[i]) & 0x3fU);
    }
    const bool isControl = code < 0x20 || (code >= 0x7f && code < 0xa0);
    const bool isOutside = code < first.smallest || code > 0x10ffff || (code >= 0xd800 && code < 0xe000);
    return isControl || isOutside ? 0 : first.length;
}

}  // namespace

bool isSnapshotName(std::string_view name)
{
    constexpr size_t LONGEST = 128;
    return !name.empty() && name.size() <= LONGEST && !isOneOf(name.front(), "-.") &&
           std::all_of(name.begin(), name.end(), [](char c) { return isAlphanumeric(c) || isOneOf(c, "._:+@-"); });
}

bool isProviderName(std::string_view name)
{
    constexpr size_t LONGEST = 64;
    return !name.empty() && name.size() <= LONGEST && !(name.front() >= '0' && name.front() <= '9') &&
           std::all_of(name.begin(), name.end(), [](char c) { return isAlphanumeric(c) || c == '_'; });
}

bool isPlainText(std::string_view text)
{
    while (!text.empty()) {
        const size_t length = plainLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string printable(std::string_view text)
{
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string shown;
    while (!text.empty()) {
        const size_t length = plainLength(text);
        if (length > 0) {
            shown += text.substr(0, length);
            text.remove_prefix(length);
            continue;
        }
        const auto byte = static_cast<unsigned char>(text.front());
        shown += "\\x";
        shown += DIGITS[byte >> 4U];
        shown += DIGITS[byte & 0x0fU];
        text.remove_prefix(1);
    }
    return shown;
}

std::string counted(size_t number, const std::string& noun)
{
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

std::string secondsText(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

}  // namespace fictl
