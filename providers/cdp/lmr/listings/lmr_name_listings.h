#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cdpfi {

// Readers of the listings that hold names, for those who must know whether an answer is such a listing at all: a shell
// that greets before it answers, or answers with something else and status 0, must not be believed to have hosts,
// groups or time images. They are stricter than what a provider that looks for known names needs; see the parsers of
// the same listings. Lines in, records out; views point into the lines. No commands, no locks, no traces.

/// All or nothing: where one line does not belong to the listing, no name of it is taken.
struct SLMRNameListing
{
    std::vector<std::string_view> names;  ///< in the order of the listing
    std::optional<size_t> strayLine;      ///< index of the first line that does not belong to it
    bool isListing = true;
};

/// Whether a word can be the name of a host: letters, digits, ".", "_" and "-", the first a letter or a digit.
bool isHostName(std::string_view word);

/// One line of the listing of time images; false when it is none.
bool readImageLine(std::string_view line, std::string_view& name);

SLMRNameListing readHostListing(const std::vector<std::string>& lines);
SLMRNameListing readGroupListing(const std::vector<std::string>& lines);
/// An answer without a line is none: that there are no time images is said in words.
SLMRNameListing readTimeImageListing(const std::vector<std::string>& lines);

}  // namespace cdpfi
