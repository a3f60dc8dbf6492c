// Which names and sizes are usable, and in which words the others are refused.
#include "appliance/core/conventions/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "appliance/tests/test_support.h"
#include "base/plain_text.h"
#include "base/tests/name_corpus.h"

namespace lumora {

namespace {

std::string refusal(EObject object, const std::string& name)
{
    try {
        checkName(object, name);
    } catch (const EApplianceError& error) {
        EXPECT_EQ(error.status(), EStatus::MALFORMED);
        return error.what();
    }
    return "accepted";
}

TEST(Names, UsableOnes)
{
    EXPECT_EQ(refusal(EObject::APPLIANCE, "alpha-1.example.com"), "accepted");
    EXPECT_EQ(refusal(EObject::HOST, "backup_2.example-net.org"), "accepted");
    EXPECT_EQ(refusal(EObject::LUN, "lun_1.a"), "accepted");
    EXPECT_EQ(refusal(EObject::GROUP, "Payroll (EU) <daily> [1] - \xC3\xA4"), "accepted");
    EXPECT_EQ(refusal(EObject::ANNOTATION, "before luns=3 upgrade"), "accepted");
    EXPECT_EQ(refusal(EObject::TIME_IMAGE, "KSV_Time_Image_77"), "accepted");
}

TEST(Names, UnusableOnes)
{
    EXPECT_EQ(refusal(EObject::GROUP, "a\xFF"), "group name \"a\\xFF\" is not valid UTF-8");
    EXPECT_EQ(refusal(EObject::GROUP, "a\xC2\x85"),
              "group name \"a\\xC2\\x85\" must not hold a double quote or a control character");
    EXPECT_EQ(refusal(EObject::APPLIANCE, ""), "appliance name \"\" is empty");
    EXPECT_EQ(refusal(EObject::APPLIANCE, "appliance.db-wal"),
              "appliance name \"appliance.db-wal\" is taken by the store's own files");
    EXPECT_EQ(refusal(EObject::APPLIANCE, "faults.db"),
              "appliance name \"faults.db\" is taken by the store's own files");
    EXPECT_EQ(refusal(EObject::APPLIANCE, "ceph.clients"),
              "appliance name \"ceph.clients\" is taken by the store's own files");
    EXPECT_EQ(
        refusal(EObject::APPLIANCE, ".."),
        "appliance name \"..\" may hold letters and digits, \".\", \"_\", \"-\" and must begin with a letter or digit");
    EXPECT_EQ(
        refusal(EObject::HOST, "a b"),
        "host name \"a b\" may hold letters and digits, \".\", \"_\", \"-\" and must begin with a letter or digit");
    EXPECT_EQ(refusal(EObject::LUN, "lun-1"),
              "LUN name \"lun-1\" may hold letters and digits, \".\", \"_\" and must begin with a letter or digit");
    EXPECT_EQ(refusal(EObject::LUN, "a/b"),
              "LUN name \"a/b\" may hold letters and digits, \".\", \"_\" and must begin with a letter or digit");
    EXPECT_EQ(refusal(EObject::LUN, std::string(65, 'a')),
              "LUN name \"" + std::string(65, 'a') + "\" is longer than 64 bytes");
    EXPECT_EQ(refusal(EObject::GROUP, "a\"b"),
              "group name \"a\"b\" must not hold a double quote or a control character");
    EXPECT_EQ(refusal(EObject::GROUP, "a\nb"),
              "group name \"a\\x0Ab\" must not hold a double quote or a control character");
    EXPECT_EQ(refusal(EObject::GROUP, " a"), "group name \" a\" must not begin or end with a blank");
    EXPECT_EQ(refusal(EObject::GROUP, "x luns=3"), "group name \"x luns=3\" must not hold \"luns=\"");
    EXPECT_EQ(refusal(EObject::GROUP, "my Permissions:"),
              "group name \"my Permissions:\" must not hold \"Permissions:\"");
    EXPECT_EQ(refusal(EObject::ANNOTATION, "TimeImage LUNs:"),
              "annotation name \"TimeImage LUNs:\" must not hold \"TimeImage LUNs:\"");
    EXPECT_EQ(refusal(EObject::TIME_IMAGE, "a b"), "time image name \"a b\" must not hold a blank");
    EXPECT_EQ(refusal(EObject::GROUP, std::string(5000, 'a')),
              "group name \"" + std::string(40, 'a') + "\"... is longer than 255 bytes");
}

struct SCarrier
{
    EObject object;
    base_test::ECarrier carrier;
    std::string word;
};

TEST(Names, AreUsableForWhatTheyAreMeantFor)
{
    const std::vector<SCarrier> carriers = {{EObject::APPLIANCE, base_test::APPLIANCE, "appliance"},
                                            {EObject::HOST, base_test::HOST, "host"},
                                            {EObject::LUN, base_test::LUN, "LUN"},
                                            {EObject::GROUP, base_test::GROUP, "group"},
                                            {EObject::ANNOTATION, base_test::ANNOTATION, "annotation"},
                                            {EObject::TIME_IMAGE, base_test::IMAGE, "time image"}};
    for (const base_test::SCorpusName& name : base_test::nameCorpus()) {
        for (const auto& [object, carrier, word] : carriers) {
            const std::string text = refusal(object, name.name);
            EXPECT_EQ(text == "accepted", name.isFor(carrier)) << name.what << ": " << text;
            const std::string shown = name.name.size() <= 300 ? inQuotes(name.name) : inQuotes(name.name.substr(0, 40));
            EXPECT_TRUE(name.isFor(carrier) || text.starts_with(word + " name " + shown)) << text;
            EXPECT_TRUE(base::isPlainText(text)) << name.what;
        }
    }
}

TEST(Names, AreListedAsTheyAre)
{
    const test::CDemoStore demo;
    std::set<std::string> groups = {"cg1"};
    test::Lines lines = demo.lmsh("list cgroups").out;
    for (const base_test::SCorpusName& name : base_test::namesFor(base_test::GROUP)) {
        EXPECT_EQ(demo.lmadm({"group", "create", "--", name.name}).err, test::Lines()) << name.what;
        groups.insert(name.name);
        lines.push_back(name.name + " luns=0 annotations=0 timeimages=0");
    }
    std::set<std::string> listed;
    const nlohmann::json document = demo.document({"group", "list"});
    for (const nlohmann::json& group : document.at("groups")) {
        listed.insert(group.at("name"));
    }
    EXPECT_EQ(listed, groups);
    EXPECT_THAT(demo.lmsh("list cgroups").out, testing::UnorderedElementsAreArray(lines));
}

TEST(Names, OfCopiesAreListedAsTheyAre)
{
    const test::CDemoStore demo;
    std::string commands;
    test::Lines shown;
    test::Lines listed;
    for (const base_test::SCorpusName& name : base_test::namesFor(base_test::ANNOTATION)) {
        const std::string quoted = '"' + name.name + '"';
        const bool hasImage = name.isFor(base_test::IMAGE);
        commands += "create annotation " + quoted + " \"cg1\"\nset message " + quoted + "\ncommit\n";
        shown.push_back(quoted + " TIME " + quoted + " images=" + (hasImage ? "1" : "0"));
        if (!hasImage) continue;
        commands += "create timeimage " + quoted + " \"cg1\"\nuse annotation " + quoted + "\ncommit\n";
        listed.push_back(name.name + " TIME annotation=" + quoted);
    }
    EXPECT_EQ(demo.lmsh(commands).err, test::Lines());
    EXPECT_THAT(test::normalised(demo.lmsh("list timeimages \"cg1\"").out),
                testing::UnorderedElementsAreArray(test::normalised(listed)));
    const test::Lines group = test::normalised(demo.showGroup());
    for (const std::string& line : test::normalised(shown)) {
        EXPECT_THAT(group, testing::Contains(line));
    }
}

TEST(Sizes, AreReadAndWritten)
{
    EXPECT_EQ(parseSize("1"), 1U);
    EXPECT_EQ(parseSize("4096B"), 4096U);
    EXPECT_EQ(parseSize("512K"), 512U << 10U);
    EXPECT_EQ(parseSize("64MiB"), 64U << 20U);
    EXPECT_EQ(parseSize("2TiB"), uint64_t{2} << 40U);
    EXPECT_EQ(formatSize(64U << 20U), "64MiB");
    EXPECT_EQ(formatSize(1000), "1000B");
    EXPECT_EQ(formatSize(1536), "1536B");
    EXPECT_EQ(formatSize(uint64_t{3} << 40U), "3TiB");
}

TEST(Sizes, AreRefused)
{
    for (const char* const text : {"", "0", "MiB", "-1", "1.5GiB", "64MB", "64 MiB", "1e3", "9223372036854775808",
                                   "9999999TiB", "99999999999999999999"}) {
        EXPECT_THROW(parseSize(text), EApplianceError) << text;
    }
}

TEST(StorePath, MustFitIntoADiskListing)
{
    EXPECT_NO_THROW(checkStorePath("/srv/store-1"));
    for (const char* const path : {"/srv/my store", "/srv/(1)", "/srv/a\tb"}) {
        EXPECT_THROW(checkStorePath(path), EApplianceError) << path;
    }
}

}  // namespace

}  // namespace lumora
