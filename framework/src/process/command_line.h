#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace obzx_pdk_4_4 {

/**
 * Splits a command line into words:
 *
 *     line  = { blank } [ word { blank { blank } word } ] { blank }
 *     word  = part { part }                    parts that touch are one word; "" is an empty word
 *     part  = '"' { any but '"' } '"'  |  any but blank and '"'
 *     blank = ' ' | tab
 *
 * There are no escapes. False, with no words: a quote that is not closed, a NUL, or no word at all.
 */
bool splitCommandLine(std::string_view line, std::vector<std::string>& words);

}  // namespace obzx_pdk_4_4
