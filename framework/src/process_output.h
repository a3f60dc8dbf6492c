#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// Collects what a program writes, up to a limit. The text is kept in blocks, so that a long one is neither copied
/// while it grows nor held beside its lines as a whole.
class CProcessOutput
{
  public:
    static constexpr size_t LIMIT = size_t{256} * 1024 * 1024;

    /// @param descriptor not owned; reads from it do not wait
    explicit CProcessOutput(int descriptor) : m_descriptor(descriptor) {}

    /// Reads what is there, at most one block.
    void read();
    /// Reads what is there now, but not what somebody goes on writing.
    void readRest();

    /// -1 once the output has ended.
    int descriptor() const { return m_descriptor; }
    bool tooLong() const { return m_size > LIMIT; }

    /// Appends the lines of the first bytes of the text, at most so many, and drops the text.
    void takeLines(size_t most, std::vector<std::string>& lines);

    /// Reads one buffer and drops it; false at the end of the output.
    static bool discard(int descriptor);

  private:
    static constexpr size_t BLOCK_SIZE = size_t{64} * 1024;

    size_t readSome(size_t most);

    int m_descriptor;
    size_t m_size = 0;
    std::vector<std::unique_ptr<char[]>> m_blocks;  // all but the last one are full
};

}  // namespace obzx_pdk_4_4
