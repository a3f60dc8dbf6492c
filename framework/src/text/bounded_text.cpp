#include "framework/src/text/bounded_text.h"

namespace obzx_pdk_4_4 {

size_t boundedLength(std::string_view text, size_t most)
{
    if (text.size() <= most) return text.size();
    constexpr size_t MOST_FOLLOWING = 3;
    const auto isFollowing = [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; };
    for (size_t length = most; length + MOST_FOLLOWING >= most; --length) {
        if (!isFollowing(text[length])) return length;
        if (length == 0) break;
    }
    return most;  // no UTF-8
}

void boundText(std::string& text, size_t most, size_t missing)
{
    if (text.size() <= most && missing == 0) return;
    const size_t length = boundedLength(text, most);
    missing += text.size() - length;
    text.resize(length);
    text.append(" ... [").append(std::to_string(missing)).append(" bytes more]");
}

}  // namespace obzx_pdk_4_4
