#pragma once

#include <string>
#include <string_view>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The bytes of a text; valid as long as the text is.
inline std::string_view viewOf(const CString& text)
{
    return {text.fast_rep(), text.length()};
}

CString textOf(std::string_view bytes);

inline bool contains(const CString& text, const CString& part)
{
    return viewOf(text).find(viewOf(part)) != std::string_view::npos;
}

/// What follows the first characters of a text; empty when there is nothing after them.
CString restFrom(const CString& text, size_t offset);

}  // namespace cdpfi
