#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"

#include <algorithm>

#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

namespace {

constexpr CLMRSeparators FIELD_ENDS(" \t\n");
constexpr CLMRSeparators LUN_MARKS(IMAGE_LUN_MARKS);

}  // namespace

// timeimages = "There are none!" NEWLINE | { timeimage-name { text } NEWLINE }
//
//   KSV_Time_Image_4711  2024-05-01 10:00:00
bool isEmptyTimeImageList(const std::vector<std::string>& lines)
{
    return lines.size() == 1 && lines[0].find("There are none!") != std::string::npos;
}

bool parseTimeImageName(std::string_view line, std::string_view& name)
{
    if (!CLMRPieceCursor(line, FIELD_ENDS).next(name)) return false;
    name = trimBlanks(name);
    return true;
}

// timeimage = { text } "TimeImage LUNs:" { target-device "[" serial "]" " " "<-" device "[" serial "]" }
//
//   Name: KSV_Time_Image_4711
//   TimeImage LUNs:
//   /dev/ti0 [TGT001] <- /dev/sdb [ABC123]
SLMRImageListing parseTimeImage(const std::vector<std::string>& lines)
{
    constexpr size_t PIECES = 5;  // target device, its serial, what lies before the arrow, device, its serial
    SLMRImageListing listing;
    auto line = std::ranges::find_if(
        lines, [](const std::string& text) { return text.find("TimeImage LUNs:") != std::string::npos; });
    if (line == lines.end()) {
        listing.result = EImageListing::NO_LUNS;
        return listing;
    }
    for (++line; line != lines.end(); ++line) {
        std::array<std::string_view, PIECES> pieces;
        if (splitPieces(*line, LUN_MARKS, pieces) != PIECES) {
            listing.result = EImageListing::BAD_LUN;
            listing.badPieces = allPieces(*line, LUN_MARKS);
            break;
        }
        listing.luns.push_back({.targetDevice = trimBlanks(pieces[0]),
                                .targetSerial = trimBlanks(pieces[1]),
                                .sourceDevice = trimBlanks(pieces[3]),
                                .sourceSerial = trimBlanks(pieces[4])});
    }
    return listing;
}

}  // namespace cdpfi
