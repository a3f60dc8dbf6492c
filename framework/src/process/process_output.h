#pragma once

#include <cstddef>
#include <string_view>

#include "framework/include/cfiexecpipe.h"
#include "framework/include/cfioutputtext.h"

namespace obzx_pdk_4_4 {

/// Collects what a program writes, until it passes a bound.
class CProcessOutput
{
  public:
    /// @param descriptor not owned; reads from it do not wait
    CProcessOutput(int descriptor, const SFiOutputBounds& bounds) : m_descriptor(descriptor), m_bounds(bounds) {}

    /// Reads what is there, at most one buffer.
    void read();
    /// Reads what is there now, but not what somebody goes on writing.
    void readRest();

    /// -1 once the output has ended.
    int descriptor() const { return m_descriptor; }
    /// The first of its bounds that it has passed.
    EFiOutputBound passedBound() const;
    bool tooLong() const { return passedBound() != EFiOutputBound::NONE; }

    const CFiOutputText& text() const { return m_text; }
    /// The first bytes of the text, at most so many.
    CFiOutputText takeText(size_t most);

    /// Reads what is there, at most one buffer, and drops it.
    void discard();

  private:
    size_t readSome(size_t most);
    void measure(std::string_view added);

    int m_descriptor;
    SFiOutputBounds m_bounds;
    CFiOutputText m_text;
    size_t m_lineEnds = 0;
    size_t m_lineLength = 0;   // of the line that has no end yet
    size_t m_longestLine = 0;  // of those that have one
};

}  // namespace obzx_pdk_4_4
