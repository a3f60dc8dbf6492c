#include "appliance/ceph/tests/write_sequence.h"

namespace lumora::test {

namespace {

constexpr uint64_t LONGEST = 15000;  // sectors of an image

}  // namespace

CWriteSequence::CWriteSequence(const SCephSetup& setup, const std::array<std::string, 2>& images)
    : m_clients{CClientProcess(setup, {"sequence", "images", images[0]}),
                CClientProcess(setup, {"sequence", "images", images[1]})},
      m_thread([this](const std::stop_token& stop) { write(stop); })
{
}

void CWriteSequence::waitFor(uint64_t count) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (m_written < count && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_GE(m_written, count);
}

void CWriteSequence::stop()
{
    m_thread.request_stop();
    if (m_thread.joinable()) m_thread.join();
}

void CWriteSequence::write(const std::stop_token& stop)
{
    for (uint64_t i = 0; i < LONGEST && !stop.stop_requested(); ++i) {
        CClientProcess& client = m_clients[i % 2];
        const std::chrono::milliseconds taken = timeOf([&] {
            client.say(std::to_string(i));
            EXPECT_EQ(client.answer(), "written");
        });
        // The first ones wait until their clients have begun.
        if (i >= 2 && taken > m_longest.load()) m_longest = taken;
        m_written = i + 1;
    }
}

std::optional<uint64_t> prefixOf(const std::string& first, const std::string& second, uint64_t most)
{
    uint64_t length = 0;
    for (uint64_t i = 0; i < most; ++i) {
        const std::string sector = (i % 2 == 0 ? first : second).substr(i * SECTOR, SECTOR);
        const bool isWritten = sector.substr(0, sector.find(' ')) == std::to_string(i);
        if (isWritten && length < i) return std::nullopt;
        if (isWritten) length = i + 1;
    }
    return length;
}

}  // namespace lumora::test
