#include "providers/cdp/lmr/lmr_appliance_tool.h"

#include <cstdio>
#include <fstream>

#include "framework/include/cfiexecpipe.h"
#include "framework/include/cfiplatformerror.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_commands.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

namespace {

constexpr int NOT_STARTED = -1;
constexpr unsigned long TIME_OUT_SECONDS = 600;

}  // namespace

int CLMRApplianceTool::execLMSH(const CString& server, const CString& command, std::vector<std::string>& lines)
{
    const CFiTraceLogFunction tracer(m_traceLog, "execLMSH", __LINE__, __FILE__);
    CFiExecPipePosix pipe(1);
    pipe.registerTraceLog(m_traceLog);
    lines.clear();
    if (!isSendable(server, command)) return NOT_STARTED;
    trace(TRACE_DETAIL, "CLMRApplianceTool::execLMSH - Running command [%s].", command);

    const std::string commandLine = '"' + m_shell.program() + '"';
    const std::string script = CFiPlatformError::getTempFileName(nullptr, nullptr);
    if (!writeScript(script, server, command)) {
        std::remove(script.c_str());
        return NOT_STARTED;
    }
    const int result = pipe.Exec(commandLine, lines, script, TIME_OUT_SECONDS, "", "", "");
    if (result == EXEC_FAILED) {
        if (isTraceEnabled(TRACE_INVALID)) {
            trace(TRACE_INVALID, "CLI Command [%s] failed with error [%ld] and output \n[%s]\n.", command,
                  pipe.getError().code, joinTexts(lines, ""));
        }
        std::remove(script.c_str());
        return result;
    }
    std::remove(script.c_str());
    if (isTraceEnabled(TRACE_DETAIL)) {
        for (size_t i = 0; i < lines.size(); ++i) {
            trace(TRACE_DETAIL, "Line [%d] = [%s]", i, lines[i]);
        }
    }
    return result;
}

bool CLMRApplianceTool::isSendable(const CString& server, const CString& command) const
{
    if (server.is_empty()) {
        trace(TRACE_FAILURE, "CLMRApplianceTool::execLMSH - No server is specified");
        return false;
    }
    if (command.is_empty()) {
        trace(TRACE_FAILURE, "CLMRApplianceTool::execLMSH - No command is specified");
        return false;
    }
    if (!isSendableName(server)) {
        trace(TRACE_INVALID,
              "CLMRApplianceTool::execLMSH - Server name [%s] holds a double quote or a control character", server);
        return false;
    }
    return true;
}

bool CLMRApplianceTool::writeScript(const std::string& file, const CString& server, const CString& command) const
{
    // The file is truncated and closed, then opened again for writing. Some file systems write a file through to the
    // disk that is closed by the same opening that truncated it, and its removal then takes longer than the shell.
    std::ofstream script;
    if (std::ofstream(file, std::ios::out | std::ios::trunc)) script.open(file, std::ios::in | std::ios::out);
    // The run goes on without a script: the shell then fails on its empty input, and its answer tells the rest.
    if (!script.is_open()) {
        trace(TRACE_FAILURE, "Failed to open file [%s].", file);
        return true;
    }
    script << "server " << bytesOf(server) << '\n' << bytesOf(command) << '\n' << "exit\n";
    script.close();
    // Half a script is never run: an appliance might take a command that was cut off for another one.
    if (!script) trace(TRACE_FAILURE, "Failed to write file [%s].", file);
    return !script.fail();
}

}  // namespace cdpfi
