#include "host/src/runs/appliance_answer.h"

#include <gtest/gtest.h>

#include "host/src/runs/appliance_report.h"
#include "host/tests/run_records.h"

namespace fictl {

namespace {

const std::string REMOVE = " delete  annotation \"C\" \"G\"";
const std::string NOT_THERE = "annotation \"C\" does not exist in group \"G\"";
const std::string MAKE = " create  annotation \"C\" \"G\"\n set  message  x \n commit ";
const std::string EXISTS = "annotation \"C\" exists already in group \"G\"";

// Names that hold what answers are made of; none can hold a double quote or a control character.
const std::vector<std::string> ODD_NAMES = {"db that does not exist",
                                            "x] failed with error [y",
                                            "exists already",
                                            "does not exist in group ",
                                            "lmsh: annotation ",
                                            "  two  blanks  ",
                                            "error",
                                            "",
                                            "a'b",
                                            "server alpha",
                                            "gr\xc3\xbc\xc3\x9f",
                                            "\xff\xfe"};

SRunRecord refusedDeletion(const std::string& kind, const std::string& word, const std::string& name,
                           const std::string& group)
{
    return runs::refused("delete " + kind + " \"" + name + "\" \"" + group + "\"", 3,
                         "lmsh: " + word + " \"" + name + "\" does not exist in group \"" + group + "\"\n");
}

bool confirms(std::vector<SRunRecord> all)
{
    return confirmsDeletion(all, "alpha", "G", "C");
}

std::string timeIn(const std::string& command, const std::string& answer, uint64_t size)
{
    obzx_run whole{};
    whole.output = answer.c_str();
    whole.output_kept = answer.size();
    whole.output_size = size;
    return creationTimeIn(runs::succeeded(command), whole);
}

TEST(ApplianceAnswer, OfAShownImageTellsWhenItWasMade)
{
    const std::string show = " show  timeimage \"T\" \"G\"";
    const std::string answer = "TimeImage: T\nAnnotation: C\nCreated: 2026-01-31T12:00:00Z\nTimeImage LUNs:\n";
    EXPECT_EQ(timeIn(show, answer, answer.size()), "2026-01-31T12:00:00Z");
    EXPECT_EQ(timeIn(show, answer, answer.size() + 1), "") << "a part of it is missing";
    EXPECT_EQ(timeIn(" delete  timeimage \"T\" \"G\"", answer, answer.size()), "");
    EXPECT_EQ(timeIn(" show  annotation \"T\" \"G\"", answer, answer.size()), "");
    for (const std::string& other :
         {std::string(), std::string("TimeImage: T\n"), "Created: yesterday\n" + std::string(),
          answer + "Created: 2026-01-31T12:00:00Z\n", std::string("Annotation: Created: 2026-01-31T12:00:00Z\n")}) {
        EXPECT_EQ(timeIn(show, other, other.size()), "") << other;
    }
}

}  // namespace

TEST(ApplianceAnswer, ReadsTheCommandOfAScript)
{
    const auto command = objectCommandOf("server alpha\n delete  annotation \"C  1\"  \"G\"\nexit\n");
    ASSERT_TRUE(command);
    EXPECT_EQ(*command, (SObjectCommand{"alpha", "delete", "annotation", "C  1", "G"}));
    EXPECT_EQ(objectCommandOf(runs::script(MAKE)), (SObjectCommand{"alpha", "create", "annotation", "C", "G"}));
    EXPECT_EQ(objectCommandOf(runs::script("show timeimage \"T\" \"G\"")),
              (SObjectCommand{"alpha", "show", "timeimage", "T", "G"}));
    EXPECT_EQ(objectCommandOf("server my appliance\ndelete timeimage \"\" \"\"\nexit"),
              (SObjectCommand{"my appliance", "delete", "timeimage", "", ""}));
}

TEST(ApplianceAnswer, DoesNotTakeOtherScriptsForCommands)
{
    for (const char* text :
         {"", "exit\n", "server alpha\nexit\n", "server\ndelete annotation \"C\" \"G\"\nexit\n",
          "server alpha\ndelete annotation \"C\" \"G\"\n", "delete annotation \"C\" \"G\"\nexit\n",
          "server alpha\ndelete annotation \"C\"\nexit\n", "server alpha\ndelete annotation C G\nexit\n",
          "server alpha\ndelete annotation \"C\" \"G\" \"H\"\nexit\n",
          "server alpha\ndelete annotation \"C\" \"G\nexit\n", "server alpha\ndelete cgroup \"C\" \"G\"\nexit\n",
          "server alpha\nupdate timeimage \"T\" \"G\"\nexit\n",
          "server alpha\ndelete annotation \"C\" \"G\"\ndelete annotation \"D\" \"G\"\nexit\n",
          "server alpha\ncreate annotation \"C\" \"G\"\nexit\n",
          "server alpha\ncreate annotation \"C\" \"G\"\ncommit\ncommit\nexit\n",
          "server alpha\ncreate annotation \"C\" \"G\"\ndelete annotation \"C\" \"G\"\ncommit\nexit\n",
          "server alpha\ndelete annotation \"C\" \"G\"\nexit\nexit\n"}) {
        EXPECT_FALSE(objectCommandOf(text)) << text;
    }
}

TEST(ApplianceAnswer, SuccessIsDone)
{
    EXPECT_EQ(judge(runs::succeeded(REMOVE)), EAnswer::DONE);
    EXPECT_EQ(judge(runs::of("")), EAnswer::DONE);
}

TEST(ApplianceAnswer, NotThereIsStatus3AndTheExactLine)
{
    EXPECT_EQ(judge(runs::refused(REMOVE, 3, NOT_THERE + "\n")), EAnswer::NOT_THERE);
    EXPECT_EQ(judge(runs::refused(REMOVE, 3, NOT_THERE)), EAnswer::NOT_THERE);
    EXPECT_EQ(judge(runs::refused(REMOVE, 3, "lmsh: " + NOT_THERE + "\n")), EAnswer::NOT_THERE);
    EXPECT_EQ(judge(runs::refused(REMOVE, 3, "my-tool_2.sh: " + NOT_THERE + "\n")), EAnswer::NOT_THERE);
    EXPECT_EQ(
        judge(runs::refused("delete timeimage \"T\" \"G\"", 3, "time image \"T\" does not exist in group \"G\"\n")),
        EAnswer::NOT_THERE);
    for (const int status : {0, 1, 2, 4, 5, 6, 7, 127}) {
        EXPECT_EQ(judge(runs::refused(REMOVE, status, NOT_THERE + "\n")), EAnswer::UNKNOWN) << status;
    }
}

TEST(ApplianceAnswer, AnythingAroundTheLineMakesItAnotherAnswer)
{
    for (const std::string& answer :
         {std::string(), std::string("\n"), NOT_THERE + "\n\n", "\n" + NOT_THERE, NOT_THERE + " ", " " + NOT_THERE,
          NOT_THERE + "\nWelcome\n", "Welcome\n" + NOT_THERE + "\n", NOT_THERE + "\r\n", NOT_THERE + ".",
          ": " + NOT_THERE, "a b: " + NOT_THERE, "error in \"x\": " + NOT_THERE, "lmsh:" + NOT_THERE,
          "lmsh:  " + NOT_THERE, NOT_THERE.substr(1), std::string(1, '\0') + NOT_THERE}) {
        EXPECT_EQ(judge(runs::refused(REMOVE, 3, answer)), EAnswer::UNKNOWN) << answer;
    }
}

TEST(ApplianceAnswer, AnotherMissingObjectSaysNothingOfThisOne)
{
    for (const char* answer :
         {"group \"G\" does not exist on appliance \"alpha\"\n", "appliance \"alpha\" does not exist\n",
          "annotation \"D\" does not exist in group \"G\"\n", "annotation \"C\" does not exist in group \"H\"\n",
          "annotation \"C\" does not exist\n", "time image \"C\" does not exist in group \"G\"\n",
          "annotation \"C\" exists already in group \"G\"\n"}) {
        EXPECT_EQ(judge(runs::refused(REMOVE, 3, answer)), EAnswer::UNKNOWN) << answer;
    }
    EXPECT_EQ(judge(runs::refused("create timeimage \"T\" \"G\"\nuse annotation \"C\"\ncommit", 3, NOT_THERE)),
              EAnswer::UNKNOWN);
}

TEST(ApplianceAnswer, ExistsAlreadyIsStatus4AndTheExactLineOfACreate)
{
    EXPECT_EQ(judge(runs::refused(MAKE, 4, "lmsh: " + EXISTS + "\n")), EAnswer::EXISTS_ALREADY);
    EXPECT_EQ(judge(runs::refused("create timeimage \"T\" \"G\"\nuse annotation \"C\"\ncommit", 4,
                                  "time image \"T\" exists already in group \"G\"\n")),
              EAnswer::EXISTS_ALREADY);
    EXPECT_EQ(judge(runs::refused(MAKE, 3, EXISTS + "\n")), EAnswer::UNKNOWN);
    EXPECT_EQ(judge(runs::refused(MAKE, 4, NOT_THERE + "\n")), EAnswer::UNKNOWN);
    EXPECT_EQ(judge(runs::refused(REMOVE, 4, EXISTS + "\n")), EAnswer::UNKNOWN);
    EXPECT_EQ(judge(runs::refused(MAKE, 4, "annotation \"D\" exists already in group \"G\"\n")), EAnswer::UNKNOWN);
}

TEST(ApplianceAnswer, NamesMayHoldAnything)
{
    for (const std::string& name : ODD_NAMES) {
        for (const std::string& group : ODD_NAMES) {
            EXPECT_EQ(judge(refusedDeletion("annotation", "annotation", name, group)), EAnswer::NOT_THERE)
                << name << "|" << group;
            SRunRecord busy = refusedDeletion("annotation", "annotation", name, group);
            busy.output =
                "lmsh: annotation \"" + name + "\" is in use by time image \"T\" in group \"" + group + "\"\n";
            busy.outputSize = busy.output.size();
            EXPECT_EQ(judge(busy), EAnswer::UNKNOWN) << name << "|" << group;
            if (name == group) continue;
            // The same words for the two names in each other's place.
            SRunRecord other = refusedDeletion("annotation", "annotation", name, group);
            other.output = refusedDeletion("annotation", "annotation", group, name).output;
            other.outputSize = other.output.size();
            EXPECT_EQ(judge(other), EAnswer::UNKNOWN) << name << "|" << group;
        }
    }
}

TEST(ApplianceAnswer, ANewlineInAnAnswerIsNoPartOfAName)
{
    EXPECT_EQ(judge(runs::refused("delete annotation \"a\nb\" \"G\"", 3,
                                  "annotation \"a\nb\" does not exist in group \"G\"")),
              EAnswer::UNKNOWN);
    EXPECT_EQ(judge(runs::refused("delete annotation \"a\" \"b\" \"G\"", 3,
                                  "annotation \"a\" \"b\" does not exist in group \"G\"")),
              EAnswer::UNKNOWN);
}

TEST(ApplianceAnswer, AProgramThatDidNotEndByItselfSaysNothing)
{
    SRunRecord run = runs::refused(REMOVE, 3, NOT_THERE + "\n");
    run.signal = 9;
    EXPECT_EQ(judge(run), EAnswer::UNKNOWN);
    run = runs::refused(REMOVE, 3, NOT_THERE + "\n");
    run.stopped = EStop::LIMIT;
    EXPECT_EQ(judge(run), EAnswer::UNKNOWN);
    run = runs::refused(REMOVE, 3, NOT_THERE + "\n");
    run.error = 10;
    EXPECT_EQ(judge(run), EAnswer::UNKNOWN);
    run = runs::refused(REMOVE, 3, NOT_THERE + "\n");
    run.process = 0;
    EXPECT_EQ(judge(run), EAnswer::UNKNOWN);
}

TEST(ApplianceAnswer, ATextOfWhichAPartIsMissingSaysNothing)
{
    SRunRecord run = runs::refused(REMOVE, 3, NOT_THERE);
    ++run.outputSize;
    EXPECT_EQ(judge(run), EAnswer::UNKNOWN);
    run = runs::refused(REMOVE, 3, NOT_THERE);
    ++run.inputSize;
    EXPECT_EQ(judge(run), EAnswer::UNKNOWN);
}

TEST(ApplianceAnswer, OnlyARefusedDeletionIsHarmless)
{
    EXPECT_TRUE(isHarmless(runs::refused(REMOVE, 3, NOT_THERE)));
    EXPECT_FALSE(isHarmless(runs::refused("show annotation \"C\" \"G\"", 3, NOT_THERE)));
    EXPECT_FALSE(isHarmless(runs::refused(MAKE, 3, NOT_THERE)));
    EXPECT_FALSE(isHarmless(runs::refused(MAKE, 4, EXISTS)));
    EXPECT_FALSE(isHarmless(runs::succeeded(REMOVE)));
}

TEST(ApplianceAnswer, ADeletionIsConfirmedByItsCommandAlone)
{
    const SRunRecord image = runs::succeeded("delete timeimage \"T\" \"G\"");
    const SRunRecord noImage = refusedDeletion("timeimage", "time image", "T", "G");
    EXPECT_TRUE(confirms({runs::succeeded(REMOVE)}));
    EXPECT_TRUE(confirms({image, runs::succeeded(REMOVE)}));
    EXPECT_TRUE(confirms({noImage, runs::refused(REMOVE, 3, NOT_THERE)}));
    EXPECT_FALSE(confirms({}));
    EXPECT_FALSE(confirms({image}));
    EXPECT_FALSE(confirms({noImage}));
    EXPECT_FALSE(confirms({image, runs::refused(REMOVE, 5, "annotation is in use")}));
    EXPECT_FALSE(confirms({image, runs::timedOut(REMOVE)}));
    EXPECT_FALSE(confirms({runs::timedOut("delete timeimage \"T\" \"G\""), runs::succeeded(REMOVE)}));
    EXPECT_FALSE(confirms({runs::refused("list cgroups", 7, "no store"), runs::succeeded(REMOVE)}));
}

TEST(ApplianceAnswer, AnotherAppliancesGroupsOrCheckpointsDeletionConfirmsNothing)
{
    EXPECT_FALSE(confirms({runs::succeeded("delete annotation \"D\" \"G\"")}));
    EXPECT_FALSE(confirms({runs::succeeded("delete annotation \"C\" \"H\"")}));
    EXPECT_FALSE(confirms({runs::succeeded("delete timeimage \"C\" \"G\"")}));
    EXPECT_FALSE(confirms({runs::of("server beta\ndelete annotation \"C\" \"G\"\nexit\n")}));
    EXPECT_FALSE(confirms({runs::succeeded("show annotation \"C\" \"G\"")}));
}

TEST(ApplianceAnswer, AReportConfirmsOnlyWhenItIsWhole)
{
    EXPECT_TRUE(confirmsDeletion(reportOf({{runs::succeeded(REMOVE)}, 0}), "alpha", "G", "C"));
    EXPECT_FALSE(confirmsDeletion(reportOf({{runs::succeeded(REMOVE)}, 1}), "alpha", "G", "C"));
}

TEST(ApplianceAnswer, AReportKnowsANameThatIsTaken)
{
    EXPECT_TRUE(saysAlreadyThere(reportOf({{runs::refused(MAKE, 4, EXISTS)}, 0})));
    EXPECT_FALSE(saysAlreadyThere(reportOf({{runs::refused(MAKE, 3, "group \"exists already\" does not exist")}, 0})));
    EXPECT_FALSE(saysAlreadyThere(reportOf({{runs::succeeded(MAKE)}, 0, {EXISTS}})));
}

}  // namespace fictl
