// What a job's file may hold, and that sh takes it as fictl does.
#include "host/src/schedule/job_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;

const std::string WHOLE =
    "# the database\n"
    "SNAPSHOT=\"db-{date}-{n}\"\n"
    "DEVICES=\"/dev/sdb  /dev/sdc\"\n"
    "\n"
    "  FREEZE='psql -c \"CHECKPOINT\"; echo $PPID'\t\n"
    "THAW=\"true\"\n"
    "CREATE_OPTIONS='--max-freeze 20'\n"
    "PRUNE_OPTIONS=\"--keep-daily 7 --keep-weekly 4\"\n"
    "EVERY=1d\n"
    "GRACE=90m\n";
const std::string SHORTEST = "SNAPSHOT=db-{n}\nDEVICES=/dev/sdb\nEVERY=12h";

std::string problemOf(const std::string& text)
{
    try {
        parseJob("db", text);
        return "";
    } catch (const EJobFile& problem) {
        return problem.what();
    }
}

TEST(JobFile, IsReadWhole)
{
    const SJob job = parseJob("db", WHOLE);
    EXPECT_EQ(job.name, "db");
    EXPECT_EQ(job.creation.every, 24h);
    EXPECT_EQ(job.creation.grace, 90min);
}

TEST(JobFile, HasAQuarterOfEveryAsItsGrace)
{
    EXPECT_EQ(parseJob("db", SHORTEST).creation.grace, 3h);
    EXPECT_EQ(parseJob("db", SHORTEST + "\nGRACE=0s\n").creation.grace, 0h);
}

TEST(JobFile, HasARotationEachDayWhereThereAreOptionsForIt)
{
    EXPECT_FALSE(parseJob("db", SHORTEST).rotation);
    EXPECT_FALSE(parseJob("db", SHORTEST + "\nPRUNE_OPTIONS=' '\nPRUNE_EVERY=7d\n").rotation);
    const std::optional<SPace> daily = parseJob("db", WHOLE).rotation;
    ASSERT_TRUE(daily);
    EXPECT_EQ(daily->every, 24h);
    EXPECT_EQ(daily->grace, 6h);
    const std::optional<SPace> weekly = parseJob("db", WHOLE + "PRUNE_EVERY=7d\n").rotation;
    ASSERT_TRUE(weekly);
    EXPECT_EQ(weekly->every, 168h);
    EXPECT_EQ(weekly->grace, 42h);
}

TEST(JobFile, IsTakenByAShellAsItIsTakenHere)
{
    const base_test::CTemporaryFolder folder;
    base_test::writeFile(folder.path() / "db.env", WHOLE);
    const std::string command = "cd " + folder.path().string() +
                                " && . ./db.env && printf '%s|' \"$SNAPSHOT\" $DEVICES \"$FREEZE\" $PRUNE_OPTIONS";
    FILE* const shell = popen(command.c_str(), "r");
    ASSERT_NE(shell, nullptr);
    std::array<char, 1000> text{};
    EXPECT_NE(std::fgets(text.data(), text.size(), shell), nullptr);
    EXPECT_EQ(pclose(shell), 0);
    EXPECT_EQ(std::string(text.data()),
              "db-{date}-{n}|/dev/sdb|/dev/sdc|psql -c \"CHECKPOINT\"; echo $PPID|--keep-daily|7|--keep-weekly|4|");
}

TEST(JobFile, ThatIsNotAsItHasToBeIsRefused)
{
    const std::pair<const char*, const char*> lines[] = {
        {"EVRY=1d", "line 4: \"EVRY\" is not known"},
        {"export GRACE=1h", "line 4: \"export GRACE\" is not known"},
        {"GRACE = 1h", "line 4: \"GRACE \" is not known"},
        {"GRACE", "line 4: it is no NAME=VALUE"},
        {"GRACE= 1h", "line 4: a value with other characters than letters, digits and _./:@%+,{}- stands in quotes"},
        {"GRACE=1h # long",
         "line 4: a value with other characters than letters, digits and _./:@%+,{}- stands in quotes"},
        {"THAW=~/thaw", "line 4: a value with other characters than letters, digits and _./:@%+,{}- stands in quotes"},
        {"THAW=\"a", "line 4: the quote does not end the line"},
        {"THAW=\"", "line 4: the quote does not end the line"},
        {"THAW='a'b", "line 4: the quote does not end the line"},
        {"THAW=\"a\"\"b\"",
         "line 4: a double quote, a backslash, a dollar sign or a backquote does not stand in double quotes"},
        {"THAW=\"echo $HOME\"",
         "line 4: a double quote, a backslash, a dollar sign or a backquote does not stand in double quotes"},
        {"THAW='it'\\''s'", "line 4: a single quote or a backslash does not stand in single quotes"},
        {"THAW='a\\\n b'", "line 4: the quote does not end the line"},
        {"EVERY=1d", "line 4: EVERY is given twice"},
        {"# the database \\", "line 4: a comment does not end in a backslash"},
        {"  #\\", "line 4: a comment does not end in a backslash"},
        {"GRACE=1h\r", "line 4: it holds a control character, or is not UTF-8"},
        {"THAW='\xff'", "line 4: it holds a control character, or is not UTF-8"},
        {"GRACE=1 h", "line 4: a value with other characters than letters, digits and _./:@%+,{}- stands in quotes"},
        {"GRACE=2w", "GRACE is no time such as 30m, 12h or 1d of at most 366d"},
        {"GRACE=367d", "GRACE is no time such as 30m, 12h or 1d of at most 366d"},
        {"GRACE=", "GRACE is no time such as 30m, 12h or 1d of at most 366d"},
        {"PRUNE_EVERY=0d", "PRUNE_EVERY is no time at all"},
        {"PRUNE_EVERY=week", "PRUNE_EVERY is no time such as 30m, 12h or 1d of at most 366d"},
        {"FREEZE=true", "FREEZE and THAW belong together"},
        {"CREATE_OPTIONS=\"--note 'a b'\"",
         "CREATE_OPTIONS holds a quote, a backslash or one of *?[, which are no part of a word"},
    };
    for (const auto& [line, problem] : lines) {
        EXPECT_EQ(problemOf(SHORTEST + "\n" + line + "\n"), problem) << line;
    }
}

TEST(JobFile, TellsWhatIsMissingOrIsNoValue)
{
    EXPECT_EQ(problemOf(""), "SNAPSHOT is missing");
    EXPECT_EQ(problemOf("SNAPSHOT=s\nEVERY=1d\n"), "DEVICES is missing");
    EXPECT_EQ(problemOf("SNAPSHOT=s\nDEVICES=\"  \"\nEVERY=1d\n"), "DEVICES is missing");
    EXPECT_EQ(problemOf("SNAPSHOT=s\nDEVICES=/dev/sdb\n"), "EVERY is missing");
    EXPECT_EQ(problemOf("SNAPSHOT=s\nDEVICES=/dev/sdb\nEVERY=0s\n"), "EVERY is no time at all");
    EXPECT_EQ(problemOf("SNAPSHOT=s\nDEVICES='/dev/sd?'\nEVERY=1d\n"),
              "DEVICES holds a quote, a backslash or one of *?[, which are no part of a word");
    EXPECT_EQ(problemOf("SNAPSHOT='a b'\nDEVICES=/dev/sdb\nEVERY=1d\n"),
              "SNAPSHOT: \"a b\" cannot be a snapshot's name");
    EXPECT_EQ(problemOf("SNAPSHOT={day}\nDEVICES=/dev/sdb\nEVERY=1d\n"),
              "SNAPSHOT: \"{day}\" cannot be a snapshot's name: {day} is not known");
}

TEST(JobFile, IsNamedSoThatUnitsAndLabelsTakeIt)
{
    for (const char* const name : {"db", "db-nightly", "4711", "a.b_c-D", "x"}) {
        EXPECT_TRUE(isJobName(name)) << name;
    }
    for (const char* const name : {"", "-db", ".db", "_db", "a b", "a/b", "a@b", "\xc3\xa4", "a\nb"}) {
        EXPECT_FALSE(isJobName(name)) << name;
    }
    EXPECT_TRUE(isJobName(std::string(64, 'a')));
    EXPECT_FALSE(isJobName(std::string(65, 'a')));
}

}  // namespace

}  // namespace fictl
