#include "providers/cdp/tests/support/trace_recorder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <utility>

#include "base/tests/text_file.h"
#include "framework/include/obzx_runtime.h"

namespace cdpfi {

namespace {

std::string withoutRunValues(std::string text)
{
    static const std::regex s_line(R"((Entering|Exiting) Function (\w+) \[\d+, )");
    static const std::regex s_temp(R"(/[\w/.]*ksv_fi\w+)");
    static const std::regex s_address(R"(addres [1-9a-f][0-9a-f]*)");
    const char* const root = std::getenv("OBZX_ROOT");  // NOLINT(concurrency-mt-unsafe)
    text = std::regex_replace(text, s_address, "addres <address>");
    if (root != nullptr) base_test::replaceAll(text, root, "<root>");
    text = std::regex_replace(text, s_temp, "<temp>");
    base_test::replaceAll(text, "_" + std::to_string(getpid()), "_<pid>");
    return std::regex_replace(text, s_line, "$1 Function $2 [<line>, ");
}

}  // namespace

void CTraceRecorder::observe(int32_t level)
{
    obzx_set_trace_observer(level == 0 ? nullptr : &CTraceRecorder::receive, this, level);
}

void CTraceRecorder::receive(void* user, int32_t level, const char*, const char* text)
{
    auto* recorder = static_cast<CTraceRecorder*>(user);
    const std::string line = "L" + std::to_string(level) + " " + text;
    std::function<void()> action;
    {
        const std::lock_guard lock(recorder->m_mutex);
        if (recorder->m_action && line.starts_with(recorder->m_awaited)) action.swap(recorder->m_action);
        recorder->m_lines.push_back(line);
    }
    if (action) action();
}

void CTraceRecorder::onLine(const std::string& beginning, const std::function<void()>& action)
{
    const std::lock_guard lock(m_mutex);
    m_awaited = beginning;
    m_action = action;
}

std::vector<std::string> CTraceRecorder::take()
{
    std::vector<std::string> lines;
    {
        const std::lock_guard lock(m_mutex);
        lines.swap(m_lines);
    }
    std::ranges::transform(lines, lines.begin(), withoutRunValues);
    return lines;
}

std::vector<std::string> CTraceRecorder::lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

bool CTraceRecorder::has(const std::string& line) const
{
    const std::lock_guard lock(m_mutex);
    return std::find(m_lines.begin(), m_lines.end(), line) != m_lines.end();
}

}  // namespace cdpfi
