#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace cdpfi {

/// Collects the trace lines of the process, up to level 6, as "L<level> <text>".
class CTraceRecorder
{
  public:
    CTraceRecorder();
    ~CTraceRecorder();
    CTraceRecorder(const CTraceRecorder&) = delete;
    CTraceRecorder& operator=(const CTraceRecorder&) = delete;

    void clear();
    std::vector<std::string> lines() const;
    bool has(const std::string& line) const;
    /// Has the action run once, right after the next line that begins so, by whoever traces it. An empty action: none.
    void onLine(const std::string& beginning, const std::function<void()>& action);

    /**
     * Compares the lines so far with the file expected/<name>.trace beside the tests. What changes from run to run is
     * written <pid>, <root> (a scenario's root directory), <temp> (a temporary file), <address> and <line>. With
     * UPDATE_EXPECTED=1 in the environment, which script/expected sets, the file is written anew instead.
     */
    void expect(const std::string& name, const std::string& root) const;

  private:
    static void observe(void* user, int32_t level, const char* component, const char* text);

    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::string m_awaited;
    std::function<void()> m_action;
};

}  // namespace cdpfi
