// What completes a command line in a shell.
#include "host/tests/catalog_fixture.h"

namespace {

class CCompletionTest : public CCatalogTest
{
  protected:
    /// What the last of the words can be, on one line.
    std::string completed(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"completion", "bash", "--"});
        const SRun run = this->run(words);
        EXPECT_EQ(run.exit, 0);
        EXPECT_EQ(run.err, "");
        std::string text;
        for (const std::string& line : base_test::linesOf(run.out)) {
            text += (text.empty() ? "" : " ") + line;
        }
        return text;
    }

    static std::string programFolder() { return std::filesystem::path(FICTL_PROGRAM).parent_path().string(); }
};

TEST_F(CCompletionTest, CommandsStandWhereACommandIsMissing)
{
    EXPECT_EQ(completed({"pro"}), "provider");
    EXPECT_EQ(completed({"snapshot", "re"}), "release receive");
    EXPECT_EQ(completed({"--output", "json", "--verbose", "cat"}), "catalog");
    EXPECT_EQ(completed({"--output=json", "catalog", ""}), "check");
    EXPECT_EQ(completed({"none", "of", "them", "do"}), "doctor") << "what is no command says nothing";
}

TEST_F(CCompletionTest, OptionsAreThoseOfTheCommandAndOfAll)
{
    EXPECT_EQ(completed({"snapshot", "prune", "--keep-"}),
              "--keep-daily --keep-hourly --keep-last --keep-monthly --keep-weekly --keep-yearly");
    EXPECT_EQ(completed({"snapshot", "delete", "x", "--even"}), "--even-if-in-use");
    EXPECT_EQ(completed({"snapshot", "delete", "--rec"}), "--record");
    EXPECT_EQ(completed({"doctor", "--even"}), "");
}

TEST_F(CCompletionTest, ValuesAreThoseThatAnOptionTakes)
{
    EXPECT_EQ(completed({"--output", ""}), "json name openmetrics table");
    EXPECT_EQ(completed({"snapshot", "list", "-o", "n"}), "name");
    EXPECT_EQ(completed({"snapshot", "list", "--state", "import"}),
              "importing import-interrupted import-failed imported");
    EXPECT_EQ(completed({"snapshot", "list", "--sort", "cre"}), "created creator");
    EXPECT_EQ(completed({"snapshot", "export", "x", "--file", ""}), "") << "files are for the shell";
    EXPECT_EQ(completed({"snapshot", "list", "--label", ""}), "");
    std::filesystem::create_directories(m_root + "/etc/qz/jobs");
    base_test::writeFile(m_root + "/etc/qz/jobs/db.env", "not even a job");
    EXPECT_EQ(completed({"snapshot", "list", "--label", "j"}), "job=db");
}

TEST_F(CCompletionTest, SnapshotsStandWhereOneIsMeant)
{
    EXPECT_EQ(completed({"snapshot", "delete", ""}), "");
    EXPECT_FALSE(std::filesystem::exists(m_root + "/var")) << "who only looks makes no catalog";
    for (const char* const name : {"db-1", "db-2", "web"}) {
        ASSERT_EQ(fictl({"snapshot", "create", name, "/dev/fake1"}).exit, 0);
    }
    EXPECT_EQ(completed({"snapshot", "delete", "db"}), "db-1 db-2");
    EXPECT_EQ(completed({"snapshot", "diff", "db-1", ""}), "db-1 db-2 web");
    EXPECT_EQ(completed({"--timeout", "5", "history", "w"}), "web");
    EXPECT_EQ(completed({"snapshot", "label", "web", ""}), "");
    EXPECT_EQ(completed({"snapshot", "create", ""}), "") << "a new one nobody knows";
    EXPECT_EQ(completed({"snapshot", "create", "x", ""}), "") << "devices are files, for the shell";
}

TEST_F(CCompletionTest, ACatalogThatCannotBeReadIsNoMatterThen)
{
    begin();
    change("PRAGMA user_version = 99");
    EXPECT_EQ(completed({"snapshot", "delete", ""}), "");
}

TEST_F(CCompletionTest, BashTakesItsScript)
{
    ASSERT_EQ(fictl({"snapshot", "create", "db-1", "/dev/fake1"}).exit, 0);
    const std::string program = FICTL_PROGRAM;
    const std::string script = m_root + "/script";
    base_test::writeFile(script, run({"completion", "bash"}).out + "COMP_WORDS=('" + program +
                                     "' snapshot delete d)\nCOMP_CWORD=3\n_fictl\n"
                                     "printf '<%s>' \"${COMPREPLY[@]}\"\n"
                                     "complete -p fictl\n");
    const SRun done = runProgram("/bin/bash", {"--norc", script});
    EXPECT_EQ(done.out, "<db-1>complete -o default -F _fictl fictl\n") << done.err;
}

TEST_F(CCompletionTest, FishTakesItsScript)
{
    if (!std::filesystem::exists("/usr/bin/fish")) GTEST_SKIP() << "fish is not installed: script/bootstrap --tools";
    ASSERT_EQ(fictl({"snapshot", "create", "db-1", "/dev/fake1"}).exit, 0);
    base_test::writeFile(m_root + "/db-file", "");
    const std::string before = "cd " + m_root + "; set -x HOME " + m_root + "; set -x PATH " + programFolder() +
                               " $PATH; fictl completion fish | source; complete -C ";
    const auto completedByFish = [&](const std::string& line) {
        const SRun run = runProgram("/usr/bin/fish", {"--no-config", "-c", before + "'" + line + "'"});
        EXPECT_EQ(run.err, "");
        return run.out;
    };
    EXPECT_EQ(completedByFish("fictl snapshot delete d"), "db-1\n") << "and not the file";
    EXPECT_EQ(completedByFish("fictl snapshot re"), "receive\nrelease\n");
    EXPECT_EQ(completedByFish("fictl --output t"), "table\n");
    EXPECT_EQ(completedByFish("fictl snapshot create x d"), "db-file\n") << "devices are files";
}

TEST_F(CCompletionTest, ZshTakesItsScriptBothWays)
{
    if (!std::filesystem::exists("/usr/bin/zsh")) GTEST_SKIP() << "zsh is not installed: script/bootstrap --tools";
    ASSERT_EQ(fictl({"snapshot", "create", "db-1", "/dev/fake1"}).exit, 0);
    base_test::writeFile(m_root + "/db-file", "");
    base_test::writeFile(m_root + "/functions/_fictl", run({"completion", "zsh"}).out);
    // A shell at a terminal of its own: Tab completes, and what the line is then goes into a file.
    const std::string terminal = R"ZSH(
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "PS1=; cd $1; path=($2 \$path)
show() { print -r -- \$BUFFER >>lines; BUFFER=; }; zle -N show; bindkey ^X show
$3; print -r READY\$((40 + 2))"
zpty -r -m shell out '*READY42*'
shift 3
for line; do zpty -w -n shell "$line"$'\t\x18'; done
zpty -w shell 'print -r DONE$((40 + 2))'
zpty -r -m shell out '*DONE42*'
cat $OBZX_ROOT/lines
)ZSH";
    base_test::writeFile(m_root + "/terminal.zsh", terminal);
    for (const char* const start : {"autoload -Uz compinit; compinit -u -D; . <(fictl completion zsh)",
                                    "fpath=($PWD/functions $fpath); autoload -Uz compinit; compinit -u -D"}) {
        std::filesystem::remove(m_root + "/lines");
        const SRun done = runProgram(
            "/usr/bin/zsh", {"-f", m_root + "/terminal.zsh", m_root, programFolder(), start, "fictl snapshot delete d",
                             "fictl doc", "fictl --output j", "fictl snapshot create x d"});
        EXPECT_EQ(done.out,
                  "fictl snapshot delete db-1 \n"
                  "fictl doctor \n"
                  "fictl --output json \n"
                  "fictl snapshot create x db-file \n")
            << start << done.err;
    }
}

TEST_F(CCompletionTest, EveryShellHasOneAndAnotherIsRefused)
{
    for (const char* const shell : {"bash", "fish", "zsh"}) {
        const SRun script = run({"completion", shell});
        EXPECT_EQ(script.exit, 0);
        EXPECT_NE(script.out.find(std::string("completion ") + shell + " --"), std::string::npos);
    }
    EXPECT_EQ(run({"completion", "csh"}).err,
              "fictl: there is no completion for \"csh\"\n  next: known are bash, fish and zsh\n");
}

}  // namespace
