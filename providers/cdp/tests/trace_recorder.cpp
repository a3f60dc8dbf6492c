#include "providers/cdp/tests/trace_recorder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>

#include "framework/include/obzx_runtime.h"

namespace cdpfi {

namespace {

std::string replaceAll(std::string text, const std::string& what, const std::string& with)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

std::string withoutRunValues(std::string text, const std::string& root)
{
    static const std::regex s_line(R"((Entering|Exiting) Function (\w+) \[\d+, )");
    static const std::regex s_temp(R"(/[\w/.]*ksv_fi\w+)");
    static const std::regex s_address(R"(addres [1-9a-f][0-9a-f]*)");
    text = std::regex_replace(text, s_address, "addres <address>");
    text = replaceAll(std::move(text), root, "<root>");
    text = replaceAll(std::move(text), "_" + std::to_string(getpid()), "_<pid>");
    text = std::regex_replace(text, s_temp, "<temp>");
    return std::regex_replace(text, s_line, "$1 Function $2 [<line>, ");
}

std::string readText(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

CTraceRecorder::CTraceRecorder()
{
    obzx_set_trace_observer(observe, this, 6);
}

CTraceRecorder::~CTraceRecorder()
{
    obzx_set_trace_observer(nullptr, nullptr, 0);
}

void CTraceRecorder::observe(void* user, int32_t level, const char*, const char* text)
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

void CTraceRecorder::clear()
{
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
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

void CTraceRecorder::expect(const std::string& name, const std::string& root) const
{
    std::string actual;
    for (const std::string& line : lines()) {
        actual += withoutRunValues(line, root) + "\n";
    }
    const std::string path = std::string(EXPECTED_DIR) + "/" + name + ".trace";
    if (std::getenv("UPDATE_EXPECTED") != nullptr) {
        std::ofstream(path) << actual;
        return;
    }
    EXPECT_EQ(readText(path), actual) << "trace differs from " << path;
}

}  // namespace cdpfi
