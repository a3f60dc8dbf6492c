#pragma once

#include <cstddef>

#include "framework/include/cfioutputtext.h"

namespace obzx_pdk_4_4 {

/// Collects what a program writes, up to a limit.
class CProcessOutput
{
  public:
    static constexpr size_t LIMIT = size_t{256} * 1024 * 1024;

    /// @param descriptor not owned; reads from it do not wait
    explicit CProcessOutput(int descriptor) : m_descriptor(descriptor) {}

    /// Reads what is there, at most one buffer.
    void read();
    /// Reads what is there now, but not what somebody goes on writing.
    void readRest();

    /// -1 once the output has ended.
    int descriptor() const { return m_descriptor; }
    bool tooLong() const { return m_text.size() > LIMIT; }

    const CFiOutputText& text() const { return m_text; }
    /// The first bytes of the text, at most so many.
    CFiOutputText takeText(size_t most);

    /// Reads what is there, at most one buffer, and drops it.
    void discard();

  private:
    size_t readSome(size_t most);

    int m_descriptor;
    CFiOutputText m_text;
};

}  // namespace obzx_pdk_4_4
