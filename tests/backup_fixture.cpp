#include "tests/backup_fixture.h"

using nlohmann::json;

SRun CBackupTest::create(const std::string& name, const std::vector<std::string>& devices) const
{
    std::vector<std::string> words{"--output", "json", "snapshot", "create", name};
    words.insert(words.end(), devices.begin(), devices.end());
    return site.fictl("production", words);
}

void CBackupTest::carry(const std::string& name) const
{
    const std::string file = (site.folder() / (name + ".json")).string();
    EXPECT_EQ(site.fictl("production", {"snapshot", "export", name, "--file", file}).status, 0);
    const SRun received = site.fictl("backup", {"snapshot", "receive", file});
    EXPECT_EQ(received.status, 0) << received.err;
}

std::map<std::string, std::string> CBackupTest::importOnBackup(const std::string& name) const
{
    carry(name);
    const SRun imported = site.fictl("backup", {"--output", "json", "snapshot", "import", name});
    EXPECT_EQ(imported.status, 0) << imported.err << imported.out;
    std::map<std::string, std::string> paths;
    const json document = imported.json();
    for (const json& device : document.at("snapshot").at("devices")) {
        paths[device.at("source")] = device.at("import_path");
    }
    return paths;
}
