#pragma once

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// A text followed by its arguments, each after a blank: how a message reads that cannot be formatted.
std::string appendArguments(std::string text, const std::vector<std::string>& arguments);

}  // namespace obzx_pdk_4_4
