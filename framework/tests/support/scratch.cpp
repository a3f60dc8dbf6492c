#include "framework/tests/support/scratch.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace obzx_test {

namespace fs = std::filesystem;

std::vector<std::string> readLines(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

void writeFile(const std::string& path, const std::string& content)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

ACE_String_Base<char> text(const std::string& content)
{
    return {content.data(), content.size()};
}

CScratch::CScratch()
{
    std::string pattern = testing::TempDir() + "obzxXXXXXX";
    m_root = ::mkdtemp(pattern.data());
    ::setenv("OBZX_ROOT", m_root.c_str(), 1);
    ::unsetenv("OBZX_TRACE_LEVEL");
}

CScratch::~CScratch()
{
    ::unsetenv("OBZX_ROOT");
    ::unsetenv("OBZX_TRACE_LEVEL");
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

void CScratch::configure(const std::string& content) const
{
    writeFile(m_root + "/etc/qz/unit.conf", content);
}

obzx_pdk_4_4::CFiTraceLogPtr CScratch::makeLog() const
{
    obzx_pdk_4_4::CFiTraceLogPtr log(true);
    log->initialize("unit", "", "", 1, false);
    return log;
}

std::vector<std::string> CScratch::traceLines() const
{
    std::vector<std::string> lines = readLines(tracePath());
    for (std::string& line : lines) {
        line.erase(0, line.find(" L") + 1);
    }
    return lines;
}

}  // namespace obzx_test
