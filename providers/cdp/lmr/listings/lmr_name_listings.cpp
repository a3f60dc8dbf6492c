#include "providers/cdp/lmr/listings/lmr_name_listings.h"

#include <arpa/inet.h>

#include <algorithm>

#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"

namespace cdpfi {

namespace {

constexpr CLMRSeparators FIELD_ENDS(" \t\r\n");
constexpr std::string_view NO_IMAGES = "There are none!";

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isAddress(std::string_view word)
{
    const std::string text(word);
    in6_addr address;
    return text.find('\0') == std::string::npos &&
           (inet_pton(AF_INET, text.c_str(), &address) == 1 || inet_pton(AF_INET6, text.c_str(), &address) == 1);
}

bool readHostLine(std::string_view line, std::string_view& name)
{
    std::array<std::string_view, 2> words;
    const size_t count = splitPieces(line, FIELD_ENDS, words);
    name = words[0];
    return isHostName(name) && (count == 1 || (count == 2 && isAddress(words[1])));
}

bool readGroupLine(std::string_view line, std::string_view& name)
{
    if (!parseGroupName(line, name) || name.empty()) return false;
    line.remove_prefix(line.find("luns=") + 5);
    const auto end = std::ranges::find_if_not(line, isDigit);
    return end != line.begin() && (end == line.end() || FIELD_ENDS.contains(*end));
}

SLMRNameListing readNames(const std::vector<std::string>& lines, bool (*readLine)(std::string_view, std::string_view&))
{
    SLMRNameListing listing;
    listing.names.reserve(lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        std::string_view name;
        if (trimBlanks(lines[i]).empty()) continue;
        if (!readLine(lines[i], name)) return {.names = {}, .strayLine = i, .isListing = false};
        listing.names.push_back(name);
    }
    return listing;
}

}  // namespace

bool isHostName(std::string_view word)
{
    const auto begins = [](char character) { return isLetter(character) || isDigit(character); };
    return !word.empty() && begins(word.front()) && std::ranges::all_of(word, [&](char character) {
        return begins(character) || character == '.' || character == '_' || character == '-';
    });
}

bool readImageLine(std::string_view line, std::string_view& name)
{
    line = trimBlanks(line);
    if (!parseTimeImageName(line, name)) return false;
    const std::string_view rest = trimBlanks(line.substr(name.size()));
    return rest.empty() || isDigit(rest.front()) || rest.starts_with("annotation=\"");
}

// hosts = { host-name [ blank address ] NEWLINE | NEWLINE }
//
//   backup01
//   backup02   10.0.0.8
SLMRNameListing readHostListing(const std::vector<std::string>& lines)
{
    return readNames(lines, readHostLine);
}

// groups = { group-name "luns=" digits [ blank text ] NEWLINE | NEWLINE }
//
//   cg1 luns=2 annotations=1 timeimages=1
SLMRNameListing readGroupListing(const std::vector<std::string>& lines)
{
    return readNames(lines, readGroupLine);
}

// timeimages = "There are none!" NEWLINE | image { image | NEWLINE }
// image = timeimage-name [ blank ( digit text | 'annotation="' text ) ] NEWLINE
//
//   KSV_Time_Image_77 2026-11-21T01:51:22Z annotation="KSV_Check_Point_77"
SLMRNameListing readTimeImageListing(const std::vector<std::string>& lines)
{
    if (lines.size() == 1 && trimBlanks(lines[0]) == NO_IMAGES) return {};
    SLMRNameListing listing = readNames(lines, readImageLine);
    listing.isListing = listing.isListing && !listing.names.empty();
    return listing;
}

}  // namespace cdpfi
