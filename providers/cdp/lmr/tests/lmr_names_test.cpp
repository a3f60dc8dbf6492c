// Every name that an appliance accepts is read from its listings, and written into its commands, as it is.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/tests/name_corpus.h"
#include "base/tests/text_file.h"
#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_listing_details.h"
#include "providers/cdp/lmr/listings/lmr_name_listings.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"
#include "providers/cdp/lmr/lmr_commands.h"
#include "providers/cdp/lmr/tests/answers.h"

namespace cdpfi {
namespace {

using base_test::linesOf;
using base_test::nameCorpus;
using base_test::namesFor;
using base_test::SCorpusName;
using CLines = std::vector<std::string>;
using CNames = std::vector<std::string>;

CNames namesIn(const SLMRNameListing& listing)
{
    EXPECT_TRUE(listing.isListing);
    return {listing.names.begin(), listing.names.end()};
}

CNames textsFor(base_test::ECarrier carrier)
{
    CNames names;
    for (const SCorpusName& name : namesFor(carrier)) {
        names.push_back(name.name);
    }
    return names;
}

bool isDiskOf(const std::string& serial)
{
    CLMRDiskListing listing;
    SLMRDisk disk;
    for (const std::string& line : linesOf(answers::disks({{"/dev/sdc", serial}}))) {
        if (listing.read(line, disk) == EDiskLine::DISK) return disk.path == "/dev/sdc" && disk.serial == serial;
    }
    return false;
}

bool isLunOfGroup(const std::string& serial)
{
    const CLines lines = linesOf(answers::group("payroll", {{"/dev/sdb", serial}}));
    const SLMRGroupListing listing = parseGroup(lines);
    return listing.result == EGroupListing::COMPLETE && listing.luns.size() == 1 && listing.luns[0].serial == serial;
}

bool isLunOfImage(const std::string& serial)
{
    const CLines lines =
        linesOf(answers::timeImage("KSV_Time_Image_1", {{{"/dev/ti1", serial}, {"/dev/sdb", serial}}}));
    const SLMRImageListing listing = parseTimeImage(lines);
    return listing.result == EImageListing::COMPLETE && listing.luns.size() == 1 &&
           listing.luns[0].targetSerial == serial && listing.luns[0].sourceSerial == serial;
}

TEST(LmrNames, OfHostsAreReadAsTheyAre)
{
    const CNames names = textsFor(base_test::HOST);
    const CLines lines = linesOf(answers::hosts(names));
    CNames read;
    for (const CString& name : parseHostNames(lines)) {
        read.emplace_back(bytesOf(name));
    }
    EXPECT_EQ(read, names);
    EXPECT_EQ(namesIn(readHostListing(lines)), names);
    const CLines group = linesOf(answers::group("payroll", {}, names) + "Annotations:\nTime images:\n");
    const auto granted = parseGroupDetails(group).permissions;
    ASSERT_TRUE(granted);
    EXPECT_EQ(CNames(granted->begin(), granted->end()), names);
}

TEST(LmrNames, OfGroupsAreReadAsTheyAre)
{
    const CNames names = textsFor(base_test::GROUP);
    const CLines lines = linesOf(answers::groups(names));
    EXPECT_EQ(namesIn(readGroupListing(lines)), names);
    for (const std::string& name : names) {
        const CLines shown = linesOf(answers::group(name, {{"/dev/sdb", "S1"}}, {"backup"}) +
                                     "Annotations:\n\"a\" 2026-11-21T01:51:22Z\nTime images:\n");
        EXPECT_EQ(parseGroup(shown).luns.size(), 1U) << name;
        EXPECT_EQ(parseGroupDetails(shown).permissions, std::vector<std::string_view>{"backup"}) << name;
        EXPECT_EQ(parseGroupDetails(shown).annotations.value_or(std::vector<SLMRAnnotation>()).size(), 1U) << name;
    }
}

TEST(LmrNames, OfAnnotationsAreReadAsTheyAre)
{
    const CNames names = textsFor(base_test::ANNOTATION);
    std::string text = answers::group("payroll", {}, {"backup"}) + "Annotations:\n";
    for (const std::string& name : names) {
        text += '"' + name + "\" 2026-11-21T01:51:22Z \"CreatedByKestrav\" images=0\n";
    }
    const CLines lines = linesOf(text + "Time images:\n");
    const auto annotations = parseGroupDetails(lines).annotations;
    ASSERT_TRUE(annotations);
    CNames read;
    for (const SLMRAnnotation& annotation : *annotations) {
        read.emplace_back(annotation.name);
    }
    EXPECT_EQ(read, names);
    EXPECT_EQ(parseGroup(lines).result, EGroupListing::COMPLETE);
}

TEST(LmrNames, OfTimeImagesAreReadAsTheyAre)
{
    const CNames names = textsFor(base_test::IMAGE);
    const CLines lines = linesOf(answers::timeImages(names));
    EXPECT_EQ(namesIn(readTimeImageListing(lines)), names);
    for (size_t i = 0; i < names.size(); ++i) {
        std::string_view name;
        EXPECT_TRUE(parseTimeImageName(lines[i], name));
        EXPECT_EQ(name, names[i]);
        EXPECT_FALSE(isEmptyTimeImageList({lines[i]})) << names[i];
        const CLines shown = linesOf(answers::timeImage(names[i], {{{"/dev/ti1", "T1"}, {"/dev/sdb", "S1"}}}));
        EXPECT_EQ(parseTimeImage(shown).luns.size(), 1U) << names[i];
    }
    const CLines group =
        linesOf(answers::group("payroll", {}) + "Annotations:\nTime images:\n" + answers::timeImages(names));
    const auto images = parseGroupDetails(group).images;
    EXPECT_EQ(CNames(images.begin(), images.end()), names);
}

TEST(LmrNames, OfWhatAnImageShowsAreReadAsTheyAre)
{
    for (const std::string& name : textsFor(base_test::ANNOTATION)) {
        const CLines lines = linesOf("TimeImage: t\nConsistency Group: " + name + "\nAnnotation: " + name +
                                     "\nCreated: 2026-11-21T01:51:22Z\nPermissions: backup\nTimeImage LUNs:\n");
        const SLMRImageDetails details = parseTimeImageDetails(lines);
        EXPECT_EQ(details.annotation, name);
        EXPECT_EQ(details.permissions, std::vector<std::string_view>{"backup"}) << name;
    }
}

TEST(LmrNames, OfLunsAreReadFromAllListingsOrAreNone)
{
    for (const SCorpusName& name : nameCorpus()) {
        const bool isEverywhere = isDiskOf(name.name) && isLunOfGroup(name.name) && isLunOfImage(name.name);
        EXPECT_TRUE(isEverywhere || !name.isFor(base_test::SERIAL)) << name.what;
        if (name.name.find_first_of(IMAGE_LUN_MARKS) != std::string::npos) {
            EXPECT_FALSE(isLunOfImage(name.name)) << name.what;
        }
        if (name.name.find_first_of("[]()<-\n\"") != std::string::npos) {
            EXPECT_FALSE(name.isFor(base_test::SERIAL)) << name.what;
        }
    }
}

TEST(LmrNames, AreSentBetweenQuotesOrNotAtAll)
{
    for (const SCorpusName& name : nameCorpus()) {
        const bool isSafe =
            std::ranges::none_of(name.name, [](unsigned char c) { return c < ' ' || c == 0x7f || c == '"'; });
        const CString text(name.name.data(), name.name.size());
        EXPECT_EQ(isSendableName(text), isSafe) << name.what;
        const SLMRCommand command = lmr_commands::createCheckPoint(text, text);
        EXPECT_EQ(command.m_refused, !isSafe) << name.what;
        if (!isSafe) continue;
        EXPECT_EQ(command.m_text, " create  annotation \"" + name.name + "\" \"" + name.name +
                                      "\"\n set  message  CreatedByKestrav \n commit ")
            << name.what;
    }
}

}  // namespace
}  // namespace cdpfi
