#include <cstring>

#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

CFiTraceable::~CFiTraceable() = default;

void CFiTraceable::registerTraceLog(const CFiTraceLogPtr& traceLog)
{
    m_traceLog = traceLog;
}

namespace {

const char* fileName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash == nullptr ? TRACER_HEADER : slash + 1;
}

}  // namespace

CFiTraceLogFunction::CFiTraceLogFunction(const CFiTraceLogPtr& traceLog, const char* function, int32_t line,
                                         const char* file)
    : m_traceLog(traceLog), m_function(function), m_line(line), m_file(file)
{
    if (!m_traceLog || m_function == nullptr || m_file == nullptr || !m_traceLog->isEnabled(TRACE_DETAIL)) return;
    m_traceLog->trace(TRACE_DETAIL, "Entering Function %s [%d, %s]", m_function, m_line, fileName(m_file));
}

CFiTraceLogFunction::~CFiTraceLogFunction()
{
    if (!m_traceLog || m_function == nullptr || m_file == nullptr || !m_traceLog->isEnabled(TRACE_DETAIL)) return;
    if (m_line == 0) {
        m_traceLog->trace(TRACE_DETAIL, "Exiting Function %s", m_function);
    } else {
        m_traceLog->trace(TRACE_DETAIL, "Exiting Function %s [%d, %s]", m_function, m_line, fileName(m_file));
    }
}

}  // namespace obzx_pdk_4_4
