// Whatever an appliance's objects are called: everything works with a name, from the listing of devices to the deletion
// of a snapshot, or its creation refuses with the reason, and nothing is left behind.
#include <algorithm>
#include <cctype>
#include <sstream>

#include "base/tests/name_corpus.h"
#include "tests/backup_fixture.h"

using base_test::namesFor;
using base_test::SCorpusName;
using nlohmann::json;

namespace {

std::string reasonOf(const SCorpusName& group)
{
    return "the name of consistency group \"" + group.name + "\" " + group.unusable;
}

std::string inLowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

class CNamesTest : public CBackupTest
{
  protected:
    void need(const std::vector<std::string>& words) const
    {
        const SRun done = site.lmadm(words);
        ASSERT_EQ(done.status, 0) << done.err;
    }
    void addAppliance(const std::string& name) const
    {
        need({"appliance", "create", name});
        need({"--appliance", name, "host", "create", "production"});
        need({"--appliance", name, "host", "create", "backup"});
    }
    void addGroup(const std::string& appliance, const std::string& name) const
    {
        need({"--appliance", appliance, "group", "create", "--", name});
    }
    void addLun(const std::string& appliance, const std::string& group, const std::string& name) const
    {
        need({"--appliance", appliance, "lun", "create", name, "--group=" + group, "--size", "4KiB"});
        need({"--appliance", appliance, "lun", "present", name, "production"});
    }
    /// Runs commands of the appliance's shell as one script.
    void tell(const std::string& appliance, const std::string& commands) const
    {
        const std::string file = (site.folder() / "script").string();
        writeFile(file, "server " + appliance + "\n" + commands + "exit\n");
        const SRun done = site.shell("production", "lmsh <" + file);
        ASSERT_EQ(done.status, 0) << done.err;
    }

    /// Path of each LUN by its name.
    std::map<std::string, std::string> devices(const std::string& appliance) const
    {
        std::map<std::string, std::string> paths;
        const json listed = site.lmadm({"--appliance", appliance, "--output", "json", "lun", "list"}).json();
        for (const json& lun : listed.at("luns")) {
            paths[lun.at("name")] = lun.at("device");
        }
        return paths;
    }
    /// The groups of an appliance, and how many copies each has.
    json groups(const std::string& appliance) const
    {
        return site.lmadm({"--appliance", appliance, "--output", "json", "group", "list"}).json().at("groups");
    }
    json group(const std::string& appliance, const std::string& name) const
    {
        return site.lmadm({"--appliance", appliance, "--output", "json", "group", "show", name}).json();
    }
    void expectNoCopies(const std::string& appliance) const
    {
        for (const json& entry : groups(appliance)) {
            EXPECT_EQ(entry.at("annotations"), 0) << entry;
            EXPECT_EQ(entry.at("time_images"), 0) << entry;
        }
    }

    /// Takes a snapshot, carries it to the other host, imports it there, compares, gives it back and deletes it.
    void expectWhole(const std::string& name, const std::vector<std::string>& sources) const
    {
        for (const std::string& source : sources) {
            std::string content = "content of " + source + "; ";
            content.resize(contentOf(source).size(), '.');
            writeFile(source, content);
        }
        const SRun created = create(name, sources);
        ASSERT_EQ(created.status, 0) << created.err;
        const std::map<std::string, std::string> paths = importOnBackup(name);
        EXPECT_EQ(paths.size(), sources.size());
        for (const auto& [source, copy] : paths) {
            EXPECT_EQ(contentOf(copy), contentOf(source)) << source;
        }
        expectDone("backup", {"snapshot", "show", name});
        expectDone("backup", {"snapshot", "release", name});
        expectDone("production", {"snapshot", "list"});
        expectDone("production", {"snapshot", "delete", name});
        EXPECT_EQ(site.fictl("backup", {"snapshot", "delete", name}).status, 0);
    }
    void expectDone(const std::string& host, const std::vector<std::string>& words) const
    {
        const SRun done = site.fictl(host, words);
        EXPECT_EQ(done.status, 0) << done.err;
        EXPECT_EQ(withoutWaiting(done.err), "") << words.at(1);
    }
    /// On a busy machine fictl says what it waits for.
    static std::string withoutWaiting(const std::string& text)
    {
        std::istringstream lines(text);
        std::string rest;
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("fictl: still waiting: ")) rest += line + "\n";
        }
        return rest;
    }
};

}  // namespace

class CGroupNamesTest : public CNamesTest
{
  protected:
    /// One site for those that work and one for those that do not: every command looks at all groups there are.
    void addGroups(bool usable)
    {
        addAppliance("alpha");
        for (const SCorpusName& name : namesFor(base_test::GROUP)) {
            if (name.unusable.empty() != usable) continue;
            addGroup("alpha", name.name);
            addLun("alpha", name.name, "lun" + std::to_string(m_groups.size()));
            m_groups.push_back(name);
        }
        site.setUpHosts();
        const std::map<std::string, std::string> paths = devices("alpha");
        for (size_t i = 0; i < m_groups.size(); ++i) {
            m_devices.push_back(paths.at("lun" + std::to_string(i)));
        }
        ASSERT_EQ(groups("alpha").size(), m_groups.size());
    }

    // As the list of all devices tells it, and the answer about each one.
    void expectListed() const
    {
        std::vector<std::string> words = {"--output", "json", "device", "list"};
        const json all = site.fictl("production", words).json().at("devices");
        words.insert(words.end(), m_devices.begin(), m_devices.end());
        const SRun asked = site.fictl("production", words);
        EXPECT_EQ(asked.status, 0) << asked.err;
        const json answers = asked.json().at("devices");
        for (size_t i = 0; i < m_groups.size(); ++i) {
            expectListed(i, all);
            expectListed(i, answers);
        }
    }
    void expectListed(size_t number, const json& entries) const
    {
        const SCorpusName& group = m_groups[number];
        const auto entry =
            std::ranges::find_if(entries, [&](const json& each) { return each.at("device") == m_devices[number]; });
        ASSERT_NE(entry, entries.end()) << group.what;
        EXPECT_EQ(entry->at("claimed"), group.unusable.empty()) << group.what;
        EXPECT_EQ(entry->value("group", group.name), group.name);
        if (!group.unusable.empty()) {
            EXPECT_EQ(entry->at("reason"), reasonOf(group));
        }
    }

    std::vector<SCorpusName> m_groups;
    std::vector<std::string> m_devices;  // in their order
};

TEST_F(CGroupNamesTest, WorkFromTheListOfDevicesToTheDeletion)
{
    addGroups(true);
    ASSERT_GE(m_groups.size(), 50U);
    expectListed();
    expectWhole("nightly", m_devices);
    expectNoCopies("alpha");
}

TEST_F(CGroupNamesTest, AreRefusedWithTheReasonBeforeAnythingIsMade)
{
    addGroups(false);
    ASSERT_GE(m_groups.size(), 5U);
    expectListed();
    for (size_t i = 0; i < m_groups.size(); ++i) {
        const SRun run = create("refused", {m_devices[i]});
        EXPECT_EQ(run.status, 7) << m_groups[i].what;
        const json error = run.json().at("error");
        EXPECT_EQ(error.at("message"), "device " + m_devices[i] + ": " + reasonOf(m_groups[i]) + "; nothing was made");
        EXPECT_EQ(error.at("next"), "give the group another name on the appliance, or move its LUNs to another group");
    }
    expectNoCopies("alpha");
}

TEST_F(CNamesTest, ThatAreNoUtf8AreRefused)
{
    addAppliance("alpha");
    addGroup("alpha", "cafe");
    addLun("alpha", "cafe", "data");
    site.setUpHosts();
    site.replaceShell("production",
                      "#!/bin/sh\nLC_ALL=C sed 's/caf\\xe9/cafe/' | lmsh | LC_ALL=C sed 's/cafe/caf\\xe9/'\n");
    const std::string device = devices("alpha").at("data");
    const SRun run = create("refused", {device});
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.json().at("error").at("message"),
              "device " + device + ": the name of consistency group \"caf\\xe9\" is not valid UTF-8; nothing was made");
    EXPECT_TRUE(site.copiesOf("alpha", "cafe").empty());
}

// What is in the group already is somebody else's, whatever it is called.
TEST_F(CNamesTest, OfWhatIsInTheGroupKeepNothingFromWorking)
{
    addAppliance("alpha");
    addGroup("alpha", "payroll");
    addLun("alpha", "payroll", "data");
    site.setUpHosts();
    std::string script;
    std::string shown;
    for (const SCorpusName& name : namesFor(base_test::ANNOTATION)) {
        script += "create annotation \"" + name.name + "\" \"payroll\"\nset message \"" + name.name.substr(0, 20) +
                  "\"\ncommit\n";
        if (!name.isFor(base_test::IMAGE)) continue;
        script += "create timeimage \"" + name.name + "\" \"payroll\"\nuse annotation \"" + name.name +
                  "\"\nadd permission \"production\"\nset preserve mode no\ncommit\n";
    }
    tell("alpha", script);
    const json before = group("alpha", "payroll");
    EXPECT_EQ(before.at("annotations").size(), namesFor(base_test::ANNOTATION).size());
    EXPECT_EQ(before.at("time_images").size(), namesFor(base_test::IMAGE).size());
    expectWhole("nightly", {devices("alpha").at("data")});
    EXPECT_EQ(group("alpha", "payroll"), before);
}

// Each appliance has a group of the same name, so that nothing but its own name tells them apart.
TEST_F(CNamesTest, OfAppliancesWork)
{
    std::vector<std::string> sources;
    for (const SCorpusName& appliance : namesFor(base_test::APPLIANCE)) {
        addAppliance(appliance.name);
        addGroup(appliance.name, "payroll");
        addLun(appliance.name, "payroll", "data");
        sources.push_back(devices(appliance.name).at("data"));
    }
    site.setUpHosts();
    expectWhole("nightly", sources);
    for (const SCorpusName& appliance : namesFor(base_test::APPLIANCE)) {
        expectNoCopies(appliance.name);
    }
}

TEST_F(CNamesTest, OfLunsWork)
{
    addAppliance("alpha");
    addGroup("alpha", "payroll");
    for (const SCorpusName& lun : namesFor(base_test::LUN)) {
        addLun("alpha", "payroll", lun.name);
    }
    site.setUpHosts();
    std::vector<std::string> sources;
    for (const auto& [lun, path] : devices("alpha")) {
        sources.push_back(path);
    }
    expectWhole("nightly", sources);
    expectNoCopies("alpha");
}

TEST_F(CNamesTest, OfHostsWork)
{
    addAppliance("alpha");
    addGroup("alpha", "payroll");
    addLun("alpha", "payroll", "data");
    std::map<std::string, std::string> hosts;  // by what a network compares
    for (const SCorpusName& host : namesFor(base_test::HOST)) {
        const auto [other, isNew] = hosts.emplace(inLowerCase(host.name), host.name);
        if (host.name == "backup") continue;
        const SRun made = site.lmadm({"--appliance", "alpha", "host", "create", host.name});
        EXPECT_EQ(made.err, isNew ? ""
                                  : "lmadm: host \"" + host.name + "\" differs from host \"" + other->second +
                                        "\" on appliance \"alpha\" by case alone; choose another name, or delete the "
                                        "existing one first\n");
    }
    site.setUpHosts();
    const std::string source = devices("alpha").at("data");
    ASSERT_EQ(create("nightly", {source}).status, 0);
    carry("nightly");
    // All of them are in the listing; these a resolver or a shell might take for something else.
    for (const std::string& host : {std::string("77"), std::string("0"), std::string("no"), std::string("exit"),
                                    std::string("host-1.example.com"), std::string(253, 'h')}) {
        ASSERT_TRUE(hosts.contains(host)) << host;
        // The other host under another name, with what it has received.
        need({"host", "setup", "--root", site.root("backup").string(), "--host", host});
        const SRun imported = site.fictl("backup", {"--output", "json", "snapshot", "import", "nightly"});
        ASSERT_EQ(imported.status, 0) << host << ": " << imported.err;
        EXPECT_EQ(contentOf(imported.json().at("snapshot").at("devices").at(0).at("import_path")), contentOf(source));
        expectDone("backup", {"snapshot", "release", "nightly"});
    }
    expectDone("production", {"snapshot", "delete", "nightly"});
}
