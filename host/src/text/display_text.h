#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fictl {

/// Columns that a text of UTF-8 takes at a terminal: East Asian wide characters and emoji take two, marks that sit on
/// the character before them none.
size_t displayWidth(std::string_view text);

/// The text when it takes at most that many columns, else as much of its front as fits together with "…" behind it.
std::string cutToWidth(const std::string& text, size_t width);

/// Columns of the terminal that standard output is; 0 when it is none or does not tell.
size_t outputWidth();

/**
 * Order of names as people count: node2 before node10, letters before case. A total order: names that look alike are
 * ordered by their bytes. For std::sort and std::map.
 */
struct SNameOrder
{
    bool operator()(std::string_view a, std::string_view b) const;
};

/// Bytes whose order is that of SNameOrder for the texts that they are made of. Making them costs about as much as one
/// comparison, so a long list is sorted by them.
std::string nameOrderKey(std::string_view text);

}  // namespace fictl
