#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace obzx_pdk_4_4 {

template <size_t N>
size_t countLineEndsOf(const char* characters)
{
    uint8_t count = 0;
    for (size_t i = 0; i < N; ++i) {
        count = static_cast<uint8_t>(count + (characters[i] == '\n' ? 1 : 0));
    }
    return count;
}

/// Counted in parts of a fixed size without branches, which compilers turn into vector instructions.
inline size_t countLineEnds(std::string_view text)
{
    constexpr size_t PART = 128;
    size_t count = 0;
    size_t i = 0;
    for (; i + PART <= text.size(); i += PART) {
        count += countLineEndsOf<PART>(&text[i]);
    }
    for (; i < text.size(); ++i) {
        count += countLineEndsOf<1>(&text[i]);
    }
    return count;
}

}  // namespace obzx_pdk_4_4
