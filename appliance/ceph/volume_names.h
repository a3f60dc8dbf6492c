#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace lumora {

/// The image of a LUN, and its group, by their numbers; the other way nothing for the name of another kind of image.
std::string nameOf(int64_t volume);
std::optional<int64_t> volumeOf(const std::string& image);
std::string groupOf(int64_t group);

}  // namespace lumora
