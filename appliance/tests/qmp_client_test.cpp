// The conversation with a monitor, whatever the monitor does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "appliance/core/engines/daemon/qmp_client.h"
#include "base/tests/temporary_folder.h"

namespace lumora::test {
namespace {

using Json = CQmpClient::Json;
using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr const char* GREETING = R"({"QMP": {"version": {}, "capabilities": []}})";
constexpr std::chrono::milliseconds PATIENCE{300};

// Answers each line that it gets with the next of its answers, then ends the conversation; an answer may be several
// lines. Greets first.
class CMonitor
{
  public:
    explicit CMonitor(std::vector<std::string> answers)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_answers(std::move(answers))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path().c_str());
        EXPECT_EQ(::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_socket.get(), 1), 0);
        m_thread = std::thread([this] { serve(); });
    }
    ~CMonitor() { m_thread.join(); }
    CMonitor(const CMonitor&) = delete;
    CMonitor& operator=(const CMonitor&) = delete;

    std::filesystem::path path() const { return m_folder / "qmp"; }

  private:
    void serve() const
    {
        const base::CFileDescriptor client(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        for (const std::string& answer : m_answers) {
            const std::string line = answer + "\n";
            if (::send(client.get(), line.data(), line.size(), MSG_NOSIGNAL) < 0) return;
            char byte = 0;
            while (byte != '\n') {
                if (::recv(client.get(), &byte, 1, 0) <= 0) return;
            }
        }
    }

    base_test::CTemporaryFolder m_folder;
    base::CFileDescriptor m_socket;
    const std::vector<std::string> m_answers;
    std::thread m_thread;
};

TEST(QmpClient, ReturnsWhatTheMonitorReturns)
{
    const CMonitor monitor({GREETING, R"({"return": {}})", R"({"return": [1, 2]})"});
    CQmpClient client(monitor.path(), PATIENCE);
    EXPECT_EQ(client.execute("query"), Json({1, 2}));
}

TEST(QmpClient, KeepsEventsUntilSomebodyWaitsForThem)
{
    const CMonitor monitor(
        {GREETING, R"({"return": {}})",
         "{\"event\": \"DONE\", \"data\": {\"id\": \"a\"}}\n{\"event\": \"DONE\", \"data\": {\"id\": "
         "\"b\"}}\n{\"return\": {}}"});
    CQmpClient client(monitor.path(), PATIENCE);
    client.execute("go");
    EXPECT_EQ(client.waitFor("DONE", [](const Json& data) { return data["id"] == "b"; })["id"], "b");
    EXPECT_EQ(client.waitFor("DONE", [](const Json&) { return true; })["id"], "a");
}

TEST(QmpClient, ARefusalHasTheMonitorsWords)
{
    const CMonitor monitor(
        {GREETING, R"({"return": {}})", R"({"error": {"class": "GenericError", "desc": "No space"}})"});
    CQmpClient client(monitor.path(), PATIENCE);
    EXPECT_THAT([&] { client.execute("go"); }, ThrowsMessage<EQmpRefusal>("the storage daemon refuses go: No space"));
}

TEST(QmpClient, AMonitorThatEndsIsLost)
{
    const CMonitor monitor({GREETING, R"({"return": {}})"});
    CQmpClient client(monitor.path(), PATIENCE);
    EXPECT_THAT([&] { client.execute("go"); },
                ThrowsMessage<EApplianceError>("lost the storage daemon at " + monitor.path().string() + ": it ended"));
}

TEST(QmpClient, AMonitorThatIsNoneIsNotUsed)
{
    for (const std::string answer : {"hello", "[]", "{}"}) {
        const CMonitor monitor({answer});
        EXPECT_THAT([&] { CQmpClient client(monitor.path(), PATIENCE); },
                    ThrowsMessage<EApplianceError>(HasSubstr("lost the storage daemon at ")))
            << answer;
    }
}

TEST(QmpClient, AMonitorThatStaysSilentIsGivenUp)
{
    const base_test::CTemporaryFolder folder;
    const base::CFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::filesystem::path path = folder / "qmp";
    std::strcpy(address.sun_path, path.c_str());
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(socket.get(), 1), 0);
    EXPECT_THAT([&] { CQmpClient client(path, std::chrono::milliseconds(20)); },
                ThrowsMessage<EApplianceError>("lost the storage daemon at " + path.string() + ": it does not answer"));
}

TEST(QmpClient, NobodyThereIsSaid)
{
    EXPECT_THAT([] { CQmpClient client("/nowhere/qmp", PATIENCE); },
                ThrowsMessage<EApplianceError>("cannot connect to /nowhere/qmp: No such file or directory"));
}

}  // namespace

}  // namespace lumora::test
