#include "host/src/report/markup.h"

#include <array>
#include <charconv>
#include <cstdint>

#include "host/src/bundle/digest.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

const char* entityOf(char character)
{
    switch (character) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return nullptr;
    }
}

// RFC 4648 of bytes that are given in hexadecimal digits.
std::string base64Of(std::string_view hexadecimal)
{
    constexpr std::string_view DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    uint32_t bits = 0;
    unsigned count = 0;
    for (const char character : hexadecimal) {
        bits = (bits << 4U) | static_cast<uint32_t>(base::LOWER_DIGITS.find(character));
        count += 4;
        if (count < 6) continue;
        count -= 6;
        text += DIGITS[(bits >> count) & 0x3fU];
    }
    if (count > 0) text += DIGITS[(bits << (6 - count)) & 0x3fU];
    while (text.size() % 4 != 0) {
        text += '=';
    }
    return text;
}

}  // namespace

std::string escaped(std::string_view text)
{
    std::string markup;
    for (const char character : printable(text)) {
        if (const char* const entity = entityOf(character)) {
            markup += entity;
        } else {
            markup += character;
        }
    }
    return markup;
}

std::string isolated(std::string_view name)
{
    return "<bdi>" + escaped(name) + "</bdi>";
}

std::string percent(double part)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), 100 * part, std::chars_format::fixed, 2).ptr;
    return std::string(text.data(), end) + "%";
}

std::string policySource(std::string_view bytes)
{
    const std::string digest = sha256Of(bytes);
    if (digest.empty()) throw EFictl(EExit::INTERNAL, "no digest of the page's own parts can be had");
    return "'sha256-" + base64Of(digest) + "'";
}

}  // namespace fictl
