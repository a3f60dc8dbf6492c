#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

constexpr std::string_view LOWER_DIGITS = "0123456789abcdef";

/// Bytes of the character at the front of a text that is not empty; 0 when it is a control character or no UTF-8.
size_t plainLength(std::string_view text);
/// Control characters may be in it.
bool isUtf8(std::string_view text);
/// Valid UTF-8 without control characters: none below U+0020, and none from U+007F to U+009F.
bool isPlainText(std::string_view text);
/// The text fit for a message: control characters and bytes that are not UTF-8 as \xNN, with these digits.
std::string printable(std::string_view text, std::string_view digits = LOWER_DIGITS);
/// The text with bytes that are not UTF-8 as \xNN; control characters stay.
std::string asUtf8(std::string_view text);

}  // namespace base
