// The look at the appliances goes on while the provider starts: each waits for the other here.
#include <filesystem>

#include "host/tests/canned_inspector.h"

namespace {

TEST_F(CInspectedTest, TheLookGoesOnWhileTheProviderStarts)
{
    // The provider's start ends once the inspector runs, and the inspector does not end before that.
    const auto waitForEachOther = [this] {
        std::filesystem::remove(fake("go"));
        std::filesystem::remove(fake("go.reached"));
        arm("hosts:ap1 wait go\n");
        base_test::writeFile(m_root + "/inspection.json", m_seen.dump());
        setInspectorScript("until test -e '" + fake("go.reached") + "'; do sleep 0.01; done; >'" + fake("go") +
                           "'; cat '" + m_root + "/inspection.json'");
    };
    const std::vector<std::vector<std::string>> commands = {
        {"snapshot", "create", "s", "/dev/fake1"}, {"snapshot", "import", "s"}, {"snapshot", "delete", "s"}};
    for (const std::vector<std::string>& command : commands) {
        waitForEachOther();
        const SRun run = fictl(command);
        EXPECT_EQ(run.exit, 0) << testing::PrintToString(command) << run.err;
    }
}

}  // namespace
