#include "appliance/ceph/volume_names.h"

#include <charconv>

namespace lumora {

std::string nameOf(int64_t volume)
{
    return "v" + std::to_string(volume);
}

std::optional<int64_t> volumeOf(const std::string& image)
{
    int64_t number = 0;
    const char* const end = image.data() + image.size();
    if (image.empty() || image.front() != 'v') return std::nullopt;
    const auto [rest, error] = std::from_chars(image.data() + 1, end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::string groupOf(int64_t group)
{
    return "g" + std::to_string(group);
}

}  // namespace lumora
