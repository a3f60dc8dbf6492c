#include "providers/cdp/inspect/tool_runner.h"

#include <algorithm>
#include <limits>

#include "framework/include/cfiexecpipe.h"
#include "framework/include/cfiplatformerror.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfipluginname.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi::inspect {

using obzx_pdk_4_4::CFiConfiguration;
using obzx_pdk_4_4::CFiExecPipePosix;
using obzx_pdk_4_4::CFiPlatformError;
using obzx_pdk_4_4::EXEC_OK;

namespace {

constexpr unsigned long NO_LIMIT_OF_ITS_OWN = std::numeric_limits<int32_t>::max();
constexpr size_t LONGEST_SHOWN = 300;

/// What the runtime tells of a run that has ended.
struct SRunFacts
{
    bool ended = false;
    int exitStatus = 0;
    int signal = 0;
    int error = 0;
    int stopped = OBZX_RUN_NOT_STOPPED;
    bool started = false;
    uint64_t limit = 0;
    double seconds = 0;
    std::string output;
    uint64_t outputSize = 0;
    bool isWhole = true;
};

// The observer is called on the thread that runs the program: on the one that waits for the facts.
thread_local SRunFacts* g_facts = nullptr;

void onRun(void* /*context*/, const obzx_run* run)
{
    if (run->phase != OBZX_RUN_ENDED || g_facts == nullptr) return;
    SRunFacts& facts = *g_facts;
    facts.ended = true;
    facts.exitStatus = run->exit_status;
    facts.signal = run->signal;
    facts.error = run->error;
    facts.stopped = run->stopped;
    facts.started = run->process != 0;
    facts.limit = run->limit_seconds;
    facts.seconds = static_cast<double>(run->duration_nanoseconds) / 1e9;
    facts.output.assign(run->output, run->output_kept);
    facts.outputSize = run->output_size;
    facts.isWhole = run->output_kept == run->output_size;
}

uint64_t configuredLimit()
{
    CFiConfiguration store(cfi_pgn_name_tstr);
    ACE_Configuration_Section_Key section;
    long seconds = 0;
    if (store.openSection("FI_EXEC", section, 1) == 0) store.getIntegerValue("MAX_TIMEOUT", seconds);
    return static_cast<uint64_t>(seconds);
}

/// The last line with text: where a tool that failed says why.
std::string lastLine(const std::vector<std::string>& lines)
{
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (!trimBlanks(*line).empty()) return ": " + shortLine(*line);
    }
    return {};
}

std::string problemOf(const SRunFacts& facts, const std::string& tool, const std::vector<std::string>& lines)
{
    switch (facts.stopped) {
        case OBZX_RUN_STOPPED_BY_LIMIT:
            return "no answer within " + std::to_string(facts.limit) + " s";
        case OBZX_RUN_STOPPED_BY_CANCEL:
            return tool + " was stopped";
        case OBZX_RUN_STOPPED_BY_OUTPUT:
            return tool + " wrote more than can be read and was stopped; " + LMR_TOOL_SECTION + "/" +
                   LMR_MAX_ANSWER_SIZE.key + ", " + LMR_MAX_ANSWER_LINES.key + " and " + LMR_MAX_LINE_LENGTH.key +
                   " in " + CLMRConfiguration({}).path() + " are its bounds";
        default:
            break;
    }
    if (!facts.started) return tool + " could not be started: " + CFiPlatformError::errorText(facts.error);
    if (facts.error != 0) return tool + " ended unseen: " + CFiPlatformError::errorText(facts.error);
    if (facts.signal != 0) return tool + " was killed by signal " + std::to_string(facts.signal) + lastLine(lines);
    return tool + " exited with status " + std::to_string(facts.exitStatus) + lastLine(lines);
}

/// Runs a tool and puts its answer together from the lines and the run record.
/// @param start runs it; gives an EExecResult, or -1 when the runner refused to start
template <class CStart>
SAnswer watch(const std::string& toolPath, const CStart& start)
{
    SAnswer answer;
    SRunFacts facts;
    g_facts = &facts;
    int result = 0;
    try {
        result = start(answer.lines);
    } catch (...) {
        g_facts = nullptr;
        throw;
    }
    g_facts = nullptr;
    if (!facts.ended) {
        answer.problem = "nothing was sent: no script could be written, or there was no memory";
        return answer;
    }
    const bool byItself =
        facts.started && facts.signal == 0 && facts.error == 0 && facts.stopped == OBZX_RUN_NOT_STOPPED;
    if (result != EXEC_OK) answer.problem = problemOf(facts, toolPath.substr(toolPath.rfind('/') + 1), answer.lines);
    answer.notStarted = !facts.started;
    answer.timedOut = facts.stopped == OBZX_RUN_STOPPED_BY_LIMIT;
    answer.use = {.tried = true,
                  .answered = byItself,
                  .slowest = byItself ? facts.seconds : 0,
                  .problem = byItself ? CReason() : answer.problem};
    if (byItself) answer.run.exitStatus = facts.exitStatus;
    if (facts.signal != 0) answer.run.signal = facts.signal;
    answer.run.seconds = facts.seconds;
    answer.bytes = facts.outputSize;
    answer.isCut = facts.isWhole && !facts.output.empty() && facts.output.back() != '\n';
    answer.run.output = std::move(facts.output);
    return answer;
}

}  // namespace

void SToolUse::add(const SToolUse& other)
{
    tried = tried || other.tried;
    answered = answered || other.answered;
    slowest = std::max(slowest, other.slowest);
    if (!problem) problem = other.problem;
}

CRunWatch::CRunWatch(uint64_t seconds)
{
    const uint64_t configured = configuredLimit();
    obzx_set_run_limit(configured == 0 ? seconds : std::min(seconds, configured));
    obzx_set_run_observer(&onRun, nullptr);
}

CRunWatch::~CRunWatch()
{
    obzx_set_run_observer(nullptr, nullptr);
    obzx_set_run_limit(0);
}

CToolRunner::CToolRunner() : m_atOnce(CLMRConfiguration({}).importMaxParallel())
{
    m_shell.setShell(CLMRConfiguration({}).importlmshPathInfo());
    m_shell.setBounds(CLMRConfiguration({}).importAnswerBounds());
    m_shellPath = m_shell.getShell().program();
    m_utilityPath = CLMRConfiguration({}).importkforUtilPathInfo().program();
}

SAnswer CToolRunner::send(const std::string& appliance, const SLMRCommand& command)
{
    SAnswer answer;
    if (command.m_refused) {
        answer.problem = "the name [" + shortLine(command.m_refusedName) + "] holds a double quote or a control " +
                         "character, so nothing is sent";
        return answer;
    }
    if (!isSendableName(textOf(appliance))) {
        answer.problem = "the appliance's name holds a double quote or a control character, so nothing is sent";
        return answer;
    }
    if (m_answered > bounds().inventory) {
        answer.problem = "not asked: " + inventoryExcess(bounds());
        return answer;
    }
    try {
        answer = watch(m_shellPath, [&](std::vector<std::string>& lines) {
            return m_shell.execLMSH(textOf(appliance), textOf(command.m_text), lines);
        });
    } catch (const CFiPlatformError& error) {
        answer.problem = error.getPath() + ": " + error.what();
    }
    m_answered += answer.bytes;
    answer.run.appliance = appliance;
    answer.run.command = readableCommand(command.m_text);
    return answer;
}

SAnswer CToolRunner::listDisks()
{
    const std::string commandLine = lmr_utility::listDisks(m_utilityPath);
    SAnswer answer = watch(m_utilityPath, [&](std::vector<std::string>& lines) {
        CFiExecPipePosix pipe(1);
        pipe.setBounds(bounds().ofOutput());
        return pipe.Exec(commandLine, lines, "", NO_LIMIT_OF_ITS_OWN, "", "", "");
    });
    answer.run.command = readableCommand(commandLine);
    return answer;
}

std::string readableCommand(const std::string& text)
{
    std::string readable;
    bool quoted = false;
    for (const char character : text) {
        if (character == '"') quoted = !quoted;
        const bool blank = !quoted && LMR_BLANKS.find(character) != std::string_view::npos;
        if (blank && (readable.empty() || readable.back() == ' ')) continue;
        readable += blank ? ' ' : character;
    }
    while (readable.ends_with(' ')) {
        readable.pop_back();
    }
    return readable;
}

std::string shortLine(std::string_view text)
{
    std::string line(trimBlanks(text).substr(0, LONGEST_SHOWN));
    std::ranges::replace_if(
        line, [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7f; }, ' ');
    return std::string(trimBlanks(line));
}

}  // namespace cdpfi::inspect
