#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "appliance/ceph/open_image.h"

namespace lumora {

/// An image's part of a content of a group.
struct SImageContent
{
    uint64_t snapshot = 0;  ///< its number within the image
    std::string group;
    std::string content;
};

/// All that contents of groups hold of an image.
std::vector<SImageContent> contentsOf(const COpenImage& image);

}  // namespace lumora
