#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/include/cfioutputtext.h"

namespace cdpfi {

/// The lines that the appliance's shell answered, where they were read into: a list of many LUNs costs no memory for
/// each of its lines.
class CLMRAnswer
{
  public:
    CLMRAnswer() = default;
    /// Takes all of the text. @throw std::bad_alloc
    explicit CLMRAnswer(obzx_pdk_4_4::CFiOutputText text);

    /// Valid as long as the answer is, wherever that is moved.
    std::span<const std::string_view> lines() const { return m_lines; }
    /// Of the whole answer.
    size_t bytes() const { return m_text.size(); }
    std::vector<std::string> copies() const { return {m_lines.begin(), m_lines.end()}; }

  private:
    obzx_pdk_4_4::CFiOutputText m_text;
    std::vector<std::string_view> m_lines;
};

}  // namespace cdpfi
