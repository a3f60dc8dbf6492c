#pragma once

#include <string>
#include <string_view>

namespace lumora {

/// Names of images, groups and content in a cluster are ids of the appliance: letters, digits, "-" and "_". Status
/// malformed for others.
void checkCephId(std::string_view id);

/// Name of the image that shows one volume of a content to hosts, such as "c1.t1.v1". What it depends on stands in the
/// name alone, so that no second record of it can be lost.
/// @param content id of the content
/// @param tag id that tells several images of one content apart
/// @param volume id of the volume that the content is of
std::string importName(std::string_view content, std::string_view tag, std::string_view volume);

/// Whether an image's name is that of an import with the tag.
bool isImportAs(std::string_view name, std::string_view tag);
/// Whether an image's name is that of an import of this volume's content.
bool isImportOf(std::string_view name, std::string_view content, std::string_view volume);

}  // namespace lumora
