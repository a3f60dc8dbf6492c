#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace obzx_pdk_4_4 {

/// How much of a text is kept when it may have so many bytes: as many, but for a character of UTF-8 that would be torn.
size_t boundedLength(std::string_view text, size_t most);

/// Cuts a text after so many bytes and says behind them how many more there were: " ... [17 bytes more]".
/// @param missing bytes that belonged to the text and are not in it
void boundText(std::string& text, size_t most, size_t missing = 0);

}  // namespace obzx_pdk_4_4
