#include "providers/cdp/lmr/lmr_disk_listing.h"

#include <algorithm>

#include "providers/cdp/lmr/lmr_text.h"

namespace cdpfi {

namespace {

constexpr size_t SEPARATOR_WIDTH = 122;
constexpr size_t FIELDS = 7;
constexpr size_t GROUPS = 4;

}  // namespace

// listing = { heading NEWLINE } separator NEWLINE { disk NEWLINE }
// separator = 122 * "="
// disk = path blank { field blank }, at least 7 fields, with four parenthesised groups; the fourth is the serial
//
//   Device     SCSI address          Type        Identity
//   ==========================================================================================(122)
//   /dev/sdc   (0:0:1:0) LUMORA   (disk) 10GB (online) (ABC123)
EDiskLine CLMRDiskListing::read(std::string_view line, SLMRDisk& disk)
{
    static constexpr CLMRSeparators FIELD_ENDS("\t \n");

    std::array<std::string_view, 1> fields;
    const size_t count = splitPieces(line, FIELD_ENDS, fields);
    if (!m_headingPassed) {
        const auto isRule = [](char character) { return character == '='; };
        m_headingPassed = count == 1 && fields[0].size() == SEPARATOR_WIDTH && std::ranges::all_of(fields[0], isRule);
        return EDiskLine::HEADING;
    }
    if (count < FIELDS) return EDiskLine::TOO_FEW_FIELDS;
    disk.path = trimBlanks(fields[0]);
    std::array<std::string_view, GROUPS + 1> groups;  // what stands before the first one counts as a piece
    if (splitPieces(line, '(', groups) != groups.size()) return EDiskLine::BAD_GROUPS;
    // Blank parentheses hold no serial; what stands behind them is none either.
    disk.serial = trimBlanks(groups[GROUPS].substr(0, groups[GROUPS].find(')')));
    return EDiskLine::DISK;
}

}  // namespace cdpfi
