#pragma once

#include <string_view>

namespace cdpfi {

/// What a line of the disk listing is.
enum class EDiskLine
{
    HEADING,  ///< above the separator line, or the separator itself
    DISK,
    TOO_FEW_FIELDS,  ///< the reading ends here
    BAD_GROUPS,      ///< not four parenthesised groups; the reading ends here
};

struct SLMRDisk
{
    std::string_view path;    ///< also known for BAD_GROUPS
    std::string_view serial;  ///< DISK only
};

/**
 * Reads the disk utility's listing line by line, so that a caller can drop each line of a long listing once it is
 * stored. Views point into the line. No commands, no locks, no traces.
 */
class CLMRDiskListing
{
  public:
    /// Lines are passed in order, without their line feeds; after TOO_FEW_FIELDS or BAD_GROUPS none may follow.
    EDiskLine read(std::string_view line, SLMRDisk& disk);
    /// Whether the separator line was read, without which there is no listing of disks.
    bool headingPassed() const { return m_headingPassed; }

  private:
    bool m_headingPassed = false;
};

}  // namespace cdpfi
