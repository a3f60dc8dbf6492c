#pragma once

#include <cstring>
#include <string_view>

#include "framework/include/obzx_runtime.h"

namespace obzx_pdk_4_4 {

/// A NUL-terminated copy of a text in a buffer of the interface; null when there is no memory.
inline char* copyText(std::string_view text)
{
    char* copy = static_cast<char*>(obzx_alloc_buf(text.size() + 1));
    if (copy != nullptr && !text.empty()) std::memcpy(copy, text.data(), text.size());
    return copy;
}

/// The same for a C text; null stays null.
inline char* copyText(const char* text)
{
    return text == nullptr ? nullptr : copyText(std::string_view(text));
}

}  // namespace obzx_pdk_4_4
