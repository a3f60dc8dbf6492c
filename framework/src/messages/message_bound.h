#pragma once

#include <cstddef>
#include <string>

namespace obzx_pdk_4_4 {

/// Bytes of a message, and of each of its arguments, whatever is configured.
inline constexpr size_t LEAST_MESSAGE_BOUND = size_t{1024} * 1024;

/// Cuts a text that is longer than a message of the component may be: FI_MESSAGE / MAX_LENGTH of its configuration
/// store, where that is more than LEAST_MESSAGE_BOUND. @throw std::bad_alloc
void boundMessage(std::string& text, const std::string& component);

}  // namespace obzx_pdk_4_4
