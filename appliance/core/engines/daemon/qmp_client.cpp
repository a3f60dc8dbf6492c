#include "appliance/core/engines/daemon/qmp_client.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "base/poll_until.h"

namespace lumora {

namespace {

using Clock = std::chrono::steady_clock;

// An answer is a few hundred bytes for each device.
constexpr size_t LONGEST_ANSWER = size_t{64} << 20U;

base::CFileDescriptor connectTo(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throwStorage("connect to", path, ENAMETOOLONG);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    base::CFileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // The socket interface takes each family's addresses as the common one.
    if (!connection || ::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throwStorage("connect to", path, errno);
    }
    return connection;
}

}  // namespace

CQmpClient::CQmpClient(const std::filesystem::path& socket, std::chrono::milliseconds patience)
    : m_socket(socket.string()), m_patience(patience), m_connection(connectTo(m_socket))
{
    if (!readObject(false).contains("QMP")) giveUp("it is no monitor");
    execute("qmp_capabilities");
}

CQmpClient::Json CQmpClient::execute(const std::string& command, const Json& arguments)
{
    const std::string line = Json{{"execute", command}, {"arguments", arguments}}.dump() + "\n";
    for (size_t sent = 0; sent < line.size();) {
        const ssize_t count = ::send(m_connection.get(), line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) giveUp(std::system_category().message(errno));
        sent += static_cast<size_t>(count);
    }
    for (;;) {
        Json answer = readObject(false);
        if (answer.contains("event")) {
            m_events.push_back(std::move(answer));
        } else if (answer.contains("error")) {
            throw EQmpRefusal(EStatus::STORAGE,
                              "the storage daemon refuses " + command + ": " + answer["error"].value("desc", ""));
        } else if (answer.contains("return")) {
            return std::move(answer["return"]);
        }
    }
}

CQmpClient::Json CQmpClient::waitFor(const std::string& event, const std::function<bool(const Json& data)>& isMeant)
{
    for (;;) {
        for (auto seen = m_events.begin(); seen != m_events.end(); ++seen) {
            if ((*seen)["event"] != event || !isMeant((*seen)["data"])) continue;
            Json data = std::move((*seen)["data"]);
            m_events.erase(seen);
            return data;
        }
        Json next = readObject(true);
        if (next.contains("event")) m_events.push_back(std::move(next));
    }
}

CQmpClient::Json CQmpClient::readObject(bool forEver)
{
    const Clock::time_point end = forEver ? Clock::time_point::max() : Clock::now() + m_patience;
    for (;;) {
        const size_t newline = m_unread.find('\n');
        if (newline != std::string::npos) {
            const std::string line = m_unread.substr(0, newline);
            m_unread.erase(0, newline + 1);
            Json object = Json::parse(line, nullptr, false);
            if (!object.is_object()) giveUp("its answer is no JSON object");
            return object;
        }
        if (m_unread.size() > LONGEST_ANSWER) giveUp("its answer does not end");
        pollfd readable = {m_connection.get(), POLLIN, 0};
        if (base::pollUntil({&readable, 1}, end) <= 0 && Clock::now() >= end) giveUp("it does not answer");
        if (readable.revents == 0) continue;
        std::array<char, 65536> bytes = {};
        const ssize_t count = ::recv(m_connection.get(), bytes.data(), bytes.size(), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) giveUp(count == 0 ? "it ended" : std::system_category().message(errno));
        m_unread.append(bytes.data(), static_cast<size_t>(count));
    }
}

void CQmpClient::giveUp(const std::string& why) const
{
    throw EApplianceError(EStatus::STORAGE, "lost the storage daemon at " + m_socket + ": " + why);
}

}  // namespace lumora
