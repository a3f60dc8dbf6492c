#pragma once

#include <chrono>
#include <string>

namespace fictl {

/// Lines on standard error: one for each step when the user wants to see them, and warnings always.
class CProgress
{
  public:
    explicit CProgress(bool enabled) : m_enabled(enabled) {}

    /// "[seconds since the start] text"
    void step(const std::string& text) const;
    /// "fictl: warning: text"
    static void warn(const std::string& text);
    /// Writes whole lines to standard error; a closed one is no error.
    static void write(const std::string& text);

  private:
    bool m_enabled;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace fictl
