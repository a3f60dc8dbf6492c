// The parsers of the listings against plain ones, which follow the rules of each listing one by one with the runtime's
// text functions: whatever an input looks like, both read the same records and stop at the same place.

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "framework/include/cfistringtool.h"
#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"
#include "providers/cdp/lmr/tests/listing_tables.h"

namespace cdpfi {
namespace {

using obzx_pdk_4_4::CFiStringTool;
using CLines = std::vector<std::string>;

constexpr const char* BLANKS = " \n\t\r";

std::string trim(const std::string& text)
{
    return CFiStringTool::trim(text, BLANKS);
}

std::string record(const CLines& fields)
{
    return "<" + joinTexts(fields, "=") + ">";
}

// Hosts: the first piece of each line.

std::string readHosts(const CLines& lines)
{
    std::string read;
    for (const CString& name : parseHostNames(lines)) {
        read += record({std::string(bytesOf(name))});
    }
    return read;
}

std::string expectHosts(const CLines& lines)
{
    std::string read;
    for (const std::string& line : lines) {
        const CLines pieces = CFiStringTool::tokenize(line, " \t\n");
        if (!pieces.empty()) read += record({trim(pieces[0])});
    }
    return read;
}

// Groups: what stands before the first "luns=" of a line.

std::string readGroupNames(const CLines& lines)
{
    std::string read;
    for (const std::string& line : lines) {
        std::string_view name;
        read += parseGroupName(line, name) ? record({std::string(name)}) : "skipped";
    }
    return read;
}

std::string expectGroupNames(const CLines& lines)
{
    std::string read;
    for (const std::string& line : lines) {
        const size_t end = line.find("luns=");
        read += end == std::string::npos ? "skipped" : record({trim(line.substr(0, end))});
    }
    return read;
}

// A group: the lines of its protected section.

std::string readGroup(const CLines& lines)
{
    const SLMRGroupListing listing = parseGroup(lines);
    std::string read = listing.result == EGroupListing::NO_PROTECTED ? "" : listing.hasMonitor ? "monitor" : "";
    switch (listing.result) {
        case EGroupListing::NO_PROTECTED:
            return "no protected";
        case EGroupListing::NO_PERMISSION:
            return read + "no permission";
        case EGroupListing::NO_STILLMARK:
            return read + "no stillmark";
        default:
            break;
    }
    read += std::to_string(listing.begin) + "-" + std::to_string(listing.end);
    for (const SLMRGroupLun& lun : listing.luns) {
        read += record({std::string(lun.device), std::string(lun.serial)});
    }
    if (listing.result == EGroupListing::BAD_DEVICE) read += "bad line " + std::string(listing.badLine);
    if (listing.result == EGroupListing::BAD_SERIAL) read += "bad serial of " + std::string(listing.badDevice);
    return read;
}

int indexOf(const CLines& lines, const char* marker)
{
    int index = -1;
    CFiStringTool::find(lines, marker, index, 0);
    return index;
}

std::string expectGroup(const CLines& lines)
{
    const int begin = indexOf(lines, "Protected LUNS:");
    const int monitor = indexOf(lines, "Monitor LUNS:");
    const int permissions = indexOf(lines, "Permissions:");
    if (begin == -1) return "no protected";
    std::string read = monitor == -1 ? "" : "monitor";
    if (permissions == -1) return read + "no permission";
    if (indexOf(lines, "Stillmark LUNs:") == -1) return read + "no stillmark";
    const int end = monitor != -1 && monitor != 0 && monitor < permissions ? monitor : permissions;
    read += std::to_string(begin) + "-" + std::to_string(end);
    for (int i = begin + 1; i < end; ++i) {
        const std::string& line = lines[static_cast<size_t>(i)];
        const CLines device = CFiStringTool::tokenize(line, "[");
        if (device.size() != 2) return read + "bad line " + line;
        const CLines serial = CFiStringTool::tokenize(device[1], "]");
        if (serial.size() != 2) return read + "bad serial of " + trim(device[0]);
        read += record({trim(device[0]), trim(serial[0])});
    }
    return read;
}

// Time images: the first piece of each line, unless there are none.

std::string readImageNames(const CLines& lines)
{
    if (isEmptyTimeImageList(lines)) return "none";
    std::string read;
    for (const std::string& line : lines) {
        std::string_view name;
        if (parseTimeImageName(line, name)) read += record({std::string(name)});
    }
    return read;
}

std::string expectImageNames(const CLines& lines)
{
    if (lines.size() == 1 && lines[0].find("There are none!") != std::string::npos) return "none";
    return expectHosts(lines);
}

// A time image: the lines below its section's.

std::string readImage(const CLines& lines)
{
    const SLMRImageListing listing = parseTimeImage(lines);
    if (listing.result == EImageListing::NO_LUNS) return "no luns";
    std::string read;
    for (const SLMRImageLun& lun : listing.luns) {
        read += record({std::string(lun.targetDevice), std::string(lun.targetSerial), std::string(lun.sourceDevice),
                        std::string(lun.sourceSerial)});
    }
    return listing.result == EImageListing::BAD_LUN ? read + "bad " + joinTexts(listing.badPieces, " , ") : read;
}

std::string expectImage(const CLines& lines)
{
    const int begin = indexOf(lines, "TimeImage LUNs:");
    if (begin == -1) return "no luns";
    std::string read;
    for (size_t i = static_cast<size_t>(begin) + 1; i < lines.size(); ++i) {
        const CLines pieces = CFiStringTool::tokenize(lines[i], "[]<-\n");
        if (pieces.size() != 5) return read + "bad " + joinTexts(pieces, " , ");
        read += record({trim(pieces[0]), trim(pieces[1]), trim(pieces[3]), trim(pieces[4])});
    }
    return read;
}

// Disks: the lines below the separator.

std::string readDisks(const CLines& lines)
{
    std::string read;
    CLMRDiskListing listing;
    for (const std::string& line : lines) {
        SLMRDisk disk;
        switch (listing.read(line, disk)) {
            case EDiskLine::HEADING:
                break;
            case EDiskLine::DISK:
                read += record({std::string(disk.path), std::string(disk.serial)});
                break;
            case EDiskLine::TOO_FEW_FIELDS:
                return read + "few";
            case EDiskLine::BAD_GROUPS:
                return read + "groups of " + std::string(disk.path);
        }
    }
    return read;
}

std::string expectDisks(const CLines& lines)
{
    std::string read;
    bool headingPassed = false;
    for (const std::string& line : lines) {
        const CLines fields = CFiStringTool::tokenize(line, "\t \n");
        if (!headingPassed) {
            headingPassed = fields.size() == 1 && fields[0] == std::string(122, '=');
            continue;
        }
        if (fields.size() < 7) return read + "few";
        const std::string path = trim(fields[0]);
        const CLines groups = CFiStringTool::tokenize(line, "(\n");
        if (groups.size() != 5) return read + "groups of " + path;
        read += record({path, trim(groups[4].substr(0, groups[4].find(')')))});
    }
    return read;
}

struct SListing
{
    const char* name;
    std::string (*read)(const CLines&);
    std::string (*expect)(const CLines&);
    std::string sample;
};

std::vector<SListing> listings()
{
    return {{"hosts", readHosts, expectHosts, sample::HOSTS},
            {"groups", readGroupNames, expectGroupNames, sample::GROUPS},
            {"group", readGroup, expectGroup, sample::GROUP},
            {"time images", readImageNames, expectImageNames, sample::TIME_IMAGES},
            {"no time images", readImageNames, expectImageNames, answers::timeImages({})},
            {"time image", readImage, expectImage, sample::TIME_IMAGE},
            {"disks", readDisks, expectDisks, sample::DISKS}};
}

TEST(ListingsByTheRules, SamplesCutOffAtEveryByteAreReadByTheRules)
{
    for (const SListing& listing : listings()) {
        for (size_t size = 0; size <= listing.sample.size(); ++size) {
            const CLines lines = base_test::linesOf(listing.sample.substr(0, size));
            ASSERT_EQ(listing.expect(lines), listing.read(lines)) << listing.name << " cut at " << size;
        }
    }
}

TEST(ListingsByTheRules, SamplesWithOneByteMoreLessOrOtherAreReadByTheRules)
{
    const std::string bytes = std::string(" \t\r\n[]()<->=:\"x\xff", 17) + '\0';
    for (const SListing& listing : listings()) {
        const auto check = [&](const std::string& text) {
            const CLines lines = base_test::linesOf(text);
            ASSERT_EQ(listing.expect(lines), listing.read(lines)) << listing.name << ": " << text;
        };
        for (size_t at = 0; at <= listing.sample.size(); ++at) {
            check(std::string(listing.sample).erase(at, 1));
            for (const char byte : bytes) {
                check(std::string(listing.sample).insert(at, 1, byte));
                check(std::string(listing.sample).replace(at, 1, 1, byte));
            }
        }
    }
}

TEST(ListingsByTheRules, SamplesThatWereCutUpAndMixedAreReadByTheRules)
{
    std::mt19937 random(20260401);
    const auto draw = [&](size_t range) { return static_cast<size_t>(random() % range); };
    const std::vector<SListing> all = listings();
    for (int round = 0; round < 20000; ++round) {
        const SListing& listing = all[draw(all.size())];
        std::string text = listing.sample;
        for (size_t change = draw(6); change > 0; --change) {
            const std::string& other =
                all[draw(3) == 0 ? draw(all.size()) : static_cast<size_t>(&listing - all.data())].sample;
            const size_t begin = draw(other.size());
            const std::string part = other.substr(begin, 1 + draw(40));
            if (draw(2) == 0) {
                text.insert(draw(text.size() + 1), part);
            } else {
                text.erase(draw(text.size() + 1), 1 + draw(30));
            }
        }
        const CLines lines = base_test::linesOf(text);
        ASSERT_EQ(listing.expect(lines), listing.read(lines)) << listing.name << ": " << text;
    }
}

}  // namespace
}  // namespace cdpfi
