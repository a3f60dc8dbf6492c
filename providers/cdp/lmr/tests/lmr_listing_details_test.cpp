// What the listings of a host, a group and a time image tell beyond their LUNs, and what is rather not known than
// wrong.

#include <gtest/gtest.h>

#include "providers/cdp/lmr/listings/lmr_listing_details.h"
#include "providers/cdp/lmr/tests/listing_tables.h"

namespace cdpfi {
namespace {

constexpr const char* NOT_TOLD = "?";

std::string show(const std::optional<std::string_view>& text)
{
    return text ? std::string(*text) : NOT_TOLD;
}

std::string show(const std::optional<std::vector<std::string_view>>& texts)
{
    if (!texts) return NOT_TOLD;
    std::string shown;
    for (const std::string_view text : *texts) {
        shown.append("<").append(text).append(">");
    }
    return shown;
}

std::string permissions(std::string_view text)
{
    const CListingLines lines = base_test::linesOf(text);
    return show(parseGroupDetails(lines).permissions);
}

std::string annotations(std::string_view text)
{
    const CListingLines lines = base_test::linesOf(text);
    const SLMRGroupDetails details = parseGroupDetails(lines);
    if (!details.annotations) return NOT_TOLD;
    std::string shown;
    for (const SLMRAnnotation& annotation : *details.annotations) {
        shown +=
            "<" + std::string(annotation.name) + "|" + show(annotation.time) + "|" + show(annotation.message) + ">";
    }
    return shown;
}

std::string imageNames(std::string_view text)
{
    const CListingLines lines = base_test::linesOf(text);
    return show(std::optional(parseGroupDetails(lines).images));
}

std::string image(std::string_view text)
{
    const CListingLines lines = base_test::linesOf(text);
    const SLMRImageDetails details = parseTimeImageDetails(lines);
    return show(details.annotation) + "|" + show(details.created) + "|" + show(details.permissions);
}

std::string presented(std::string_view text)
{
    const CListingLines lines = base_test::linesOf(text);
    return show(parsePresentedLuns(lines));
}

TEST(ListingDetails, PermissionsOfAGroupAreOneHostALine)
{
    expectAll(permissions, {{"Permissions:\nStillmark LUNs:\n", ""},
                            {"Permissions:\nbackup\n  prod-2\r\n\nStillmark LUNs:\nx y\n", "<backup><prod-2>"},
                            {"Monitor LUNS:\nx\n Permissions: \nbackup\nAnnotations:\n\"a\"\n", "<backup>"}});
}

TEST(ListingDetails, PermissionsInAnotherFormAreNotKnown)
{
    expectAll(permissions, {{"", NOT_TOLD},
                            {"Permissions:\n", NOT_TOLD},
                            {"Permissions:\nbackup\n", NOT_TOLD},
                            {"Permission:\nbackup\n", NOT_TOLD},
                            {"Permissions: backup\n", NOT_TOLD},
                            {"Permissions:\nbackup prod\n", NOT_TOLD},
                            {"Permissions:\nbackup (rw)\n", NOT_TOLD},
                            {"Permissions:\nbackup,prod\n", NOT_TOLD},
                            {"Permissions:\nnone!\n", NOT_TOLD},
                            {"Permissions:\nbackup\nJournal LUNs:\nx\nStillmark LUNs:\n", NOT_TOLD},
                            {"Permissions:\nbackup\nPermissions:\nStillmark LUNs:\n", NOT_TOLD},
                            {"x Permissions:\nbackup\n", NOT_TOLD}});
}

TEST(ListingDetails, AnnotationsAreNamesInQuotesWithTimeAndMessage)
{
    const std::string head = "Annotations:\n";
    const std::string end = "Time images:\n";
    expectAll(annotations,
              {{head + end, ""},
               {head + end + "ti1 2026\n", ""},
               {head + "\"KSV_Check_Point_77\" 2026-11-21T01:51:22Z \"CreatedByKestrav\" images=1\n" + end,
                "<KSV_Check_Point_77|2026-11-21T01:51:22Z|CreatedByKestrav>"},
               {head + "\"a\" 2024-05-01 10:00:00 \"\" images=0\n\"b\"\n" + end, "<a|2024-05-01 10:00:00|><b|?|?>"},
               {head + "\"db that does not exist\" \"m\"\n" + end, "<db that does not exist|?|m>"},
               {head + "\"x images=1\" 2026 images=1\r\n" + end, "<x images=1|2026|?>"},
               {head + "\"Time images:\" 1 \"Annotations:\"\n" + end, "<Time images:|1|Annotations:>"},
               {head + "\"a<b\" yesterday \"m\"\n" + end, "<a<b|?|?>"},
               {head + "\"a\" 2026 \"not closed images=1\n" + end, "<a|2026|?>"},
               {head + "\n  \"a\"\t2026\t\"m\"\n" + end, "<a|2026|m>"}});
}

TEST(ListingDetails, AnnotationsInAnotherFormAreNotKnown)
{
    const std::string head = "Annotations:\n";
    const std::string end = "Time images:\n";
    expectAll(annotations, {{"", NOT_TOLD},
                            {"annotations:\n\"a\"\n" + end, NOT_TOLD},
                            {"Annotations: 1\n\"a\"\n" + end, NOT_TOLD},
                            {head + "a 2026\n" + end, NOT_TOLD},
                            {head + "\"a\"\nb\n" + end, NOT_TOLD},
                            {head + "\"\" 2026\n" + end, NOT_TOLD},
                            {head + "\"a\n" + end, NOT_TOLD},
                            {head + "\"\n" + end, NOT_TOLD},
                            {head + "\"a\"b\n" + end, NOT_TOLD},
                            {head + "There are none!\n" + end, NOT_TOLD},
                            {head + "\"a\"\nJournal:\nx\n" + end, NOT_TOLD},
                            {head + "\"a\"\n" + head + "\"b\"\n" + end, NOT_TOLD}});
}

TEST(ListingDetails, AnnotationsThatNothingFollowsMayHaveLostTheirEnd)
{
    expectAll(annotations, {{"Annotations:\n", NOT_TOLD}, {"Annotations:\n\"a\" 2026\n", NOT_TOLD}});
}

TEST(ListingDetails, AGroupNamesItsTimeImages)
{
    expectAll(imageNames, {{"", ""},
                           {"Time images:\n", ""},
                           {"Time images:\nThere are none!\n", ""},
                           {"Time images:\nti1 2026 annotation=\"a\"\nti2\n\n", "<ti1><ti2>"},
                           {"Time images:\nti1\nTime images:\nti2\n", ""}});
}

TEST(ListingDetails, AnImageTellsItsAnnotationItsTimeAndItsHosts)
{
    const std::string end = "TimeImage LUNs:\nx\n";
    expectAll(image, {{"TimeImage: t\nAnnotation: KSV_Check_Point_77\nCreated: 2026-11-21T01:51:22Z\n"
                       "Permissions: backup prod\n" +
                           end,
                       "KSV_Check_Point_77|2026-11-21T01:51:22Z|<backup><prod>"},
                      {"Annotation: db that does not exist\nPermissions: \n" + end, "db that does not exist|?|"},
                      {"Annotation: Annotation: a\nPermissions:\n" + end, "Annotation: a|?|"},
                      {"Consistency Group: Created: never\n\tCreated:\t2026 \r\n" + end, "?|2026|?"}});
}

TEST(ListingDetails, AnImageInAnotherFormTellsNothing)
{
    const std::string end = "TimeImage LUNs:\n";
    expectAll(image, {{"", "?|?|?"},
                      {"Annotation: a\nCreated: b\nPermissions: c\n", "?|?|?"},
                      {end + "Annotation: a\nCreated: b\nPermissions: c\n", "?|?|?"},
                      {"Annotation:\nCreated: \n" + end, "?|?|?"},
                      {"Annotation a\nannotation: a\nMy Annotation: a\n" + end, "?|?|?"},
                      {"Annotation: a\nAnnotation: b\n" + end, "?|?|?"},
                      {"Permissions: a, b\n" + end, "?|?|?"},
                      {"Permissions: a\nPermissions: b\n" + end, "?|?|?"},
                      {"Permissions:\n  backup\n" + end, "?|?|?"},
                      {"Permissions: backup\n  prod\n" + end, "?|?|?"}});
}

TEST(ListingDetails, AHostTellsTheLunsThatArePresentedToIt)
{
    expectAll(presented, {{"Host: prod\nPresented LUNs:\n", ""},
                          {"Presented LUNs:\r\n/dev/lumora/lun1 [LM1] 64MiB\r\n\n x [LM2] y\n", "<LM1><LM2>"},
                          {"", NOT_TOLD},
                          {"Host production\n", NOT_TOLD},
                          {"Presented LUNs: /dev/x [LM1] 64MiB\n", NOT_TOLD},
                          {"Presented LUNs:\nnone\n", NOT_TOLD},
                          {"Presented LUNs:\n/dev/x [LM1] 64MiB\n/dev/y [LM2]\n", NOT_TOLD},
                          {"Presented LUNs:\n/dev/x [ ] 64MiB\n", NOT_TOLD},
                          {"Presented LUNs:\nPresented LUNs:\n", NOT_TOLD}});
}

TEST(ListingDetails, AnAnswerThatWasCutTellsNothingThatTheWholeOneDoesNot)
{
    const std::string whole = "Permissions:\nbackup\nStillmark LUNs:\nAnnotations:\n\"a\" 2026 \"m\"\nTime images:\n";
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::string cut = whole.substr(0, size);
        const std::string hosts = permissions(cut);
        EXPECT_TRUE(hosts == NOT_TOLD || hosts == "<backup>") << cut;
        const std::string names = annotations(cut);
        EXPECT_TRUE(names == NOT_TOLD || names == "<a|2026|m>") << cut;
    }
}

}  // namespace
}  // namespace cdpfi
