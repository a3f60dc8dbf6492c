#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/include/obzx_runtime.h"

namespace pdktest {

/// Keeps the trace lines of all providers of the process, of all levels.
class CTraceLines
{
  public:
    CTraceLines() { obzx_set_trace_observer(observe, this, 6); }
    ~CTraceLines() { obzx_set_trace_observer(nullptr, nullptr, 0); }
    CTraceLines(const CTraceLines&) = delete;
    CTraceLines& operator=(const CTraceLines&) = delete;

    /// The lines since the last call.
    std::vector<std::string> take()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_lines, {});
    }

  private:
    static void observe(void* user, int32_t level, const char* component, const char* text)
    {
        auto* const self = static_cast<CTraceLines*>(user);
        const std::lock_guard lock(self->m_mutex);
        self->m_lines.push_back("L" + std::to_string(level) + " " + component + " " + text);
    }

    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

}  // namespace pdktest
