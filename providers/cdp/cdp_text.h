#pragma once

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The pieces one after the other. @throw std::bad_alloc
CString join(std::initializer_list<std::string_view> pieces);

inline bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

/// What follows the first characters of a text; empty when there is nothing after them.
inline std::string_view restFrom(std::string_view text, size_t offset)
{
    return text.substr(std::min(offset, text.size()));
}

}  // namespace cdpfi
