// The six listings: what each malformed input gives, and every valid sample cut off at every byte.

#include <gtest/gtest.h>

#include <functional>

#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/listings/lmr_timeimage_listing.h"
#include "providers/cdp/lmr/tests/listing_tables.h"

namespace cdpfi {
namespace {

using CLines = std::vector<std::string>;

/// In the tables below, "@" stands for a NUL, "#" for 1 MiB of one letter, "~" for the 122 characters of a separator.
std::string expand(std::string_view text)
{
    std::string expanded;
    for (const char character : text) {
        if (character == '@') {
            expanded += '\0';
        } else if (character == '#') {
            expanded.append(1U << 20, 'x');
        } else if (character == '~') {
            expanded.append(122, '=');
        } else {
            expanded += character;
        }
    }
    return expanded;
}

/// What a listing gave: its records, each a list of texts, and how the reading ended.
struct SRead
{
    std::vector<CLines> records;
    std::string end;

    std::string asText() const
    {
        std::string text;
        for (const CLines& record : records) {
            text += "<" + joinTexts(record, "=") + ">";
        }
        return text + end;
    }
};

SRead readHosts(const CLines& lines)
{
    SRead read;
    for (const CString& name : parseHostNames(lines)) {
        read.records.push_back({std::string(bytesOf(name))});
    }
    return read;
}

SRead readGroupNames(const CLines& lines)
{
    SRead read;
    for (const std::string& line : lines) {
        std::string_view name;
        if (parseGroupName(line, name)) read.records.push_back({std::string(name)});
    }
    return read;
}

SRead readGroup(const CLines& lines)
{
    static const char* const ends[] = {"", "no protected", "no permission", "no stillmark", "bad device", "bad serial"};
    const SLMRGroupListing listing = parseGroup(lines);
    SRead read;
    for (const auto& lun : listing.luns) {
        read.records.push_back({std::string(lun.device), std::string(lun.serial)});
    }
    read.end = ends[static_cast<int>(listing.result)];
    return read;
}

SRead readImageNames(const CLines& lines)
{
    SRead read;
    if (isEmptyTimeImageList(lines)) {
        read.end = "none";
        return read;
    }
    for (const std::string& line : lines) {
        std::string_view name;
        if (parseTimeImageName(line, name)) read.records.push_back({std::string(name)});
    }
    return read;
}

SRead readImage(const CLines& lines)
{
    const SLMRImageListing listing = parseTimeImage(lines);
    SRead read;
    for (const auto& lun : listing.luns) {
        read.records.push_back({std::string(lun.targetDevice), std::string(lun.targetSerial),
                                std::string(lun.sourceDevice), std::string(lun.sourceSerial)});
    }
    if (listing.result == EImageListing::NO_LUNS) read.end = "no luns";
    if (listing.result == EImageListing::BAD_LUN) read.end = "bad " + std::to_string(listing.badPieces.size());
    return read;
}

SRead readDisks(const CLines& lines)
{
    SRead read;
    CLMRDiskListing listing;
    for (const std::string& line : lines) {
        SLMRDisk disk;
        const EDiskLine kind = listing.read(line, disk);
        if (kind == EDiskLine::DISK) read.records.push_back({std::string(disk.path), std::string(disk.serial)});
        if (kind == EDiskLine::TOO_FEW_FIELDS) read.end = "few";
        if (kind == EDiskLine::BAD_GROUPS) read.end = "groups";
        if (!read.end.empty()) break;
    }
    return read;
}

void expectResults(SRead (*read)(const CLines&), const std::vector<SListingCase>& cases)
{
    EXPECT_GE(cases.size(), 25U);
    for (const SListingCase& entry : cases) {
        EXPECT_EQ(expand(entry.result), read(base_test::linesOf(expand(entry.text))).asText()) << entry.text;
    }
}

/// Each cut of the text gives the records of the whole text up to the cut; what stands in the last one is the beginning
/// of what the whole text has there.
void expectCutsToBePrefixes(SRead (*read)(const CLines&), const std::string& text)
{
    const SRead whole = read(base_test::linesOf(text));
    EXPECT_FALSE(whole.records.empty());
    EXPECT_EQ("", whole.end);
    for (size_t size = 0; size < text.size(); ++size) {
        const SRead cut = read(base_test::linesOf(text.substr(0, size)));
        ASSERT_LE(cut.records.size(), whole.records.size()) << size;
        for (size_t i = 0; i < cut.records.size(); ++i) {
            for (size_t field = 0; field < cut.records[i].size(); ++field) {
                const std::string& expected = whole.records[i][field];
                const std::string& actual = cut.records[i][field];
                ASSERT_TRUE(i + 1 < cut.records.size() ? actual == expected : expected.starts_with(actual)) << size;
            }
        }
    }
}

TEST(Listings, MalformedHostListings)
{
    expectResults(readHosts, {{"", ""},
                              {"\n", ""},
                              {" \t \n", ""},
                              {"\n\n\nb\n", "<b>"},
                              {"\r\n", "<>"},
                              {"a\r\n", "<a>"},
                              {"a\r b\n", "<a>"},
                              {"a\rb\n", "<a\rb>"},
                              {"\ra\n", "<a>"},
                              {"\r \ra\n", "<>"},
                              {"\ta\n", "<a>"},
                              {"a\tb\n", "<a>"},
                              {"[a]\n", "<[a]>"},
                              {"a[b] c\n", "<a[b]>"},
                              {"\xff\xfe\n", "<\xff\xfe>"},
                              {"\xc3\n", "<\xc3>"},
                              {"a@b c\n", "<a@b>"},
                              {"@\n", "<@>"},
                              {"\"a b\"\n", "<\"a>"},
                              {"a\na\n", "<a><a>"},
                              {"There are none!\n", "<There>"},
                              {"~\n", "<~>"},
                              {"Error: no server\n", "<Error:>"},
                              {"a\vb\n", "<a\vb>"},
                              {"\f\n", "<\f>"},
                              {"a,b\n", "<a,b>"},
                              {"<-\n", "<<->"},
                              {"#\n", "<#>"},
                              {"a #\n", "<a>"}});
}

TEST(Listings, MalformedGroupLists)
{
    expectResults(readGroupNames, {{"", ""},
                                   {"\n\n", ""},
                                   {"cg1\n", ""},
                                   {"cg1 luns\n", ""},
                                   {"cg1 luns =3\n", ""},
                                   {"cg1 LUNS=3\n", ""},
                                   {"cg1 lun s=3\n", ""},
                                   {"luns=\n", "<>"},
                                   {" \t luns=\n", "<>"},
                                   {"\rluns=\n", "<>"},
                                   {"cg1luns=3\n", "<cg1>"},
                                   {"cg1 luns=luns=\n", "<cg1>"},
                                   {"cg1 luns=x\n", "<cg1>"},
                                   {"luns=3 cg1\n", "<>"},
                                   {"cg1 xluns=3\n", "<cg1 x>"},
                                   {"\tcg1\tluns=3\r\n", "<cg1>"},
                                   {"cg 1 luns=3\n", "<cg 1>"},
                                   {"cg\t1 luns=3\n", "<cg\t1>"},
                                   {"[cg1] luns=3\n", "<[cg1]>"},
                                   {"\"cg1\" luns=3\n", "<\"cg1\">"},
                                   {"\xff luns=3\n", "<\xff>"},
                                   {"a@b luns=3\n", "<a@b>"},
                                   {"@luns=3\n", "<@>"},
                                   {"luns@=3\n", ""},
                                   {"cg1 luns=3\ncg1 luns=3\n", "<cg1><cg1>"},
                                   {"cg1 lun\ns=3\n", ""},
                                   {"# luns=1\n", "<#>"},
                                   {"#\n", ""}});
}

TEST(Listings, MalformedGroups)
{
    const std::string head = "Protected LUNS:\n";
    const std::string tail = "Permissions:\nStillmark LUNs:\n";
    const std::vector<SListingCase> bodies = {{"a [b] c\n", "<a=b>"},
                                              {"a [b]\n", "bad serial"},
                                              {"a [b\n", "bad serial"},
                                              {"a [b c\n", "bad serial"},
                                              {"a b] c\n", "bad device"},
                                              {"a b c\n", "bad device"},
                                              {"[b] c\n", "bad device"},
                                              {" [b] c\n", "<=b>"},
                                              {"a [] c\n", "bad serial"},
                                              {"a [ ] c\n", "<a=>"},
                                              {"a ]b[ c\n", "bad serial"},
                                              {"a [b] [c] d\n", "bad device"},
                                              {"a [[b] c\n", "<a=b>"},
                                              {"a [b]] c\n", "<a=b>"},
                                              {"a [b] c]\n", "<a=b>"},
                                              {"a [b] c] d\n", "bad serial"},
                                              {"a [b] \n", "<a=b>"},
                                              {"a [b]\r\n", "<a=b>"},
                                              {"\n", "bad device"},
                                              {"\t\n", "bad device"},
                                              {"\r\n", "bad device"},
                                              {"a [b] c\n\na [d] c\n", "<a=b>bad device"},
                                              {"\ta\t[\tb\t]\tc\n", "<a=b>"},
                                              {"\xff [\xfe] c\n", "<\xff=\xfe>"},
                                              {"a@ [@b] c\n", "<a@=@b>"},
                                              {"# [#] c\n", "<#=#>"},
                                              {"#\n", "bad device"},
                                              {"Protected LUNS:\na [b] c\n", "bad device"},
                                              {"Monitor LUNS:\na b\n", ""},
                                              {"Permissions:\na b\n", ""},
                                              {"Stillmark LUNs:\n", "bad device"}};
    EXPECT_GE(bodies.size(), 25U);
    for (const SListingCase& body : bodies) {
        const std::string text = expand(head + body.text + tail);
        EXPECT_EQ(expand(body.result), readGroup(base_test::linesOf(text)).asText()) << body.text;
    }
}

TEST(Listings, GroupsWithMissingDoubledOrSwappedSections)
{
    expectResults(readGroup, {{"", "no protected"},
                              {"\n", "no protected"},
                              {"Protected LUNS\nPermissions:\nStillmark LUNs:\n", "no protected"},
                              {"protected luns:\nPermissions:\nStillmark LUNs:\n", "no protected"},
                              {"Protected  LUNS:\nPermissions:\nStillmark LUNs:\n", "no protected"},
                              {"Protected\nLUNS:\nPermissions:\nStillmark LUNs:\n", "no protected"},
                              {"Protected@LUNS:\nPermissions:\nStillmark LUNs:\n", "no protected"},
                              {"Permissions:\nStillmark LUNs:\n", "no protected"},
                              {"Protected LUNS:\n", "no permission"},
                              {"Protected LUNS:\na [b] c\n", "no permission"},
                              {"Protected LUNS:\nMonitor LUNS:\n", "no permission"},
                              {"Protected LUNS:\nPermissions\nStillmark LUNs:\n", "no permission"},
                              {"Protected LUNS:\nStillmark LUNs:\n", "no permission"},
                              {"Protected LUNS:\nPermissions:\n", "no stillmark"},
                              {"Protected LUNS:\nPermissions:\nStillmark LUNS:\n", "no stillmark"},
                              {"Protected LUNS:\na b\nPermissions:\n", "no stillmark"},
                              {"Permissions:\nProtected LUNS:\na [b] c\nStillmark LUNs:\n", ""},
                              {"Stillmark LUNs:\nProtected LUNS:\na [b] c\nPermissions:\n", "<a=b>"},
                              {"Protected LUNS: Permissions: Stillmark LUNs:\na [b] c\n", ""},
                              {"Protected LUNS: x\na [b] c\nPermissions: y\nStillmark LUNs: z\n", "<a=b>"},
                              {"x Protected LUNS:\r\na [b] c\r\nPermissions:\r\nStillmark LUNs:\r\n", "<a=b>"},
                              {"Protected LUNS:\na [b] c\nPermissions:\nPermissions:\nStillmark LUNs:\n", "<a=b>"},
                              {"Monitor LUNS:\nProtected LUNS:\na [b] c\nPermissions:\nStillmark LUNs:\n", "<a=b>"},
                              {"\nMonitor LUNS:\nProtected LUNS:\na [b] c\nPermissions:\nStillmark LUNs:\n", ""},
                              {"Protected LUNS:\nPermissions:\nStillmark LUNs:\na [b] c\n", ""}});
}

TEST(Listings, MalformedTimeImageLists)
{
    expectResults(readImageNames, {{"", ""},
                                   {"There are none!\n", "none"},
                                   {"  There are none!  \r\n", "none"},
                                   {"x There are none! y\n", "none"},
                                   {"There are none\n", "<There>"},
                                   {"There  are none!\n", "<There>"},
                                   {"there are none!\n", "<there>"},
                                   {"There are none!\n\n", "<There>"},
                                   {"\nThere are none!\n", "<There>"},
                                   {"There are none!\nThere are none!\n", "<There><There>"},
                                   {"There are@none!\n", "<There>"},
                                   {"\n", ""},
                                   {" \t \n", ""},
                                   {"\r\n", "<>"},
                                   {"a\r\n", "<a>"},
                                   {"a b c\n", "<a>"},
                                   {"\ta\tb\n", "<a>"},
                                   {"a\n\nb\n", "<a><b>"},
                                   {"a\na\n", "<a><a>"},
                                   {"\xff\xfe x\n", "<\xff\xfe>"},
                                   {"a@b c\n", "<a@b>"},
                                   {"@\n", "<@>"},
                                   {"\"a b\"\n", "<\"a>"},
                                   {"[a] <- b\n", "<[a]>"},
                                   {"a\rb\n", "<a\rb>"},
                                   {"~\n", "<~>"},
                                   {"# x\n", "<#>"}});
}

TEST(Listings, MalformedTimeImages)
{
    const std::string head = "Name\nTimeImage LUNs:\n";
    const std::vector<SListingCase> bodies = {
        {"t [T] <- s [S]\n", "<t=T=s=S>"},
        {"t [T] <- s [S] \n", "bad 6"},
        {"t [T] <- s [S]\r\n", "bad 6"},
        {"t [T] <- s [S] x\n", "bad 6"},
        {"t [T]<- s [S]\n", "bad 4"},
        {"t [T] <- s[S]\n", "<t=T=s=S>"},
        {"t [T] - s [S]\n", "<t=T=s=S>"},
        {"t [T] < s [S]\n", "<t=T=s=S>"},
        {"t [T] -> s [S]\n", "<t=T=> s=S>"},
        {"t [T] s [S]\n", "bad 4"},
        {"t T <- s [S]\n", "bad 3"},
        {"t [T <- s [S]\n", "bad 4"},
        {"t T] <- s [S]\n", "bad 4"},
        {"t [T] <- s S\n", "bad 4"},
        {"t [T] <- s [S\n", "<t=T=s=S>"},
        {"t [T] <- s S]\n", "bad 4"},
        {"[T] <- s [S]\n", "bad 4"},
        {" [T] <- s [S]\n", "<=T=s=S>"},
        {"t [] <- s [S]\n", "bad 4"},
        {"t [ ] <- s [ ]\n", "<t==s=>"},
        {"t [T] <- [S]\n", "<t=T==S>"},
        {"t-1 [T] <- s [S]\n", "bad 6"},
        {"t [T] <- s [S] <- u [U]\n", "bad 8"},
        {"t [T <- s [S] x\n", "<t=T=S=x>"},  // five pieces are a LUN, wherever they end
        {"\n", "bad 0"},
        {"\t\n", "bad 1"},
        {"\r\n", "bad 1"},
        {"t [T] <- s [S]\n\n", "<t=T=s=S>bad 0"},
        {"TimeImage LUNs:\n", "bad 1"},
        {"\xff [\xfe] <- s [@]\n", "<\xff=\xfe=s=@>"},
        {"# [#] <- # [#]\n", "<#=#=#=#>"},
        {"#\n", "bad 1"}};
    EXPECT_GE(bodies.size(), 25U);
    for (const SListingCase& body : bodies) {
        EXPECT_EQ(expand(body.result), readImage(base_test::linesOf(expand(head + body.text))).asText()) << body.text;
    }
    for (const char* text : {"", "\n", "TimeImage LUNs\nt [T] <- s [S]\n", "timeimage luns:\n", "TimeImage LUNS:\n",
                             "TimeImage\nLUNs:\n", "TimeImage@LUNs:\n", "t [T] <- s [S]\n"}) {
        EXPECT_EQ("no luns", readImage(base_test::linesOf(expand(text))).asText()) << text;
    }
    EXPECT_EQ("", readImage({"x TimeImage LUNs: y"}).asText());
}

TEST(Listings, MalformedDiskLists)
{
    const char* const good = "p (a) b (c) d (e) (S)\n";
    const std::string head = "Disks\n~\n";
    const std::vector<SListingCase> bodies = {{good, "<p=S>"},
                                              {"p (a) b (c) d (S)\n", "few"},
                                              {"p\n", "few"},
                                              {"\n", "few"},
                                              {"\t \n", "few"},
                                              {"\r\n", "few"},
                                              {"~\n", "few"},
                                              {"p (a) b (c) d e (S)\n", "groups"},
                                              {"p a b c d e f\n", "groups"},
                                              {"p (a) b (c) d (e) (S) (T)\n", "groups"},
                                              {"p a) b c) d e) S)\n", "groups"},
                                              {"(p (a) b (c) d (e) (S)\n", "<(p=S>"},
                                              {"p (a) b (c) d (e) ((S)\n", "<p=S>"},
                                              {"p (a) b (c) d (e) (S))\n", "<p=S>"},
                                              {"p (a) b (c) d (e) (S) x\n", "<p=S>"},
                                              {"p (a b (c d (e (S\n", "<p=S>"},
                                              {"p (a) b (c) d (e) ( S )\n", "<p=S>"},
                                              {"p (a) b (c) d (e) ()\n", "<p=>"},
                                              {"p (a) b (c) d (e) ( ) x\n", "<p=>"},
                                              {"p (a) b (c) d (e) x (\n", "groups"},
                                              {"p\t(a)\tb\t(c)\td\t(e)\t(S)\n", "<p=S>"},
                                              {"p (a) b (c) d (e) (S)\r\n", "<p=S>"},
                                              {"p\r (a) b (c) d (e) (S\r)\n", "<p=S>"},
                                              {"\xff (a) b (c) d (e) (\xfe)\n", "<\xff=\xfe>"},
                                              {"p@ (a) b (c) d (e) (@S)\n", "<p@=@S>"},
                                              {"# (a) b (c) d (e) (#)\n", "<#=#>"},
                                              {"#\n", "few"},
                                              {"p (a) b (c) d (e) (S)\n\nq (a) b (c) d (e) (T)\n", "<p=S>few"},
                                              {"p (a) b (c) d (e) (S)\np (a) b (c) d (e) (T)\n", "<p=S><p=T>"}};
    EXPECT_GE(bodies.size(), 25U);
    for (const SListingCase& body : bodies) {
        EXPECT_EQ(expand(body.result), readDisks(base_test::linesOf(expand(head + body.text))).asText()) << body.text;
    }
    // No separator line: what stands below is heading still.
    for (const char* separator : {"", "=\n", "~=\n", "~\r\n", "~@\n", "~ x\n", "= ~\n", "-~\n", "#\n"}) {
        EXPECT_EQ("", readDisks(base_test::linesOf(expand(std::string("x\n") + separator + good))).asText())
            << separator;
    }
    EXPECT_EQ("<p=S>", readDisks(base_test::linesOf(expand(std::string(" \t~ \n") + good))).asText());
}

TEST(Listings, SamplesCutOffAnywhereGiveWhatStandsInThem)
{
    expectCutsToBePrefixes(readHosts, sample::HOSTS);
    expectCutsToBePrefixes(readGroupNames, sample::GROUPS);
    expectCutsToBePrefixes(readGroup, sample::GROUP);
    expectCutsToBePrefixes(readImageNames, sample::TIME_IMAGES);
    expectCutsToBePrefixes(readImage, sample::TIME_IMAGE);
    expectCutsToBePrefixes(readDisks, sample::DISKS);
}

}  // namespace
}  // namespace cdpfi
