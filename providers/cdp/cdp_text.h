#pragma once

#include <initializer_list>
#include <string_view>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// The bytes of a text; valid as long as the text is.
inline std::string_view bytesOf(const CString& text)
{
    return {text.fast_rep(), text.length()};
}

/// @throw std::bad_alloc; the text class itself would leave the text empty without a word
CString textOf(std::string_view bytes);

/// The pieces one after the other.
CString join(std::initializer_list<std::string_view> pieces);

/// Copies a text into a field. @throw std::bad_alloc
void assign(CString& field, const CString& value);

inline bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

/// What follows the first characters of a text; empty when there is nothing after them.
CString restFrom(const CString& text, size_t offset);

}  // namespace cdpfi
