#include "framework/tests/support/scratch.h"

#include <cstdlib>

namespace obzx_test {

std::vector<std::string> readLines(const std::string& path)
{
    return base_test::linesOf(base_test::contentOf(path));
}

ACE_String_Base<char> text(const std::string& content)
{
    return {content.data(), content.size()};
}

CScratch::CScratch()
{
    ::unsetenv("OBZX_TRACE_LEVEL");
}

CScratch::~CScratch()
{
    ::unsetenv("OBZX_TRACE_LEVEL");
}

void CScratch::configure(const std::string& content) const
{
    m_root.write("etc/qz/unit.conf", content);
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
