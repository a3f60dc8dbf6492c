#include "providers/cdp/lmr/listings/lmr_listing_details.h"

#include <algorithm>
#include <span>

#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"
#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

namespace {

using CWords = std::vector<std::string_view>;
using CLines = std::span<const std::string>;

constexpr CLMRSeparators FIELD_ENDS(" \t\r\n");
constexpr std::string_view GROUP_HEADS[] = {
    "Protected LUNS:", "Monitor LUNS:", "Permissions:", "Stillmark LUNs:", "Annotations:", "Time images:"};

bool isGroupHead(const std::string& line)
{
    return std::ranges::find(GROUP_HEADS, trimBlanks(line)) != std::end(GROUP_HEADS);
}

/// The line that is the head and nothing else; empty when there is none, and when there are two to choose from.
std::optional<size_t> headLine(CLines lines, std::string_view head)
{
    std::optional<size_t> found;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (trimBlanks(lines[i]) != head) continue;
        if (found) return std::nullopt;
        found = i;
    }
    return found;
}

/// The lines between a head and the next one. Without a next one the listing may have lost its end, and part of the
/// section with it.
std::optional<CLines> sectionBelow(CLines lines, std::string_view head)
{
    const auto at = headLine(lines, head);
    if (!at) return std::nullopt;
    const CLines rest = lines.subspan(*at + 1);
    const auto end = std::ranges::find_if(rest, isGroupHead);
    return end == rest.end() ? std::nullopt : std::optional(CLines(rest.begin(), end));
}

/// The hosts in a text with nothing else in it.
std::optional<CWords> readHosts(std::string_view text)
{
    CWords hosts;
    CLMRPieceCursor words(text, FIELD_ENDS);
    for (std::string_view word; words.next(word);) {
        if (!isHostName(word)) return std::nullopt;
        hosts.push_back(word);
    }
    return hosts;
}

/// Takes a text in double quotes off the front; empty when there is none.
std::optional<std::string_view> takeQuoted(std::string_view& text)
{
    if (!text.starts_with('"')) return std::nullopt;
    const size_t end = text.find('"', 1);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view quoted = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    return quoted;
}

/// Takes the words off the front that begin with a digit, as a date and a time of day do.
std::optional<std::string_view> takeTime(std::string_view& text)
{
    size_t end = 0;
    for (size_t next = 0; next < text.size() && text[next] >= '0' && text[next] <= '9';) {
        end = std::min(text.find_first_of(LMR_BLANKS, next), text.size());
        next = std::min(text.find_first_not_of(LMR_BLANKS, end), text.size());
    }
    if (end == 0) return std::nullopt;
    const std::string_view time = text.substr(0, end);
    text.remove_prefix(end);
    return time;
}

// annotation = '"' name '"' [ blank time ] [ blank '"' message '"' ] [ blank text ]
bool parseAnnotation(std::string_view line, SLMRAnnotation& annotation)
{
    line = trimBlanks(line);
    const auto name = takeQuoted(line);
    if (!name || name->empty() || (!line.empty() && !FIELD_ENDS.contains(line.front()))) return false;
    annotation.name = *name;
    line = trimBlanks(line);
    annotation.time = takeTime(line);
    line = trimBlanks(line);
    annotation.message = takeQuoted(line);
    return true;
}

std::optional<std::vector<SLMRAnnotation>> readAnnotations(CLines lines)
{
    std::vector<SLMRAnnotation> annotations;
    annotations.reserve(lines.size());
    for (const std::string& line : lines) {
        if (trimBlanks(line).empty()) continue;
        if (!parseAnnotation(line, annotations.emplace_back())) return std::nullopt;
    }
    return annotations;
}

std::vector<std::string_view> readImageNames(CLines lines)
{
    std::vector<std::string_view> names;
    const auto head = headLine(lines, "Time images:");
    if (!head) return names;
    for (const std::string& line : lines.subspan(*head + 1)) {
        std::string_view name;
        if (readImageLine(line, name)) names.push_back(name);
    }
    return names;
}

/// One host a line.
std::optional<CWords> readHostLines(CLines lines)
{
    CWords hosts;
    for (const std::string& line : lines) {
        const auto found = readHosts(line);
        if (!found || found->size() > 1) return std::nullopt;
        hosts.insert(hosts.end(), found->begin(), found->end());
    }
    return hosts;
}

struct SField
{
    std::string_view value;
    size_t line;
};

/// What stands behind a field's name; empty when it is not there, and when it is there twice.
std::optional<SField> fieldOf(CLines lines, std::string_view name)
{
    std::optional<SField> found;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = trimBlanks(lines[i]);
        if (!line.starts_with(name)) continue;
        if (found) return std::nullopt;
        found = SField{trimBlanks(line.substr(name.size())), i};
    }
    return found;
}

std::optional<std::string_view> textField(CLines lines, std::string_view name)
{
    const auto field = fieldOf(lines, name);
    return field && !field->value.empty() ? std::optional(field->value) : std::nullopt;
}

/// A line below that is no field might go on with the hosts: who is granted the image is not known then.
std::optional<CWords> hostField(CLines lines, std::string_view name)
{
    const auto field = fieldOf(lines, name);
    if (!field) return std::nullopt;
    const size_t next = field->line + 1;
    if (next < lines.size() && lines[next].find(':') == std::string::npos) return std::nullopt;
    return readHosts(field->value);
}

}  // namespace

// details = { text } [ section ] { section }, a section known where another one follows it
// section = head NEWLINE { text NEWLINE }, with a head of a group's listing alone on its line
// "Permissions:" { [ host-name ] NEWLINE }
// "Annotations:" { [ annotation ] NEWLINE }
// "Time images:" { [ image ] NEWLINE }, with lines as in the listing of time images
//
//   Permissions:
//   backup
//   Stillmark LUNs:
//   Annotations:
//   "KSV_Check_Point_77" 2026-11-21T01:51:22Z "CreatedByKestrav" images=1
//   Time images:
//   KSV_Time_Image_77 2026-11-21T01:51:22Z annotation="KSV_Check_Point_77"
SLMRGroupDetails parseGroupDetails(const std::vector<std::string>& lines)
{
    SLMRGroupDetails details;
    if (const auto section = sectionBelow(lines, "Permissions:")) details.permissions = readHostLines(*section);
    if (const auto section = sectionBelow(lines, "Annotations:")) details.annotations = readAnnotations(*section);
    details.images = readImageNames(lines);
    return details;
}

// details = { text NEWLINE | field NEWLINE } "TimeImage LUNs:" { text }
// field = "Annotation:" name | "Created:" time | "Permissions:" { host-name }
//
//   TimeImage: KSV_Time_Image_77
//   Annotation: KSV_Check_Point_77
//   Created: 2026-11-21T01:51:22Z
//   Permissions: backup
//   TimeImage LUNs:
SLMRImageDetails parseTimeImageDetails(const std::vector<std::string>& lines)
{
    const auto end = std::ranges::find_if(
        lines, [](const std::string& line) { return line.find("TimeImage LUNs:") != std::string::npos; });
    if (end == lines.end()) return {};
    const CLines fields(lines.begin(), end);
    return {.annotation = textField(fields, "Annotation:"),
            .created = textField(fields, "Created:"),
            .permissions = hostField(fields, "Permissions:")};
}

// host = { text } "Presented LUNs:" NEWLINE { lun NEWLINE | NEWLINE }, with LUNs as in a group's listing
//
//   Host: production
//   Presented LUNs:
//   /dev/lumora/lun1 [LM09B66463075361] 64MiB
std::optional<std::vector<std::string_view>> parsePresentedLuns(const std::vector<std::string>& lines)
{
    const auto head = headLine(lines, "Presented LUNs:");
    if (!head) return std::nullopt;
    std::vector<std::string_view> serials;
    for (const std::string& line : CLines(lines).subspan(*head + 1)) {
        if (trimBlanks(line).empty()) continue;
        SLMRGroupLun lun;
        if (parseListedLun(line, lun) != EGroupListing::COMPLETE || lun.serial.empty()) return std::nullopt;
        serials.push_back(lun.serial);
    }
    return serials;
}

}  // namespace cdpfi
