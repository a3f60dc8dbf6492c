// The engine ceph on two machines: each has a store of its own, and their catalog and content are on the cluster.
#include <gmock/gmock.h>
#include <rbd/librbd.h>

#include <algorithm>
#include <csignal>
#include <deque>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "appliance/ceph/ceph_catalog.h"
#include "appliance/ceph/ceph_engine.h"
#include "appliance/ceph/tests/cluster_fixture.h"
#include "appliance/tests/recorded_kernel.h"
#include "appliance/tests/test_support.h"
#include "base/tests/text_file.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr size_t BYTES = 65536;

/// A machine whose store is on the cluster; host, store and root are one.
class CMachine
{
  public:
    CMachine(const fs::path& folder, const std::string& name, const std::string& settings)
        : m_root(folder / name), m_name(name)
    {
        fs::create_directories(m_root / "etc/qz");
        writeFile(m_root / "etc/qz/appliance.conf", settings);
    }
    ~CMachine()
    {
        CProcess(command({"appliance", "stop", "alpha"}), "").wait();
        CProcess(command({"appliance", "stop", "beta"}), "").wait();
    }
    CMachine(const CMachine&) = delete;
    CMachine& operator=(const CMachine&) = delete;

    const fs::path& root() const { return m_root; }
    fs::path home(const std::string& appliance = "alpha") const { return m_root / "var/lib/lumora" / appliance; }
    fs::path lun(const std::string& name, const std::string& appliance = "alpha") const
    {
        return home(appliance) / "dev" / name;
    }

    std::vector<std::string> command(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {LMADM_PATH, "--store", m_root.string()});
        return words;
    }
    SResult lmadm(const std::vector<std::string>& words) const { return CProcess(command(words), "").wait(); }
    void done(const std::vector<std::string>& words) const
    {
        const SResult result = lmadm(words);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(words) << testing::PrintToString(result.err);
    }
    CProcess start(const std::string& commands) const
    {
        return {{LMSH_PATH}, "server alpha\n" + commands + "\nexit\n", m_root.string()};
    }
    SResult lmsh(const std::string& commands) const { return start(commands).wait(); }
    void shellDone(const std::string& commands) const
    {
        const SResult result = lmsh(commands);
        EXPECT_EQ(result.status, 0) << commands << testing::PrintToString(result.err);
    }
    SResult kforutil(const std::string& word) const
    {
        return CProcess({KFORUTIL_PATH, word}, "", m_root.string()).wait();
    }
    void annotate(const std::string& name) const { shellDone("create annotation \"" + name + "\" \"cg1\"\ncommit"); }
    /// Makes a time image, on whichever machine, and looks for it here.
    void show(const std::string& image, const std::string& annotation) const
    {
        shellDone("create timeimage \"" + image + "\" \"cg1\"\nuse annotation \"" + annotation +
                  "\"\nadd permission \"" + m_name + "\"\ncommit");
        EXPECT_EQ(kforutil("discover").status, 0);
    }
    fs::path imageLun(const std::string& image, const std::string& name) const
    {
        const SResult shown = lmadm({"--output", "json", "--appliance", "alpha", "group", "show", "cg1"});
        std::string text;
        for (const std::string& line : shown.out) {
            text += line;
        }
        const nlohmann::json group = nlohmann::json::parse(text);
        for (const nlohmann::json& each : group["time_images"]) {
            if (each["name"] != image) continue;
            for (const nlohmann::json& lun : each["luns"]) {
                if (lun["source"] == name) return lun["device"].get<std::string>();
            }
        }
        ADD_FAILURE() << "no LUN " << name << " in time image " << image;
        return {};
    }
    pid_t daemon() const { return std::stoi(base_test::contentOf(home() / "ceph/pid")); }

  private:
    const fs::path m_root;
    const std::string m_name;
};

void fill(const fs::path& device, char character)
{
    std::fstream file(device, std::ios::in | std::ios::out | std::ios::binary);
    file << std::string(BYTES, character) << std::flush;
    EXPECT_TRUE(file.good()) << device;
}

/// The character that the first bytes are filled with; '?' when they hold several.
char filledWith(const fs::path& device)
{
    std::string bytes(BYTES, '\0');
    std::ifstream(device, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes == std::string(BYTES, bytes.front()) ? bytes.front() : '?';
}

class CEngineTest : public CClusterTest
{
  protected:
    CEngineTest()
    {
        m_a.done({"appliance", "create", "alpha"});
        m_a.done({"--appliance", "alpha", "host", "create", "a"});
        m_b.done({"--appliance", "alpha", "host", "create", "b"});
        m_b.done({"--appliance", "alpha", "group", "create", "cg1"});
        for (const char* const lun : {"lun1", "lun2"}) {
            m_a.done({"--appliance", "alpha", "lun", "create", lun, "--group", "cg1", "--size", "256KiB"});
            m_a.done({"--appliance", "alpha", "lun", "present", lun, "a"});
        }
        m_a.done({"host", "setup", "--root", m_a.root().string(), "--host", "a"});
        m_b.done({"host", "setup", "--root", m_b.root().string(), "--host", "b"});
    }

    std::string settings() const
    {
        return "CATALOG=catalog/" + m_prefix + ".db\nCEPH_CONF=" + m_setup.configuration.string() + "\n";
    }
    /// What the engine of machine a is made with, where its store says ATTACH=rbd.
    SEngineSetup rbdSetup(CCephCatalog& catalog) const
    {
        SEngineSetup setup;
        setup.store = m_a.root();
        setup.settings = {{"ATTACH", "rbd"}, {"CEPH_CONF", m_setup.configuration.string()}};
        setup.catalog = &catalog.database();
        return setup;
    }
    /// Images of the appliance on the cluster.
    std::vector<std::string> images()
    {
        const CCephPool space(m_cluster, "images", namespaceOf("alpha"));
        std::vector<std::string> names = CCephImages(space).names();
        std::sort(names.begin(), names.end());
        return names;
    }
    size_t contents()
    {
        const CCephPool space(m_cluster, "images", namespaceOf("alpha"));
        size_t count = 0;
        for (const std::string& group : CCephGroups(space).names()) {
            count += CCephGroups(space).contents(group).size();
        }
        return count;
    }
    std::string namespaceOf(const std::string& appliance)
    {
        CCephCatalog catalog(m_cluster, {"catalog", m_prefix + ".db"}, CDatabase::EMode::EXISTING);
        base::CSqliteQuery query(catalog.database(), "SELECT space FROM ceph_appliance WHERE appliance = ?", appliance);
        return query.next() ? query.text(0) : "";
    }

    const CMachine m_a{m_folder.path(), "a", settings()};
    const CMachine m_b{m_folder.path(), "b", settings()};
};

TEST_F(CEngineTest, WhatOneMachineFixedAnotherReadsAndWrites)
{
    fill(m_a.lun("lun1"), 'a');
    fill(m_a.lun("lun2"), 'b');
    m_a.annotate("A");
    fill(m_a.lun("lun1"), 'c');
    m_b.show("T", "A");
    m_b.show("U", "A");
    fill(m_b.imageLun("T", "lun1"), 'x');
    EXPECT_EQ(filledWith(m_b.imageLun("T", "lun1")), 'x');
    EXPECT_EQ(filledWith(m_b.imageLun("T", "lun2")), 'b');
    EXPECT_EQ(filledWith(m_b.imageLun("U", "lun1")), 'a');
    EXPECT_EQ(filledWith(m_a.lun("lun1")), 'c');
    EXPECT_EQ(m_b.kforutil("listdisk").out.size(), 7U);
    EXPECT_EQ(m_a.kforutil("listdisk").out.size(), 5U);
    m_b.shellDone("delete timeimage \"T\" \"cg1\"\ndelete timeimage \"U\" \"cg1\"\ndelete annotation \"A\" \"cg1\"");
    EXPECT_THAT(images(), ElementsAre("v1", "v2"));
    EXPECT_EQ(contents(), 0U);
}

TEST_F(CEngineTest, TheKernelMapsALunWhereTheStoreSaysSo)
{
    m_a.done({"appliance", "stop", "alpha"});
    const uint64_t size = 262144;
    const std::string image = "images/" + namespaceOf("alpha") + "/";
    const CRecordedKernel recorded;
    recorded.putRbd(size);
    CCephCatalog catalog(m_cluster, {"catalog", m_prefix + ".db"}, CDatabase::EMode::EXISTING);
    CCephEngine engine(rbdSetup(catalog), m_a.home(), recorded.kernel());
    const SDevice lun1 = {{1, "lun1", size, 1}, "", m_a.lun("lun1"), ""};
    const SDevice lun2 = {{2, "lun2", size, 1}, "", m_a.lun("lun2"), ""};
    engine.attach({lun1, lun2});
    engine.attach({lun1, lun2});
    EXPECT_TRUE(engine.isAttached(lun1));
    EXPECT_TRUE(engine.isAttached(lun2));
    EXPECT_EQ(engine.attached().size(), 2U);
    EXPECT_FALSE(fs::exists(m_a.home() / "ceph/ready"));  // no daemon is needed for it

    engine.detach({{{1, "", 0, 0}, "", {}, ""}});
    EXPECT_FALSE(engine.isAttached(lun1));
    EXPECT_FALSE(fs::is_symlink(lun1.path));
    fs::remove(lun2.path);
    engine.stop();
    EXPECT_TRUE(engine.attached().empty());
    engine.attach({lun2});
    engine.dropData(lun2.volume);
    EXPECT_FALSE(fs::is_symlink(lun2.path));
    EXPECT_THAT(images(), ElementsAre("v1"));
    const std::string rbd = "rbd --conf " + m_setup.configuration.string() + " --id appliance device ";
    EXPECT_EQ(recorded.words(),
              Lines({rbd + "map " + image + "v1", rbd + "map " + image + "v2",
                     rbd + "unmap -o force " + (recorded.kernel().dev / "rbd0").string(),
                     rbd + "unmap -o force " + (recorded.kernel().dev / "rbd1").string(), rbd + "map " + image + "v2",
                     rbd + "unmap -o force " + (recorded.kernel().dev / "rbd0").string()}));
}

TEST_F(CEngineTest, ALunThatIsMountedStaysSoWhenTheSettingChanges)
{
    const uint64_t size = 262144;
    const CRecordedKernel recorded;
    recorded.putRbd(size);
    CCephCatalog catalog(m_cluster, {"catalog", m_prefix + ".db"}, CDatabase::EMode::EXISTING);
    CCephEngine engine(rbdSetup(catalog), m_a.home(), recorded.kernel());
    engine.attach({{{1, "lun1", size, 1}, "", m_a.lun("lun1"), ""}});
    EXPECT_EQ(recorded.words(), Lines());
    EXPECT_FALSE(fs::is_symlink(m_a.lun("lun1")));
    fill(m_a.lun("lun1"), 'a');
}

TEST_F(CEngineTest, AWriterGoesOnAfterTheDaemonWasKilled)
{
    fill(m_a.lun("lun1"), 'a');
    ASSERT_EQ(::kill(m_a.daemon(), SIGKILL), 0);
    // Its clients hold the locks of the images until they are shut out, for which nobody waits half a minute.
    EXPECT_LT(timeOf([&] { fill(m_a.lun("lun1"), 'b'); }), std::chrono::seconds(20));
    EXPECT_EQ(filledWith(m_a.lun("lun1")), 'b');
    ASSERT_EQ(::kill(m_a.daemon(), SIGKILL), 0);
    EXPECT_LT(timeOf([&] { m_b.annotate("A"); }), std::chrono::seconds(20));  // from a machine that knows nothing of it
    m_b.show("T", "A");
    EXPECT_EQ(filledWith(m_b.imageLun("T", "lun1")), 'b');
}

TEST_F(CEngineTest, AnImageThatAnotherMachineHasAttachedStaysWholeUntilThatOneLooks)
{
    fill(m_a.lun("lun1"), 'a');
    m_a.annotate("A");
    m_b.show("T", "A");
    const fs::path device = m_b.imageLun("T", "lun1");
    m_a.shellDone("delete timeimage \"T\" \"cg1\"\ndelete annotation \"A\" \"cg1\"");
    EXPECT_THAT(m_a.lmsh("list timeimages \"cg1\"").out, ElementsAre("There are none!"));
    EXPECT_EQ(filledWith(device), 'a');  // and no zeros
    EXPECT_EQ(m_b.kforutil("discover").status, 0);
    EXPECT_FALSE(fs::exists(device));
    // Each machine looks after what it made.
    m_b.annotate("B");
    m_b.show("U", "B");
    m_a.annotate("C");
    m_b.shellDone("delete timeimage \"U\" \"cg1\"\ndelete annotation \"B\" \"cg1\"");
    m_a.shellDone("delete annotation \"C\" \"cg1\"");
    EXPECT_THAT(images(), ElementsAre("v1", "v2"));
    EXPECT_EQ(contents(), 0U);
}

TEST_F(CEngineTest, ALunThatAnotherMachineHasAttachedGoesOnceThatOneHasLooked)
{
    m_a.done({"--appliance", "alpha", "lun", "present", "lun2", "b"});
    EXPECT_EQ(m_b.kforutil("discover").out, Lines({"1 disks for host b"}));
    m_a.done({"--appliance", "alpha", "lun", "unpresent", "lun2", "a"});
    m_a.done({"--appliance", "alpha", "lun", "unpresent", "lun2", "b"});
    m_a.done({"--appliance", "alpha", "lun", "delete", "lun2"});
    EXPECT_EQ(images().size(), 2U);
    EXPECT_EQ(m_b.kforutil("discover").status, 0);
    EXPECT_FALSE(fs::exists(m_b.lun("lun2")));
    m_a.done({"--appliance", "alpha", "lun", "create", "lun3", "--group", "cg1", "--size", "256KiB"});
    EXPECT_THAT(images(), ElementsAre("v1", "v3"));
}

TEST_F(CEngineTest, ALunOutlivesTheAnnotationsOfItsGroupThatDoNotHoldIt)
{
    m_a.annotate("A");
    m_a.done({"--appliance", "alpha", "lun", "create", "lun3", "--group", "cg1", "--size", "256KiB"});
    m_a.done({"--appliance", "alpha", "lun", "delete", "lun3"});
    EXPECT_THAT(images(), ElementsAre("v1", "v2"));
    m_b.show("T", "A");
    EXPECT_EQ(filledWith(m_b.imageLun("T", "lun1")), '\0');
}

TEST_F(CEngineTest, MachinesMakeLunsAtTheSameTime)
{
    std::deque<CProcess> makers;
    for (int i = 0; i < 6; ++i) {
        const CMachine& machine = i % 2 == 0 ? m_a : m_b;
        makers.emplace_back(machine.command({"--appliance", "alpha", "lun", "create", "many" + std::to_string(i),
                                             "--group", "cg1", "--size", "256KiB"}),
                            "");
    }
    for (CProcess& maker : makers) {
        const SResult result = maker.wait();
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
    EXPECT_EQ(images().size(), 8U);
    m_b.annotate("A");
    m_b.show("T", "A");
    EXPECT_EQ(m_b.kforutil("listdisk").out.size(), 11U);
}

TEST_F(CEngineTest, CommandsThatAreKilledLeaveNothingThatStays)
{
    for (int i = 0; i < 6; ++i) {
        CProcess annotation = m_a.start("create annotation \"K\" \"cg1\"\ncommit");
        std::this_thread::sleep_for(std::chrono::milliseconds(25 * i));
        annotation.kill();
        annotation.wait();
        m_a.annotate("A");
        m_a.lmsh("delete annotation \"K\" \"cg1\"");
        m_a.shellDone("delete annotation \"A\" \"cg1\"");
        CProcess lun(m_a.command({"--appliance", "alpha", "lun", "create", "k", "--group", "cg1", "--size", "256KiB"}),
                     "");
        std::this_thread::sleep_for(std::chrono::milliseconds(25 * i));
        lun.kill();
        lun.wait();
        m_a.lmadm({"--appliance", "alpha", "lun", "delete", "k"});
    }
    // What a client that was killed had open can go once it is shut out, which the command after it may be too early
    // for.
    for (int tries = 0; tries < 20 && (tries == 0 || images().size() != 2U); ++tries) {
        m_a.done({"--appliance", "alpha", "lun", "create", "last", "--group", "cg1", "--size", "256KiB"});
        m_a.done({"--appliance", "alpha", "lun", "delete", "last"});
    }
    EXPECT_THAT(images(), ElementsAre("v1", "v2"));
    EXPECT_EQ(contents(), 0U);
}

TEST_F(CEngineTest, AnApplianceThatIsDeletedLeavesNothingInThePool)
{
    const std::string space = namespaceOf("alpha");
    for (const char* const lun : {"lun1", "lun2"}) {
        m_a.done({"--appliance", "alpha", "lun", "unpresent", lun, "a"});
        m_a.done({"--appliance", "alpha", "lun", "delete", lun});
    }
    m_b.done({"--appliance", "alpha", "group", "delete", "cg1"});
    m_b.done({"--appliance", "alpha", "host", "delete", "a"});
    m_b.done({"--appliance", "alpha", "host", "delete", "b"});
    m_b.done({"appliance", "delete", "alpha"});
    EXPECT_EQ(namespaceOf("alpha"), "");
    bool isThere = true;
    EXPECT_EQ(::rbd_namespace_exists(m_pool.handle(), space.c_str(), &isThere), 0);
    EXPECT_FALSE(isThere);
}

// The libraries of a cluster do not live through the handlers that an exiting process runs.
TEST_F(CEngineTest, AToolThatHasUsedTheClusterEndsWithoutThem)
{
    const fs::path report = m_folder.path() / "handlers-ran";
    const auto exiting = [&](const CMachine& machine, std::vector<std::string> words) {
        std::vector<std::string> command = {"/usr/bin/env", std::string("LD_PRELOAD=") + OPEN_AT_EXIT_PATH,
                                            "OPEN_AT_EXIT_PROGRAM=lmadm", "OPEN_AT_EXIT=" + report.string()};
        std::ranges::copy(machine.command(std::move(words)), std::back_inserter(command));
        return CProcess(command, "").wait();
    };
    const auto reports = [&] {
        return std::ranges::count_if(fs::directory_iterator(m_folder.path()), [](const fs::directory_entry& entry) {
            return entry.path().filename().string().starts_with("handlers-ran");
        });
    };
    const SResult list = exiting(m_a, {"appliance", "list"});
    EXPECT_EQ(list.status, 0);
    EXPECT_THAT(list.out, ElementsAre("name   created", HasSubstr("alpha")));
    EXPECT_EQ(exiting(m_a, {"appliance", "create", "alpha"}).status, 4);
    EXPECT_EQ(reports(), 0);
    EXPECT_THAT(CClientRecords(m_a.root() / "var/lib/lumora/ceph.clients").gone(), IsEmpty());
    const CMachine local(m_folder.path(), "local", "");
    local.done({"appliance", "create", "beta"});
    EXPECT_EQ(exiting(local, {"appliance", "list"}).status, 0);
    EXPECT_EQ(reports(), 1);
}

TEST_F(CEngineTest, OnlyAnEngineThatAllMachinesSeeKeepsAnAppliance)
{
    const SResult result = m_a.lmadm({"appliance", "create", "beta", "--engine", "files"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("engine \"files\" keeps content on one machine, and the catalog of "
                                                  "store " +
                                                  m_a.root().string() + " is for several: choose ceph")));
}

TEST_F(CEngineTest, AMachineWithoutTheClusterIsToldSo)
{
    const CMachine lost(m_folder.path(), "lost", "CATALOG=catalog/c.db\nCEPH_CONF=/nowhere/ceph.conf\n");
    SResult result = lost.lmadm({"appliance", "list"});
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("lmadm: cannot use the cluster of /nowhere/ceph.conf as "
                                                  "client.appliance: No such file or directory")));
    const CMachine wrong(m_folder.path(), "wrong",
                         "CATALOG=catalog\nCEPH_CONF=" + m_setup.configuration.string() + "\n");
    result = wrong.lmadm({"appliance", "list"});
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.err, ElementsAre(HasSubstr("lmadm: configuration of store " + wrong.root().string() +
                                                  ": CATALOG \"catalog\" is not POOL/NAME")));
}

TEST_F(CClusterTest, AnApplianceMovesFromFileToFileByWayOfTheCluster)
{
    const CMachine machine(m_folder.path(), "one", "CEPH_CONF=" + m_setup.configuration.string() + "\n");
    machine.done({"appliance", "create", "beta", "--engine", "files"});
    machine.done({"group", "create", "cg1"});
    machine.done({"lun", "create", "lun1", "--group", "cg1", "--size", "1MiB"});
    machine.done({"lun", "create", "lun2", "--group", "cg1", "--size", "256KiB"});
    fill(machine.lun("lun1", "beta"), 'm');
    const std::string before = contentOf(machine.lun("lun1", "beta"));
    for (const char* const engine : {"ceph", "qsd", "ceph", "files"}) {
        machine.done({"appliance", "migrate", "beta", "--engine", engine});
        EXPECT_EQ(machine.lmadm({"appliance", "show", "beta"}).out[3], "engine: " + std::string(engine));
        EXPECT_EQ(machine.lmadm({"read", "lun1", "--offset", "0", "--length", "1"}).out, Lines({"m"})) << engine;
        EXPECT_EQ(contentOf(machine.lun("lun1", "beta")), before) << engine;
        machine.done({"read", "lun2", "--offset", "0", "--length", "1"});
        EXPECT_EQ(fs::file_size(machine.lun("lun2", "beta")), size_t{256} << 10U) << engine;
    }
}

}  // namespace

}  // namespace lumora::test
