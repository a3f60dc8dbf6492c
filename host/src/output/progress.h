#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "host/src/output/heartbeat.h"

namespace fictl {

/// Lines on standard error: one for each step when the user wants to see them, and warnings always.
class CProgress
{
  public:
    /// @param heartbeat tells of steps that last long; may be null
    explicit CProgress(bool enabled, std::shared_ptr<CHeartbeat> heartbeat = nullptr)
        : m_enabled(enabled), m_heartbeat(std::move(heartbeat))
    {
    }

    /// "[seconds since the start] text"
    void step(const std::string& text) const;
    /// "fictl: warning: text"
    static void warn(const std::string& text);
    /// Writes whole lines to standard error, bytes that are not UTF-8 as \xNN; a closed one is no error.
    static void write(const std::string& text);

  private:
    bool m_enabled;
    std::shared_ptr<CHeartbeat> m_heartbeat;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace fictl
