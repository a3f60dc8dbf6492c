#pragma once

#include <string>
#include <string_view>

namespace fictl {

/// SHA-256 of bytes in hexadecimal digits; empty when it cannot be had.
std::string sha256Of(std::string_view bytes);

}  // namespace fictl
