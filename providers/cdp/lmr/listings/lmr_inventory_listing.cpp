#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"

#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

namespace {

constexpr CLMRSeparators FIELD_ENDS(" \t\n");

/// Index of the first line that holds each marker; -1 for none.
struct SSections
{
    int protectedLuns = -1;
    int monitor = -1;
    int permissions = -1;
    int stillmark = -1;
};

void note(std::string_view line, std::string_view marker, int index, int& found)
{
    if (found < 0 && line.find(marker) != std::string_view::npos) found = index;
}

SSections markedLines(std::span<const std::string_view> lines)
{
    SSections sections;
    for (size_t i = 0; i < lines.size(); ++i) {
        // Every marker ends with a colon. Most lines are LUNs, which have none, and are looked at once.
        if (lines[i].find(':') == std::string_view::npos) continue;
        const int index = static_cast<int>(i);
        note(lines[i], "Protected LUNS:", index, sections.protectedLuns);
        note(lines[i], "Monitor LUNS:", index, sections.monitor);
        note(lines[i], "Permissions:", index, sections.permissions);
        note(lines[i], "Stillmark LUNs:", index, sections.stillmark);
    }
    return sections;
}

/// Finds the sections and what ends the one with the protected LUNs.
EGroupListing findSections(std::span<const std::string_view> lines, SLMRGroupListing& listing)
{
    const auto [protectedLuns, monitor, permissions, stillmark] = markedLines(lines);
    listing.begin = protectedLuns;
    if (protectedLuns < 0) return EGroupListing::NO_PROTECTED;
    listing.hasMonitor = monitor >= 0;
    if (permissions < 0) return EGroupListing::NO_PERMISSION;
    if (stillmark < 0) return EGroupListing::NO_STILLMARK;
    listing.end = monitor > 0 && monitor < permissions ? monitor : permissions;
    return EGroupListing::COMPLETE;
}

}  // namespace

// hosts = { host-name { text } NEWLINE }
//
//   backup01   10.0.0.7
//   backup02   10.0.0.8
bool parseHostName(std::string_view line, std::string_view& name)
{
    if (!CLMRPieceCursor(line, FIELD_ENDS).next(name)) return false;
    name = trimBlanks(name);
    return true;
}

std::vector<CString> parseHostNames(std::span<const std::string_view> lines)
{
    std::vector<CString> names;
    names.reserve(lines.size());
    for (const std::string_view line : lines) {
        std::string_view name;
        if (parseHostName(line, name)) appendTo(names, name);
    }
    return names;
}

std::vector<CString> parseHostNames(const std::vector<std::string>& lines)
{
    return parseHostNames(viewsOf(lines));
}

// groups = { group-name "luns=" text NEWLINE | other text NEWLINE }
//
//   cg1 luns=3
bool parseGroupName(std::string_view line, std::string_view& name)
{
    const size_t end = line.find("luns=");
    if (end == std::string_view::npos) return false;
    name = trimBlanks(line.substr(0, end));
    return true;
}

// lun = device "[" serial "]" text
//
//   /dev/sdb [ABC123] 10GB
EGroupListing parseListedLun(std::string_view line, SLMRGroupLun& lun)
{
    std::array<std::string_view, 2> pieces;
    if (splitPieces(line, '[', pieces) != 2) return EGroupListing::BAD_DEVICE;
    lun.device = trimBlanks(pieces[0]);
    if (splitPieces(pieces[1], ']', pieces) != 2) return EGroupListing::BAD_SERIAL;
    lun.serial = trimBlanks(pieces[0]);
    return EGroupListing::COMPLETE;
}

// group = { text } "Protected LUNS:" { lun } [ "Monitor LUNS:" { text } ] "Permissions:" { text }, and somewhere
// "Stillmark LUNs:"
//
//   Name: cg1
//   Protected LUNS:
//     /dev/sdb [ABC123] 10GB
//   Monitor LUNS:
//   Permissions:
//     backup01
//   Stillmark LUNs:
SLMRGroupListing parseGroup(std::span<const std::string_view> lines)
{
    SLMRGroupListing listing;
    listing.result = findSections(lines, listing);
    if (listing.result != EGroupListing::COMPLETE) return listing;
    if (listing.end > listing.begin) listing.luns.reserve(static_cast<size_t>(listing.end - listing.begin) - 1);
    for (int i = listing.begin + 1; i < listing.end; ++i) {
        SLMRGroupLun lun;
        const std::string_view line = lines[static_cast<size_t>(i)];
        listing.result = parseListedLun(line, lun);
        if (listing.result != EGroupListing::COMPLETE) {
            listing.badLine = line;
            listing.badDevice = lun.device;
            break;
        }
        listing.luns.push_back(lun);
    }
    return listing;
}

SLMRGroupListing parseGroup(const std::vector<std::string>& lines)
{
    return parseGroup(viewsOf(lines));
}

}  // namespace cdpfi
