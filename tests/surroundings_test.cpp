// Files, limits and environments that an attacker, a full disk or a bad day leaves around the tools: a documented exit
// code, nothing made that is not known, and no hanging.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "framework/include/cfiplatformerror.h"
#include "tests/site.h"

namespace fs = std::filesystem;

namespace {

constexpr int PROVIDER = 6;
constexpr int CATALOG = 11;

// Where the real file is while another one stands in its place.
fs::path asideOf(const fs::path& file)
{
    return file.string() + ".aside";
}

class BadSurroundings : public testing::Test
{
  protected:
    BadSurroundings()
    {
        m_site.addGroup("vault", "payroll", {"data"});
        m_site.setUpHosts();
        m_device = m_site.device("vault", "data");
    }

    fs::path root() const { return m_site.root("production"); }
    /// fictl snapshot create on the production host, in a shell that ran some words first; a wrapper may start fictl.
    SRun create(const std::string& first, const std::string& wrapper = {}) const
    {
        return m_site.shell("production", first + "; exec " + wrapper + " fictl snapshot create nightly " + m_device);
    }
    std::vector<std::string> copies() const { return m_site.copiesOf("vault", "payroll"); }

    /// Puts something else in the place of a file, does something, and puts the file back.
    template <class Action>
    void instead(const fs::path& file, const std::function<void(const fs::path&)>& put, const Action& action) const
    {
        const fs::path aside = asideOf(file);
        fs::rename(file, aside);
        put(file);
        action();
        fs::remove_all(file);
        fs::rename(aside, file);
    }

    CSite m_site;
    std::string m_device;
};

struct SOddFile
{
    const char* name;
    std::function<void(const fs::path&)> put;
    const char* wrapper = "";  // starts fictl in a way that the file is odd for it
};

// Root reads every file, unless it does without the right to do so.
const char* withoutTheRightsOfRoot()
{
    return geteuid() == 0 ? "setpriv --bounding-set -dac_override,-dac_read_search" : "";
}

// The beginning of a script's name as everybody knows it who knows the machine; a process's id and its start follow.
std::string knownBeginning(const fs::path& folder)
{
    const fs::path file = obzx_pdk_4_4::CFiPlatformError::getTempFileName(folder.c_str(), nullptr);
    fs::remove(file);
    const std::string name = file.filename();
    return name.substr(0, name.find('_', name.find("_fi") + 1) + 1);
}

const std::vector<SOddFile>& oddFiles()
{
    static const std::vector<SOddFile> all = {
        {"a folder", [](const fs::path& file) { fs::create_directory(file); }},
        {"a FIFO", [](const fs::path& file) { mkfifo(file.c_str(), 0600); }},
        {"1 GiB",
         [](const fs::path& file) {
             writeFile(file, "RSURL=vault:9000\n");
             fs::resize_file(file, uintmax_t{1} << 30);
         }},
        {"a link to itself", [](const fs::path& file) { fs::create_symlink(file, file); }},
        {"an endless device", [](const fs::path& file) { fs::create_symlink("/dev/zero", file); }},
        {"unreadable",
         [](const fs::path& file) {
             fs::copy_file(asideOf(file), file);
             fs::permissions(file, fs::perms::none);
         },
         withoutTheRightsOfRoot()},
    };
    return all;
}

}  // namespace

TEST_F(BadSurroundings, TemporaryFolderThatIsMissingOrReadOnlyStopsTheStart)
{
    EXPECT_EQ(create("export TMPDIR=/nonexistent").status, PROVIDER);
    const SRun device = create("export TMPDIR=/proc");  // nobody can make files there, root included
    EXPECT_EQ(device.status, PROVIDER);
    EXPECT_NE(device.err.find("/proc/"), std::string::npos) << device.err;
    EXPECT_TRUE(copies().empty());
}

TEST_F(BadSurroundings, PreparedLinksInTheTemporaryFolderAreNotFollowed)
{
    const fs::path folder = root() / "tmp";
    const fs::path victim = root() / "victim";
    fs::create_directories(folder);
    // All of a name can be foretold, but for its last six characters.
    const std::string start = "$(cut -d')' -f2 /proc/$$/stat | cut -d' ' -f21)";
    const std::string known = (folder / knownBeginning(folder)).string() + "$$_" + start + "_";
    std::string prepare = "export TMPDIR=" + folder.string();
    for (const char* guess : {"XXXXXX", "aaaaaa", "000000", ""}) {
        prepare += "; ln -s " + victim.string() + " " + known + guess;
    }

    const SRun run = create(prepare);

    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_FALSE(fs::exists(victim));
    // Only the links are left, and a link that was prepared well does begin like a script.
    for (const auto& entry : fs::directory_iterator(folder)) {
        EXPECT_TRUE(entry.is_symlink()) << entry.path();
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 4);
}

TEST_F(BadSurroundings, TemporaryFolderThatIsFullStopsTheStart)
{
    // Nothing but the script is written; its file can be made, but takes no bytes.
    const SRun run = m_site.shell("production", "ulimit -f 0; exec fictl device list " + m_device);
    EXPECT_EQ(run.status, PROVIDER) << run.err;
    EXPECT_EQ(m_site.fictl("production", {"device", "list", m_device}).status, 0);
}

TEST_F(BadSurroundings, DiskWithoutRoomForTheCatalogStopsBeforeAnythingIsMade)
{
    const SRun run = create("ulimit -f 0");
    EXPECT_TRUE(run.status == CATALOG || run.status == PROVIDER) << run.status << run.err;
    EXPECT_TRUE(copies().empty());
    EXPECT_EQ(create("true").status, 0);
}

TEST_F(BadSurroundings, DiskThatFillsUpLeavesNoCheckpointThatTheCatalogDoesNotKnow)
{
    // From a limit that fits nothing to one that fits all: the first file that does not fit differs.
    int succeeded = 0;
    for (const int blocks : {1, 8, 32, 64, 128, 256, 4096}) {
        const SRun run = create("ulimit -f " + std::to_string(blocks));
        EXPECT_TRUE(run.status == 0 || (run.status >= 1 && run.status <= 15))
            << blocks << ": " << run.status << run.err;
        const SRun shown = m_site.fictl("production", {"snapshot", "show", "nightly"});
        if (shown.status != 0) {
            EXPECT_TRUE(copies().empty()) << blocks;
        }
        succeeded += run.status == 0 ? 1 : 0;
        m_site.fictl("production", {"snapshot", "delete", "nightly"});
        EXPECT_TRUE(copies().empty()) << blocks;
    }
    EXPECT_GE(succeeded, 1);
}

TEST_F(BadSurroundings, ProgramWhoseFileMayNotGrowSaysSoAndIsNotKilled)
{
    const std::string limited = "ulimit -f 0; exec ";
    const std::string output = " >" + (root() / "output").string();
    constexpr int STORAGE = 6;
    constexpr int IO = 14;
    EXPECT_EQ(m_site.shell("production", limited + "kforutil listdisk" + output).status, STORAGE);
    EXPECT_EQ(m_site.shell("production", limited + "lmsh --help" + output).status, STORAGE);
    EXPECT_EQ(m_site
                  .shell("production", limited + "lmadm --store " + (m_site.folder() / "store").string() +
                                           " group list --appliance vault" + output)
                  .status,
              STORAGE);
    EXPECT_EQ(m_site.shell("production", limited + "fictl --version" + output).status, IO);
    EXPECT_EQ(m_site.shell("production", "lmsh --help" + output).status, 0) << "it is the limit";
}

TEST_F(BadSurroundings, TraceFileOnAFullDiskDoesNotStopABackup)
{
    const fs::path log = root() / "var/log/qz/cdpfi.log";
    fs::create_directories(log.parent_path());
    constexpr uintmax_t SIZE = 2048 * 512;  // more than any other file takes
    std::ofstream(log).close();
    fs::resize_file(log, SIZE);
    const SRun run = create("export OBZX_TRACE_LEVEL=6; ulimit -f 2048");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(fs::file_size(log), SIZE);
    EXPECT_EQ(m_site.shell("production", "OBZX_TRACE_LEVEL=6 fictl device list " + m_device).status, 0);
    EXPECT_GT(fs::file_size(log), SIZE) << "with room the lines are written";
}

TEST_F(BadSurroundings, ApplianceListThatIsNoUsableFileIsNamed)
{
    const fs::path file = root() / "etc/qz/hls.conf";
    for (const SOddFile& odd : oddFiles()) {
        instead(file, odd.put, [&] {
            const SRun run = create("true", odd.wrapper);
            EXPECT_EQ(run.status, PROVIDER) << odd.name << run.err;
            EXPECT_NE(run.err.find(file.string()), std::string::npos) << odd.name << run.err;
        });
    }
    EXPECT_TRUE(copies().empty());
}

TEST_F(BadSurroundings, ConfigurationStoreThatIsNoUsableFileMeansTheDefaults)
{
    for (const SOddFile& odd : oddFiles()) {
        instead(root() / "etc/qz/cdpfi.conf", odd.put, [&] {
            // The tools are not where they are by default.
            const SRun run = create("true", odd.wrapper);
            EXPECT_EQ(run.status, PROVIDER) << odd.name << run.err;
            EXPECT_NE(run.err.find("/usr/sbin/kforutil"), std::string::npos) << odd.name << run.err;
        });
    }
    EXPECT_TRUE(copies().empty());
}

TEST_F(BadSurroundings, SmallStackIsEnough)
{
    const SRun run = create("ulimit -s 256");
    EXPECT_EQ(run.status, 0) << run.err;
}

TEST_F(BadSurroundings, StandardDescriptorsThatAreClosedAreNotMixedUpWithFiles)
{
    const SRun run = create("exec <&- >&- 2>&-");
    EXPECT_TRUE(run.status == 0 || run.status == 14) << run.status;
    EXPECT_EQ(m_site.fictl("production", {"snapshot", "show", "nightly"}).status, 0);
    EXPECT_EQ(m_site.fictl("production", {"snapshot", "delete", "nightly"}).status, 0);
    EXPECT_TRUE(copies().empty());
}
