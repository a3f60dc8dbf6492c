// lmsh as its callers meet it: whole listings, refusals with text and status, effects.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appliance/core/conventions/error.h"
#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Lmsh, ListsHostsAndGroups)
{
    const CDemoStore demo;
    EXPECT_THAT(demo.lmsh(" list  hosts ").out, ElementsAre("backup", "prod"));
    demo.lmadm({"group", "create", "a second group"});
    EXPECT_THAT(demo.lmsh(" list  cgroups ").out, ElementsAre("a second group luns=0 annotations=0 timeimages=0",
                                                              "cg1 luns=2 annotations=0 timeimages=0"));
}

TEST(Lmsh, ShowsAHost)
{
    const CDemoStore demo;
    EXPECT_THAT(normalised(demo.lmsh(" show  host \"prod\"").out),
                ElementsAre("Host: prod", "Presented LUNs:", "/dev/lumora/lun1 [SERIAL] 256KiB",
                            "/dev/lumora/lun2 [SERIAL] 256KiB"));
}

TEST(Lmsh, ShowsAGroupWithAllItsSections)
{
    const CDemoStore demo;
    EXPECT_THAT(normalised(demo.showGroup()),
                ElementsAre("Consistency Group: cg1", "Protected LUNS:", "/dev/lumora/lun1 [SERIAL] 256KiB",
                            "/dev/lumora/lun2 [SERIAL] 256KiB",
                            "Monitor LUNS:", "Permissions:", "Stillmark LUNs:", "Annotations:", "Time images:"));
    demo.createAnnotation("KSV_Check_Point_7");
    demo.createTimeImage("KSV_Time_Image_7", "KSV_Check_Point_7", "backup");
    demo.lmsh("update timeimage \"cg1\"\nadd permission \"prod\"\ncommit");
    EXPECT_THAT(normalised(demo.showGroup()),
                ElementsAre("Consistency Group: cg1", "Protected LUNS:", "/dev/lumora/lun1 [SERIAL] 256KiB",
                            "/dev/lumora/lun2 [SERIAL] 256KiB", "Monitor LUNS:", "Permissions:", "prod",
                            "Stillmark LUNs:", "Annotations:", "\"KSV_Check_Point_7\" TIME \"M\" images=1",
                            "Time images:", "KSV_Time_Image_7 TIME annotation=\"KSV_Check_Point_7\""));
}

TEST(Lmsh, ListsTimeImages)
{
    const CDemoStore demo;
    EXPECT_THAT(demo.lmsh(" list  timeimages \"cg1\"").out, ElementsAre("There are none!"));
    demo.createAnnotation("A");
    demo.createTimeImage("T2", "A", "backup");
    demo.createTimeImage("T1", "A", "backup");
    EXPECT_THAT(normalised(demo.lmsh(" list  timeimages \"cg1\"").out),
                ElementsAre("T2 TIME annotation=\"A\"", "T1 TIME annotation=\"A\""));
}

TEST(Lmsh, ShowsATimeImage)
{
    const CDemoStore demo;
    demo.createAnnotation("A");
    const SResult made = demo.lmsh(
        " create  timeimage \"T\" \"cg1\"\n use  annotation \"A\"\n add  permission \"backup\"\n set  preserve  mode  "
        "no \n"
        " set  prevent  expiration  timeout 0\n set  proactive  expiration  timeout 5\n commit ");
    EXPECT_EQ(made.status, 0);
    EXPECT_THAT(made.out, ElementsAre("time image \"T\" created"));
    EXPECT_THAT(
        normalised(demo.lmsh(" show  timeimage \"T\" \"cg1\"").out),
        ElementsAre("TimeImage: T", "Consistency Group: cg1", "Annotation: A", "Created: TIME", "Preserve Mode: no",
                    "Prevent Expiration Timeout: 0", "Proactive Expiration Timeout: 5", "Permissions: backup",
                    "TimeImage LUNs:", "/dev/lumora/ti1_lun1 [SERIAL] <- /dev/lumora/lun1 [SERIAL]",
                    "/dev/lumora/ti1_lun2 [SERIAL] <- /dev/lumora/lun2 [SERIAL]"));
}

// A reader splits a LUN line at these characters and counts the pieces.
TEST(Lmsh, LunLinesOfATimeImageHoldFivePieces)
{
    const CDemoStore demo;
    demo.createAnnotation("A");
    demo.createTimeImage("T", "A", "backup");
    const Lines lines = demo.lmsh("show timeimage \"T\" \"cg1\"").out;
    for (size_t index = lines.size() - 2; index < lines.size(); ++index) {
        int pieces = 0;
        bool inside = false;
        for (const char c : lines[index]) {
            const bool mark = std::string("[]<-").find(c) != std::string::npos;
            pieces += !mark && !inside ? 1 : 0;
            inside = !mark;
        }
        EXPECT_EQ(pieces, 5) << lines[index];
    }
}

struct SCase
{
    std::string commands;
    EStatus status;
    std::string text;
};

class LmshRefusal : public testing::TestWithParam<SCase>
{
};

TEST_P(LmshRefusal, SaysWhichObjectAndChangesNothing)
{
    const CDemoStore demo;
    demo.createAnnotation("A");
    demo.createTimeImage("T", "A", "backup");
    const Lines before = demo.showGroup();
    const SResult result = demo.lmsh(GetParam().commands);
    EXPECT_EQ(result.status, static_cast<int>(GetParam().status));
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("lmsh: " + GetParam().text));
    EXPECT_EQ(demo.showGroup(), before);
    EXPECT_EQ(entriesIn(demo.home() / "annotations"), 1U);
    EXPECT_EQ(entriesIn(demo.home() / "images"), 1U);
}

const std::string longName(256, 'n');

const SCase CASES[] = {
    {"show host \"X\"", EStatus::MISSING, "host \"X\" does not exist on appliance \"alpha\""},
    {"show cgroup \"X\"", EStatus::MISSING, "group \"X\" does not exist on appliance \"alpha\""},
    {"list timeimages \"X\"", EStatus::MISSING, "group \"X\" does not exist on appliance \"alpha\""},
    {"show timeimage \"X\" \"cg1\"", EStatus::MISSING, "time image \"X\" does not exist in group \"cg1\""},
    {"show timeimage \"T\" \"X\"", EStatus::MISSING, "group \"X\" does not exist on appliance \"alpha\""},
    {"create annotation \"B\" \"X\"\ncommit", EStatus::MISSING, "group \"X\" does not exist on appliance \"alpha\""},
    {"create annotation \"A\" \"cg1\"\ncommit", EStatus::EXISTS, "annotation \"A\" exists already in group \"cg1\""},
    {"create annotation \"\" \"cg1\"\ncommit", EStatus::MALFORMED, "annotation name \"\" is empty"},
    {"create annotation \"" + longName + "\" \"cg1\"\ncommit", EStatus::MALFORMED,
     "annotation name \"" + longName + "\" is longer than 255 bytes"},
    {"create annotation \"B\" \"cg1\"", EStatus::MALFORMED,
     "line 2: no \"commit\" after: create annotation \"B\" \"cg1\""},
    {"delete annotation \"X\" \"cg1\"", EStatus::MISSING, "annotation \"X\" does not exist in group \"cg1\""},
    {"delete annotation \"A\" \"X\"", EStatus::MISSING, "group \"X\" does not exist on appliance \"alpha\""},
    {"delete annotation \"A\" \"cg1\"", EStatus::IN_USE,
     "annotation \"A\" is in use by time image \"T\" in group \"cg1\""},
    {"create timeimage \"U\" \"cg1\"\nuse annotation \"X\"\ncommit", EStatus::MISSING,
     "annotation \"X\" does not exist in group \"cg1\""},
    {"create timeimage \"U\" \"X\"\nuse annotation \"A\"\ncommit", EStatus::MISSING,
     "group \"X\" does not exist on appliance \"alpha\""},
    {"create timeimage \"T\" \"cg1\"\nuse annotation \"A\"\ncommit", EStatus::EXISTS,
     "time image \"T\" exists already in group \"cg1\""},
    {"create timeimage \"U\" \"cg1\"\nuse annotation \"A\"\nadd permission \"X\"\ncommit", EStatus::MISSING,
     "host \"X\" does not exist on appliance \"alpha\""},
    {"create timeimage \"U V\" \"cg1\"\nuse annotation \"A\"\ncommit", EStatus::MALFORMED,
     "time image name \"U V\" must not hold a blank"},
    {"delete timeimage \"\" \"cg1\"", EStatus::MISSING, "time image \"\" does not exist in group \"cg1\""},
    {"delete timeimage \"T\" \"X\"", EStatus::MISSING, "group \"X\" does not exist on appliance \"alpha\""},
    {"update timeimage \"X\"\nadd permission \"prod\"\ncommit", EStatus::MISSING,
     "group \"X\" does not exist on appliance \"alpha\""},
    {"update timeimage \"cg1\"\nadd permission \"prod\"\nadd permission \"X\"\ncommit", EStatus::MISSING,
     "host \"X\" does not exist on appliance \"alpha\""},
    {"update timeimage \"cg1\"\ndelete permission \"prod\"\ncommit", EStatus::MISSING,
     "permission of host \"prod\" does not exist on group \"cg1\""},
    {"update timeimage \"T\" \"cg1\"\ndelete permission \"prod\"\ncommit", EStatus::MISSING,
     "permission of host \"prod\" does not exist on time image \"T\" in group \"cg1\""},
    {"update timeimage \"X\" \"cg1\"\nadd permission \"prod\"\ncommit", EStatus::MISSING,
     "time image \"X\" does not exist in group \"cg1\""},
    {"update timeimage \"T\" \"cg1\"\nadd permission \"prod\"", EStatus::MALFORMED,
     "line 2: no \"commit\" after: update timeimage \"T\" \"cg1\""},
};

INSTANTIATE_TEST_SUITE_P(All, LmshRefusal, testing::ValuesIn(CASES));

TEST(Lmsh, RefusesAnUnknownServer)
{
    const CDemoStore demo;
    const SResult result = demo.rawLmsh("server beta\nlist hosts\nexit\n");
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, ElementsAre("lmsh: appliance \"beta\" does not exist"));
}

TEST(Lmsh, AppliesNothingOfAScriptThatWasCutOff)
{
    const CDemoStore demo;
    const std::string whole = script("create annotation \"A\" \"cg1\"\nset message M\ncommit\nlist hosts");
    // Without its last newline the script is still whole.
    for (size_t length = 0; length + 1 < whole.size(); length += 7) {
        EXPECT_EQ(demo.rawLmsh(whole.substr(0, length)).status, 2) << length;
    }
    EXPECT_EQ(demo.rawLmsh(whole.substr(0, whole.size() - 2)).status, 2);
    EXPECT_EQ(entriesIn(demo.home() / "annotations"), 0U);
}

TEST(Lmsh, ChangesOfOneCommandBelongTogether)
{
    const CDemoStore demo;
    EXPECT_EQ(
        demo.lmsh("update timeimage \"cg1\"\nadd permission \"prod\"\ndelete permission \"backup\"\ncommit").status, 3);
    EXPECT_THAT(normalised(demo.showGroup()), testing::Not(testing::Contains("prod")));
    EXPECT_EQ(demo.lmsh("update timeimage \"cg1\"\nadd permission \"prod\"\nadd permission \"backup\"\ncommit").status,
              0);
    EXPECT_THAT(demo.showGroup(), testing::IsSupersetOf({"backup", "prod"}));
}

TEST(Lmsh, ChangesOfOneCommandOnATimeImageBelongTogether)
{
    const CDemoStore demo;
    demo.createAnnotation("A");
    demo.createTimeImage("T", "A", "backup");
    const std::string changes = "add permission \"prod\"\ndelete permission \"backup\"\ndelete permission \"backup\"";
    EXPECT_EQ(demo.lmsh("update timeimage \"T\" \"cg1\"\n" + changes + "\ncommit").status, 3);
    EXPECT_THAT(demo.lmsh("show timeimage \"T\" \"cg1\"").out, testing::Contains("Permissions: backup"));
}

TEST(Lmsh, RefusesAnAnnotationOfAGroupWithoutLuns)
{
    const CDemoStore demo;
    demo.lmadm({"group", "create", "empty"});
    const SResult result = demo.lmsh("create annotation \"A\" \"empty\"\ncommit");
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, ElementsAre("lmsh: a LUN to protect does not exist in group \"empty\""));
}

TEST(Lmsh, DeletesATimeImageAndThenItsAnnotation)
{
    const CDemoStore demo;
    demo.createAnnotation("A");
    demo.createTimeImage("T", "A", "backup");
    EXPECT_THAT(demo.lmsh(" delete  timeimage \"T\" \"cg1\"").out, ElementsAre("time image \"T\" deleted"));
    EXPECT_THAT(demo.lmsh(" delete  annotation \"A\" \"cg1\"").out, ElementsAre("annotation \"A\" deleted"));
    EXPECT_EQ(entriesIn(demo.home() / "annotations"), 0U);
    EXPECT_EQ(entriesIn(demo.home() / "images"), 0U);
    EXPECT_THAT(demo.lmsh("list timeimages \"cg1\"").out, ElementsAre("There are none!"));
}

TEST(Lmsh, TellsWhyItsConfigurationIsUnusable)
{
    const CTemporaryFolder root;
    const std::string file = (root.path() / "etc/qz/appliance.conf").string();
    const auto run = [&root] { return CProcess(lmshCommand(), script("list hosts"), root.path().string()).wait(); };
    SResult result = run();
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("lmsh: cannot read " + file +
                                        ": No such file or directory; write it with lmadm host setup"));
    std::filesystem::create_directories(root.path() / "etc/qz");
    writeFile(file, "STORE=relative\nHOST=prod\n");
    EXPECT_THAT(run().err, ElementsAre("lmsh: configuration " + file +
                                       ": STORE is not an absolute path; write it with lmadm host setup"));
    writeFile(file, "# comment\n\nOTHER=1\nSTORE=" + root.path().string() + "/none\nHOST=prod\n");
    EXPECT_THAT(run().err, ElementsAre("lmsh: folder \"" + root.path().string() + "/none\" holds no appliance store"));
    writeFile(file, "garbage\n");
    result = run();
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("lmsh: configuration " + file +
                                        ": line 1 is not KEY=VALUE; write it with lmadm host setup"));
}

TEST(Lmsh, RefusesAFileThatIsNoDatabase)
{
    const CDemoStore demo;
    const std::filesystem::path base = demo.store() / "var/lib/lumora";
    std::filesystem::remove(base / "appliance.db-wal");
    std::filesystem::remove(base / "appliance.db-shm");
    writeFile(base / "appliance.db", std::string(8192, 'x'));
    const SResult result = demo.lmsh("list hosts");
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre("lmsh: store database " + (base / "appliance.db").string() +
                                        " is unusable: file is not a database"));
}

TEST(Lmsh, ShowsItsCommandsInTheHelp)
{
    const SResult result = CProcess({LMSH_PATH, "--help"}, "").wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(
        result.out,
        ElementsAre(
            "Usage: lmsh < SCRIPT",
            "Runs a script of appliance commands: a line \"server NAME\", commands, a line \"exit\".", "",
            "  list hosts", "  list cgroups", "  show host \"H\"", "  show cgroup \"G\"",
            "  create annotation \"A\" \"G\" ... set message WORD ... commit", "  delete annotation \"A\" \"G\"",
            "  create timeimage \"T\" \"G\" ... use annotation \"A\" ... add permission \"H\" ... set preserve mode "
            "no|yes ...",
            "      set prevent expiration timeout N ... set proactive expiration timeout N ... commit",
            "  delete timeimage \"T\" \"G\"", "  list timeimages \"G\"", "  show timeimage \"T\" \"G\"",
            "  update timeimage \"G\" ... add permission \"H\" ... delete permission \"H\" ... commit",
            "  update timeimage \"T\" \"G\" ... add permission \"H\" ... delete permission \"H\" ... commit", "",
            "Exit status: 0 done, 2 malformed script, 3 an object does not exist, 4 an object exists already, 5 an "
            "object is",
            "in use, 6 storage failure, 7 store or configuration unusable, 1 anything else."));
}

TEST(Lmsh, TakesNoArguments)
{
    EXPECT_EQ(CProcess({LMSH_PATH, "list"}, "").wait().status, 2);
}

}  // namespace

}  // namespace lumora::test
