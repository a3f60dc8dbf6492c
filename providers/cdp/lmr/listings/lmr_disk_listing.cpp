#include "providers/cdp/lmr/listings/lmr_disk_listing.h"

#include <algorithm>
#include <cstdint>

#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

namespace {

constexpr size_t SEPARATOR_WIDTH = 122;
constexpr size_t FIELDS = 7;
constexpr size_t GROUPS = 4;

constexpr bool endsField(char character)
{
    return character == ' ' || character == '\t' || character == '\n';
}

// How many fields begin at characters[1] to characters[N]; characters[0] is the one before them.
template <size_t N>
size_t countStarts(const char* characters)
{
    uint8_t starts = 0;
    for (size_t i = 0; i < N; ++i) {
        starts = static_cast<uint8_t>(starts + (endsField(characters[i]) > endsField(characters[i + 1]) ? 1 : 0));
    }
    return starts;
}

// Counted in parts of a fixed size without branches, which compilers turn into vector instructions.
size_t countFields(std::string_view line)
{
    constexpr size_t PART = 16;
    size_t count = !line.empty() && !endsField(line[0]) ? 1 : 0;
    size_t i = 1;
    for (; i + PART <= line.size(); i += PART) {
        count += countStarts<PART>(&line[i - 1]);
    }
    for (; i < line.size(); ++i) {
        count += countStarts<1>(&line[i - 1]);
    }
    return count;
}

std::string_view firstField(std::string_view line)
{
    const auto begin = std::ranges::find_if_not(line, endsField);
    return {begin, std::find_if(begin, line.end(), endsField)};
}

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
    const size_t count = countFields(line);
    const std::string_view first = firstField(line);
    if (!m_headingPassed) {
        const auto isRule = [](char character) { return character == '='; };
        m_headingPassed = count == 1 && first.size() == SEPARATOR_WIDTH && std::ranges::all_of(first, isRule);
        return EDiskLine::HEADING;
    }
    if (count < FIELDS) return EDiskLine::TOO_FEW_FIELDS;
    disk.path = trimBlanks(first);
    std::array<std::string_view, GROUPS + 1> groups;  // what stands before the first one counts as a piece
    if (splitPieces(line, '(', groups) != groups.size()) return EDiskLine::BAD_GROUPS;
    // Blank parentheses hold no serial; what stands behind them is none either.
    disk.serial = trimBlanks(groups[GROUPS].substr(0, groups[GROUPS].find(')')));
    return EDiskLine::DISK;
}

}  // namespace cdpfi
