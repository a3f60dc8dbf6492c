// Which names and sizes are usable, and in which words the others are refused.
#include "appliance/core/conventions/names.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(refusal(EObject::APPLIANCE, ""), "appliance name \"\" is empty");
    EXPECT_EQ(refusal(EObject::APPLIANCE, "appliance.db-wal"),
              "appliance name \"appliance.db-wal\" is taken by the store's own files");
    EXPECT_EQ(refusal(EObject::APPLIANCE, "faults.db"),
              "appliance name \"faults.db\" is taken by the store's own files");
    EXPECT_EQ(refusal(EObject::APPLIANCE, "engine.conf"),
              "appliance name \"engine.conf\" is taken by the store's own files");
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
