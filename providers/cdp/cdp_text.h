#pragma once

#include <initializer_list>
#include <string_view>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The pieces one after the other.
CString join(std::initializer_list<std::string_view> pieces);

inline bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

/// What follows the first characters of a text; empty when there is nothing after them.
CString restFrom(const CString& text, size_t offset);

}  // namespace cdpfi
