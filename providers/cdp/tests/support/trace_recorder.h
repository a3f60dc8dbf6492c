#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace cdpfi {

/// Collects the trace lines of the process as "L<level> <text>".
class CTraceRecorder
{
  public:
    CTraceRecorder() { observe(6); }
    ~CTraceRecorder() { observe(0); }
    CTraceRecorder(const CTraceRecorder&) = delete;
    CTraceRecorder& operator=(const CTraceRecorder&) = delete;

    /// Collects lines up to that level from here on; 0: none.
    void observe(int32_t level);
    void clear() { take(); }
    /// The lines since the last call of this or of clear(). What changes from run to run is written <pid>, <root> (the
    /// root directory that OBZX_ROOT names), <temp> (a temporary file), <address> and <line>.
    std::vector<std::string> take();
    std::vector<std::string> lines() const;
    bool has(const std::string& line) const;
    /// Has the action run once, right after the next line that begins so, by whoever traces it. An empty action: none.
    void onLine(const std::string& beginning, const std::function<void()>& action);

  private:
    static void receive(void* user, int32_t level, const char* component, const char* text);

    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::string m_awaited;
    std::function<void()> m_action;
};

}  // namespace cdpfi
