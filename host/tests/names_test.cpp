// Names of any kind in front of fictl: of snapshots that it makes, and of groups that it shows.
#include "base/plain_text.h"
#include "base/tests/name_corpus.h"
#include "host/tests/canned_inspector.h"

namespace {

using base_test::nameCorpus;
using base_test::SCorpusName;

// Whatever is in a text, a terminal gets characters and ends of lines.
void expectShowable(const std::string& text)
{
    for (const std::string& line : base_test::linesOf(text)) {
        EXPECT_TRUE(base::isPlainText(line)) << base::printable(line);
    }
}

/// Groups of every name that a document can hold, with a LUN each.
class CGroupNamesTest : public CInspectedTest
{
  protected:
    void SetUp() override
    {
        CInspectedTest::SetUp();
        m_seen["appliances"] = {appliance("ap1")};
        nlohmann::json& groups = m_seen["appliances"][0]["groups"];
        nlohmann::json& disks = m_seen["disks"]["devices"];
        for (const SCorpusName& name : nameCorpus()) {
            if (!base::isUtf8(name.name)) continue;
            const std::string number = std::to_string(m_names.size());
            m_names.push_back(name);
            groups.push_back(group(name.name, {"S" + number}));
            disks.push_back({{"path", "/dev/sd" + number}, {"serial", "S" + number}});
        }
        setInspection();
    }

    std::vector<SCorpusName> m_names;
};

}  // namespace

TEST_F(CGroupNamesTest, AreListedWithWhatKeepsThemFromASnapshot)
{
    const nlohmann::json devices = fictlJson({"device", "list"}).document().at("devices");
    ASSERT_EQ(devices.size(), m_names.size());
    for (size_t i = 0; i < m_names.size(); ++i) {
        const SCorpusName& name = m_names[i];
        const nlohmann::json& device = devices.at(i);
        EXPECT_EQ(device.at("group"), name.name.empty() ? nlohmann::json() : nlohmann::json(name.name)) << name.what;
        // Those marks are the nodes of another provider.
        const bool isNodeElsewhere = name.name.find("<cdpfi>") != std::string::npos;
        EXPECT_EQ(device.at("claimed"), name.unusable.empty() || isNodeElsewhere) << name.what << ": " << device;
    }
}

TEST_F(CGroupNamesTest, AreShownOnATerminalAsPlainText)
{
    const SRun run = fictl({"device", "list"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(base_test::linesOf(run.out).size(), m_names.size() + 1) << "each device has one line, below the heads";
    expectShowable(run.out);
    expectShowable(fictl({"doctor"}).out);
}

TEST_F(CFictlTest, ASnapshotHasItsNameFromCreationToDeletionOrIsRefused)
{
    for (const SCorpusName& name : nameCorpus()) {
        const SRun created = fictlJson({"snapshot", "create", "--", name.name, "/dev/fake1"});
        expectShowable(created.err);
        if (!name.isFor(base_test::SNAPSHOT)) {
            EXPECT_EQ(created.exit, 2) << name.what;
            // Of a brace it says what it could stand for.
            const std::string refusal = '"' + base::printable(name.name) + "\" cannot be a snapshot's name";
            EXPECT_TRUE(created.message() == refusal || created.message().starts_with(refusal + ": "))
                << created.message();
            continue;
        }
        EXPECT_EQ(created.exit, 0) << name.what << created.err;
        EXPECT_EQ(created.document().at("snapshot").at("name"), name.name);
        EXPECT_EQ(state(name.name), "complete");
        EXPECT_EQ(fictl({"snapshot", "delete", name.name}).exit, 0) << name.what;
    }
    EXPECT_TRUE(objects().empty());
}
