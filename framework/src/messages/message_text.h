#pragma once

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// A text followed by its arguments, each after a blank: how a message reads that cannot be formatted.
inline std::string appendArguments(std::string text, const std::vector<std::string>& arguments)
{
    for (const std::string& argument : arguments) {
        text += ' ';
        text += argument;
    }
    return text;
}

}  // namespace obzx_pdk_4_4
