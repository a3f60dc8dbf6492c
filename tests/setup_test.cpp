// The set-up of a host as docs/install.md tells it, word by word, with two tools of the test's own in the place of an
// appliance's; and what the doctor says of a set-up that is not quite right.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/site.h"

namespace fs = std::filesystem;

namespace {

// An appliance with one group, whose annotations are lines of a file.
constexpr const char* SHELL = R"sh(#!/bin/bash
here=$(dirname "$(readlink -f "$0")")
touch "$here/annotations"
while read -r -a words;
do
  case "${words[0]} ${words[1]}" in
    'list hosts') cat "$here/hosts" ;;
    'show host') printf 'Host: %s\nPresented LUNs:\n/dev/appliance/data [LM01] 64KiB\n' "${words[2]//\"/}" ;;
    'list cgroups') echo 'payroll luns=1 annotations=0 timeimages=0' ;;
    'show cgroup')
      printf 'Consistency Group: payroll\nProtected LUNS:\n/dev/appliance/data [LM01] 64KiB\nMonitor LUNS:\n'
      printf 'Permissions:\nStillmark LUNs:\nAnnotations:\n'
      cat "$here/annotations"
      echo 'Time images:'
      ;;
    'list timeimages') echo 'There are none!' ;;
    'create annotation') echo "${words[2]} 2026-01-31T12:00:00Z \"m\" images=0" >>"$here/annotations" ;;
    'exit ') exit ;;
  esac
done
)sh";

constexpr const char* UTILITY = R"sh(#!/bin/bash
[ "$1" = listdisk ] || exit 0
here=$(dirname "$(readlink -f "$0")")
echo "Disks of host $(hostname)"
echo 'Device (Vendor) (Type) (Size) (Serial) State Access'
printf '=%.0s' {1..122}
echo
echo "$here/dev/disk (X) (VDISK) (64KiB) (LM01) online rw"
)sh";

class Setup : public testing::Test
{
  protected:
    Setup()
    {
        writeFile(tools() / "dev/disk", "content");
        writeFile(tools() / "hosts", site.shell("production", "hostname").out);
        writeTool("lmsh", SHELL);
        writeTool("kforutil", UTILITY);
    }

    fs::path tools() const { return site.folder() / "tools"; }

    void writeTool(const std::string& name, const std::string& text) const
    {
        writeFile(tools() / name, text);
        fs::permissions(tools() / name, fs::perms(0755));
    }

    /// The block of commands in docs/install.md, with the lines that a reader is told to make right.
    std::string commandsOfPage() const
    {
        const std::string page = contentOf(CDPFI_INSTALL_PAGE);
        const size_t section = page.find("## A host with a real appliance");
        const size_t begin = page.find("```sh\n", section) + 6;
        std::string commands = page.substr(begin, page.find("```", begin) - begin);
        commands = std::regex_replace(commands, std::regex("^tools=[^\n]*"), "tools=" + tools().string());
        return commands;
    }

    SRun follow(const std::string& commands) const
    {
        writeFile(site.folder() / "commands", commands);
        return site.shell("production", "bash -eu '" + (site.folder() / "commands").string() + "'");
    }

    /// Lines of the doctor that tell of something to mend.
    static std::vector<std::string> failures(const SRun& run)
    {
        std::vector<std::string> lines;
        std::istringstream text(run.out);
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with("FAIL ")) lines.push_back(line);
        }
        EXPECT_EQ(run.status, lines.empty() ? 0 : 8) << run.out << run.err;
        return lines;
    }

    fs::path below(const char* path) const { return site.root("production").string() + path; }

    CSite site;
};

TEST_F(Setup, ThePageFollowedWordByWordComesOutWorking)
{
    const SRun run = follow(commandsOfPage());
    EXPECT_EQ(failures(run), std::vector<std::string>());
    EXPECT_NE(run.out.find("OK   tool lmsh-fixed: " + below("/opt/QXPKlm/bin/lmsh").string() + " is there\n"),
              std::string::npos)
        << run.out;
    const std::string disk = (tools() / "dev/disk").string();
    const SRun listed = site.fictl("production", {"device", "list"});
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find(disk + "  yes      vault      payroll  LM01    -\n"), std::string::npos) << listed.out;
    const SRun created = site.fictl("production", {"snapshot", "create", "first", disk});
    EXPECT_EQ(created.status, 0) << created.err;
}

TEST_F(Setup, TheDoctorSaysThatTheFixedPathOfTheShellIsMissing)
{
    std::string commands = commandsOfPage();
    commands = std::regex_replace(commands, std::regex("\n\\[ -e [^\n]*"), "");
    const std::string fixed = below("/opt/QXPKlm/bin/lmsh");
    const std::vector<std::string> lines = failures(follow(commands));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "FAIL tool lmsh-fixed: " + fixed +
                            ": No such file or directory; the provider insists on this path, also beside a configured "
                            "one; next: mkdir -p " +
                            below("/opt/QXPKlm/bin").string() + " && ln -s " + (tools() / "lmsh").string() + " " +
                            fixed);
    EXPECT_NE(lines[1].find("loads with all its entry points, but does not start"), std::string::npos) << lines[1];
    // What is told to be done is enough.
    const std::string next = lines[0].substr(lines[0].find("next: ") + 6);
    EXPECT_EQ(failures(follow(next + "\nfictl doctor\n")), std::vector<std::string>());
}

TEST_F(Setup, TheDoctorSaysThatAToolIsMissing)
{
    fs::remove(tools() / "kforutil");
    const std::vector<std::string> lines = failures(follow(commandsOfPage()));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "FAIL " + below("/etc/qz/cdpfi.conf").string() +
                            ":2: tool kforutil: " + (tools() / "kforutil").string() +
                            ": No such file or directory; next: install it there, or set its folder and name in the "
                            "provider's configuration");
}

TEST_F(Setup, TheDoctorSaysThatAToolCannotBeRun)
{
    fs::permissions(tools() / "lmsh", fs::perms(0644));
    const std::vector<std::string> lines = failures(follow(commandsOfPage()));
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines[0].find("cannot be run: Permission denied; next: chmod +x " + (tools() / "lmsh").string()),
              std::string::npos)
        << lines[0];
}

TEST_F(Setup, TheDoctorSaysThatTheApplianceDoesNotKnowThisHost)
{
    writeFile(tools() / "hosts", "somebody-else\n");
    const std::vector<std::string> lines = failures(follow(commandsOfPage()));
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines[0].starts_with("FAIL appliance \"vault\" knows no host \"")) << lines[0];
}

TEST_F(Setup, TheDoctorShowsABanner)
{
    writeTool("lmsh", "#!/bin/bash\necho 'Welcome to the appliance of ACME & Sons!'\n");
    const std::vector<std::string> lines = failures(follow(commandsOfPage()));
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines[0].starts_with("FAIL " + below("/etc/qz/hls.conf").string() +
                                     ":1: appliance \"vault\": the answer to \"list hosts\" is no listing; it begins "
                                     "\"Welcome to the appliance of ACME & Sons!\""))
        << lines[0];
}

TEST_F(Setup, TheDoctorShowsALineThatCannotBeUnderstood)
{
    ASSERT_EQ(follow(commandsOfPage()).status, 0);
    std::ofstream(below("/etc/qz/cdpfi.conf"), std::ios::app) << "[FI_EXEC\n";
    const SRun run = site.fictl("production", {"doctor"});
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_NE(run.out.find("WARN " + below("/etc/qz/cdpfi.conf").string() +
                           ":6: cannot be understood and is skipped: \"[FI_EXEC\"; next: correct the line, or take it "
                           "away\n"),
              std::string::npos)
        << run.out;
}

}  // namespace
