#include "providers/cdp/lmr/lmr_appliance_tool.h"

#include <span>
#include <utility>

#include "framework/include/cfiexecpipe.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_commands.h"
#include "providers/cdp/lmr/lmr_read_ahead.h"
#include "providers/cdp/lmr/lmr_script.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

namespace {

constexpr int NOT_STARTED = -1;
constexpr unsigned long TIME_OUT_SECONDS = 600;

}  // namespace

int CLMRApplianceTool::execLMSH(const CString& server, const CString& command, std::vector<std::string>& lines)
{
    lines.clear();
    CLMRAnswer answer;
    const int result = execLMSH(server, command, answer);
    lines = answer.copies();
    return result;
}

int CLMRApplianceTool::execLMSH(const CString& server, const CString& command, CLMRAnswer& answer)
{
    const CFiTraceLogFunction tracer(m_traceLog, "execLMSH", __LINE__, __FILE__);
    CFiExecPipePosix pipe(1);
    pipe.registerTraceLog(m_traceLog);
    pipe.setBounds(m_bounds.ofOutput());
    answer = {};
    if (!isSendable(server, command)) return NOT_STARTED;
    trace(TRACE_DETAIL, "CLMRApplianceTool::execLMSH - Running command [%s].", command);

    CFiOutputText output;
    CLMRScript script(m_traceLog);
    std::optional<int> begun = CLMRReadAhead::answer(server, command, pipe, output);
    if (!begun && !script.write(server, command)) return NOT_STARTED;
    const std::string commandLine = '"' + m_shell.program() + '"';
    const int result =
        begun ? *begun : pipe.Exec(commandLine, output, script.inputFile(), TIME_OUT_SECONDS, "", "", "");
    answer = CLMRAnswer(std::move(output));
    const std::span<const std::string_view> lines = answer.lines();
    if (result == EXEC_FAILED) {
        if (isTraceEnabled(TRACE_INVALID)) {
            trace(TRACE_INVALID, "CLI Command [%s] failed with error [%ld] and output \n[%s]\n.", command,
                  pipe.getError().code, joinTexts(lines, "", LMR_MOST_TRACED));
        }
        script.remove();
        return result;
    }
    if (result == EXEC_TOO_LONG) {
        trace(TRACE_FAILURE, "CLMRApplianceTool::execLMSH - The answer to [%s] counts as none: %s; %s.", command,
              pipe.getError().message, howToRaise(pipe.getError().bound));
    }
    script.remove();
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

}  // namespace cdpfi
