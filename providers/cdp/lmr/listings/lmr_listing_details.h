#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cdpfi {

// What the listings of one host, group or time image tell beyond what a snapshot needs. An appliance may leave any of
// it out or write it in another way: that part is then empty (std::nullopt, not told), and never a failure. A list that
// is there and has no entries was told to have none. Lines in, records out; views point into the lines. No commands,
// no locks, no traces.

/// Content that was fixed under a name.
struct SLMRAnnotation
{
    std::string_view name;
    std::optional<std::string_view> time;  ///< as the appliance writes it
    std::optional<std::string_view> message;
};

/// Of a group's listing.
struct SLMRGroupDetails
{
    std::optional<std::vector<std::string_view>> permissions;  ///< hosts that are granted all images of the group
    std::optional<std::vector<SLMRAnnotation>> annotations;
    std::vector<std::string_view> images;  ///< names of time images; nothing follows them, so there may be more
};
SLMRGroupDetails parseGroupDetails(const std::vector<std::string>& lines);

/// Of a time image's listing.
struct SLMRImageDetails
{
    std::optional<std::string_view> annotation;                // that the image shows
    std::optional<std::string_view> created;                   ///< as the appliance writes it
    std::optional<std::vector<std::string_view>> permissions;  ///< hosts that are granted this image by itself
};
SLMRImageDetails parseTimeImageDetails(const std::vector<std::string>& lines);

/// Serials of the LUNs that a host's listing says are presented to it.
std::optional<std::vector<std::string_view>> parsePresentedLuns(const std::vector<std::string>& lines);

}  // namespace cdpfi
