#pragma once

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/include/obzx_runtime.h"

namespace pdktest {

/// A directory of the test's own that stands for the root directory.
class CTestRoot
{
  public:
    CTestRoot()
    {
        std::string name = (std::filesystem::temp_directory_path() / "pdk-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
        m_path = name;
        setenv("OBZX_ROOT", name.c_str(), 1);
    }
    ~CTestRoot()
    {
        unsetenv("OBZX_ROOT");
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CTestRoot(const CTestRoot&) = delete;
    CTestRoot& operator=(const CTestRoot&) = delete;

    const std::filesystem::path& path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

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
