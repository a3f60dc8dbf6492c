#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/shell/script_lines.h"

namespace lumora {

/// A pattern is a line of a script as the shell's help shows it, `set preserve mode no|yes`. Its words stand for
/// themselves, without quotes, except for those that take a value:
///
///   "T"      a name in double quotes
///   WORD     any one word, quoted or not; so does every other word in capitals
///   N        a number of seconds, quoted or not
///   no|yes   one of the words, without quotes

/// The values that a line has in the places of the pattern, in its order; nothing when the line is of another form.
/// Throws status malformed when only a number is none.
std::optional<std::vector<std::string>> matchLine(std::string_view pattern, const SScriptLine& line);

/// The line that has these values in the places of the pattern: the inverse of matchLine.
std::string fillIn(std::string_view pattern, const std::vector<std::string>& values);

/// The words of a pattern before its first value.
std::string keywordsOf(std::string_view pattern);

/// A number of seconds, at most 32 bits.
std::optional<uint32_t> parseSeconds(std::string_view text);

}  // namespace lumora
