#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cdpfi {

// Parsers of what the appliance's shell answers about time images. They take lines and return what was read; views
// point into the lines. No commands, no locks, no traces.

/// Whether the answer says that a group has no time images.
bool isEmptyTimeImageList(const std::vector<std::string>& lines);
/// The name that a line of a time-image listing begins with; false when the line is blank.
bool parseTimeImageName(std::string_view line, std::string_view& name);

/// What stands between the parts of a line about a LUN, wherever it is found: no part can hold one of these.
inline constexpr std::string_view IMAGE_LUN_MARKS = "[]<-\n";

/// A LUN of a time image: what it shows, and under which LUN it shows it.
struct SLMRImageLun
{
    std::string_view targetDevice;
    std::string_view targetSerial;
    std::string_view sourceDevice;
    std::string_view sourceSerial;
};

enum class EImageListing
{
    COMPLETE,
    NO_LUNS,  ///< section "TimeImage LUNs:" is missing
    BAD_LUN,  ///< a line of the section has another shape
};

/// The listing of one time image, up to where the reading stopped.
struct SLMRImageListing
{
    EImageListing result = EImageListing::COMPLETE;
    std::vector<SLMRImageLun> luns;
    std::vector<std::string> badPieces;  ///< BAD_LUN: the pieces that the line was split into
};

SLMRImageListing parseTimeImage(const std::vector<std::string>& lines);

}  // namespace cdpfi
