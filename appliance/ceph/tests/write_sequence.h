#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>

#include "appliance/ceph/tests/cluster_fixture.h"

namespace lumora::test {

/// Two processes that write to an image each: 0 to the one, 1 to the other, 2 to the first one and so on, each write
/// begun when the one before is safe. A write that fails fails the test.
class CWriteSequence
{
  public:
    CWriteSequence(const SCephSetup& setup, const std::array<std::string, 2>& images);
    ~CWriteSequence() { stop(); }
    CWriteSequence(const CWriteSequence&) = delete;
    CWriteSequence& operator=(const CWriteSequence&) = delete;

    /// How many writes are safe.
    uint64_t written() const { return m_written; }
    /// Waits until so many are, for two minutes at most.
    void waitFor(uint64_t count) const;
    /// The longest that a write took.
    std::chrono::milliseconds longestWrite() const { return m_longest; }
    /// Begins no more writes and waits for the last one.
    void stop();

  private:
    void write(const std::stop_token& stop);

    std::array<CClientProcess, 2> m_clients;
    std::atomic<uint64_t> m_written = 0;
    std::atomic<std::chrono::milliseconds> m_longest{};
    std::jthread m_thread;
};

/// How many writes of a sequence the bytes of the two images hold, which must be its first ones; nothing where one is
/// there and one before it is not. Looks at the first `most` ones.
std::optional<uint64_t> prefixOf(const std::string& first, const std::string& second, uint64_t most);

}  // namespace lumora::test
