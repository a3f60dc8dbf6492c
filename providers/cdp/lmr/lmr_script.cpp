#include "providers/cdp/lmr/lmr_script.h"

#include <cstdio>
#include <fstream>

#include "framework/include/cfiplatformerror.h"
#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

CLMRScript::CLMRScript(const CFiTraceLogPtr& traceLog)
{
    m_traceLog = traceLog;
}

bool CLMRScript::write(const CString& server, const CString& command)
{
    m_file = CFiPlatformError::getTempFileName(nullptr, nullptr);
    if (writeLines(server, command)) return true;
    remove();
    return false;
}

void CLMRScript::remove()
{
    std::remove(m_file.c_str());
}

bool CLMRScript::writeLines(const CString& server, const CString& command) const
{
    // The file is truncated and closed, then opened again for writing. Some file systems write a file through to the
    // disk that is closed by the same opening that truncated it, and its removal then takes longer than the shell.
    std::ofstream script;
    if (std::ofstream(m_file, std::ios::out | std::ios::trunc)) script.open(m_file, std::ios::in | std::ios::out);
    if (!script.is_open()) {
        trace(TRACE_FAILURE, "Failed to open file [%s].", m_file);
        return true;
    }
    script << "server " << bytesOf(server) << '\n' << bytesOf(command) << '\n' << "exit\n";
    script.close();
    if (!script) trace(TRACE_FAILURE, "Failed to write file [%s].", m_file);
    return !script.fail();
}

}  // namespace cdpfi
