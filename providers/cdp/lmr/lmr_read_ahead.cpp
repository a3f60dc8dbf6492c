#include "providers/cdp/lmr/lmr_read_ahead.h"

#include <utility>

#include "framework/include/cfiplatformerror.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_appliance_tool.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

namespace {

// Beyond this no further listing is asked for ahead.
constexpr size_t MOST_BYTES_KEPT = size_t{64} * 1024 * 1024;
// Answers of one walk that may lie ready, for each command that may be under way.
constexpr size_t READY_FOR_EACH = 2;

constexpr unsigned long TIME_OUT_SECONDS = 600;  // as the walk has it

thread_local CLMRReadAhead* g_ofThread = nullptr;

std::vector<SLMRCommand> hostsOf(const std::vector<std::string>& listing, const SLMRAnswerBounds& bounds)
{
    std::vector<SLMRCommand> commands;
    if (!excessOf(listing, parseHostName, bounds).empty()) return commands;
    for (const CString& name : parseHostNames(listing)) {
        commands.push_back(lmr_commands::showHost(name));
    }
    return commands;
}

std::vector<SLMRCommand> groupsOf(const std::vector<std::string>& listing, const SLMRAnswerBounds& bounds)
{
    std::vector<SLMRCommand> commands;
    if (!excessOf(listing, parseGroupName, bounds).empty()) return commands;
    for (const std::string& line : listing) {
        std::string_view name;
        if (parseGroupName(line, name)) commands.push_back(lmr_commands::showGroup(textOf(name)));
    }
    return commands;
}

std::vector<std::string> linesOf(const CFiOutputText& output)
{
    CFiOutputText copy;
    copy.append(output.start(output.size()));
    std::vector<std::string> lines;
    copy.appendLinesTo(lines);
    return lines;
}

}  // namespace

std::shared_ptr<CLMRReadAhead> CLMRReadAhead::ofThread(const CFiTraceLogPtr& traceLog)
{
    if (g_ofThread != nullptr) return g_ofThread->shared_from_this();
    const size_t atOnce = CLMRConfiguration({}).importMaxParallel();
    if (atOnce < 2) return nullptr;
    return std::shared_ptr<CLMRReadAhead>(new CLMRReadAhead(traceLog, atOnce));
}

CLMRReadAhead::CLMRReadAhead(const CFiTraceLogPtr& traceLog, size_t atOnce)
    : m_atOnce(atOnce),
      m_bounds(CLMRConfiguration({}).importAnswerBounds()),
      m_shell('"' + CLMRConfiguration({}).importlmshPathInfo().program() + '"'),
      m_utility(lmr_utility::listDisks(CLMRConfiguration({}).importkforUtilPathInfo().program())),
      m_runs(std::make_unique<CFiExecAhead>())
{
    m_runs->registerTraceLog(traceLog);
    m_runs->setBounds(m_bounds.ofOutput());
    g_ofThread = this;
}

CLMRReadAhead::~CLMRReadAhead()
{
    g_ofThread = nullptr;
    m_runs.reset();  // their scripts go after them
    for (SWalk& walk : m_walks) {
        for (SCommand& command : walk.m_commands) {
            if (command.m_script) command.m_script->remove();
        }
    }
}

void CLMRReadAhead::expectDisks(const CString& server)
{
    expect({.m_appliance = std::string(bytesOf(server)), .m_isOfShell = false, .m_details = nullptr}, m_utility);
}

void CLMRReadAhead::expectHosts(const CString& server)
{
    expect({.m_appliance = std::string(bytesOf(server)), .m_isOfShell = true, .m_details = &hostsOf},
           lmr_commands::listHosts().m_text);
}

void CLMRReadAhead::expectGroups(const CString& server)
{
    expect({.m_appliance = std::string(bytesOf(server)), .m_isOfShell = true, .m_details = &groupsOf},
           lmr_commands::listGroups().m_text);
}

void CLMRReadAhead::expect(SWalk walk, std::string listing)
{
    // The runner of the shell refuses such a server, and says so.
    if (walk.m_isOfShell && (walk.m_appliance.empty() || !isSendableName(textOf(walk.m_appliance)))) return;
    for (const SWalk& known : m_walks) {
        if (known.m_appliance == walk.m_appliance && known.m_asked == 0 && known.isWaitingFor(listing)) return;
    }
    walk.m_commands.push_back({.m_text = std::move(listing)});
    m_walks.push_back(std::move(walk));
    beginMore();
}

std::optional<int> CLMRReadAhead::answer(const CString& server, const CString& command, CFiExecPipePosix& pipe,
                                         CFiOutputText& output)
{
    if (g_ofThread == nullptr) return std::nullopt;
    const std::string text(bytesOf(command));
    for (SWalk& walk : g_ofThread->m_walks) {
        if (!walk.m_isOfShell || walk.m_appliance != bytesOf(server) || !walk.isWaitingFor(text)) continue;
        return g_ofThread->answer(walk, pipe, output);
    }
    return std::nullopt;
}

std::optional<int> CLMRReadAhead::answer(const std::string& commandLine, CFiExecPipePosix& pipe, CFiOutputText& output)
{
    if (g_ofThread == nullptr) return std::nullopt;
    for (SWalk& walk : g_ofThread->m_walks) {
        if (!walk.m_isOfShell && walk.isWaitingFor(commandLine)) return g_ofThread->answer(walk, pipe, output);
    }
    return std::nullopt;
}

std::optional<int> CLMRReadAhead::answer(SWalk& walk, CFiExecPipePosix& pipe, CFiOutputText& output)
{
    SCommand& command = walk.m_commands[walk.m_asked];
    giveUpBefore(walk);
    beginMore();
    while (!isReady(walk, command)) {
        if (walk.m_begun == walk.m_asked && m_runs->countRunning() < m_atOnce) {
            begin(walk);  // whatever lies ready already
        } else {
            wait(command.m_run);
            beginMore();
        }
    }
    ++walk.m_asked;
    if (!command.m_run) {
        // What the others take may be what was wanting.
        while (m_runs->countRunning() > 0) {
            wait(std::nullopt);
        }
        return std::nullopt;
    }
    const int result = pipe.Exec(*m_runs, *command.m_run, output);
    if (command.m_script) command.m_script->remove();
    command.m_script.reset();
    beginMore();
    return result;
}

/// Has ended, or is to be run by the caller.
bool CLMRReadAhead::isReady(const SWalk& walk, const SCommand& command)
{
    return walk.m_asked < walk.m_begun && (!command.m_run || m_runs->hasEnded(*command.m_run));
}

/// A walk that asks is the only one that still does: those before it have ended, maybe early.
void CLMRReadAhead::giveUpBefore(const SWalk& walk)
{
    for (SWalk& other : m_walks) {
        if (&other == &walk) return;
        for (; other.m_asked < other.m_begun; ++other.m_asked) {
            SCommand& unused = other.m_commands[other.m_asked];
            if (unused.m_run) m_runs->drop(*unused.m_run);
        }
        other.m_asked = other.m_begun = other.m_commands.size();
        other.m_details = nullptr;
    }
}

void CLMRReadAhead::beginMore()
{
    for (SWalk& walk : m_walks) {
        while (mayBegin(walk)) {
            begin(walk);
        }
    }
}

bool CLMRReadAhead::mayBegin(const SWalk& walk) const
{
    return m_isPossible && walk.m_begun < walk.m_commands.size() &&
           walk.m_begun < walk.m_asked + READY_FOR_EACH * m_atOnce && m_runs->countRunning() < m_atOnce &&
           m_runs->countBytes() < MOST_BYTES_KEPT;
}

void CLMRReadAhead::begin(SWalk& walk)
{
    SCommand& command = walk.m_commands[walk.m_begun++];
    if (!m_isPossible) return;
    try {
        if (walk.m_isOfShell) {
            command.m_script = std::make_unique<CLMRScript>(CFiTraceLogPtr());
            command.m_script->write(textOf(walk.m_appliance), textOf(command.m_text));
            if (command.m_script->isWhole()) {
                command.m_run = m_runs->begin(m_shell, command.m_script->inputFile(), TIME_OUT_SECONDS);
            }
        } else {
            command.m_run = m_runs->begin(command.m_text, "", TIME_OUT_SECONDS);
        }
    } catch (const CFiPlatformError&) {
        // There is no temporary file; the walk meets the same and tells it.
    }
    if (command.m_run) return;
    if (command.m_script) command.m_script->remove();
    command.m_script.reset();
    m_isPossible = false;
}

void CLMRReadAhead::wait(std::optional<size_t> wanted)
{
    m_runs->waitForOne(wanted);
    for (SWalk& walk : m_walks) {
        readListing(walk);
    }
}

/// Once a walk's listing is there, the rest of what it will ask for is known.
void CLMRReadAhead::readListing(SWalk& walk) const
{
    const std::optional<size_t> listing = walk.m_commands.front().m_run;
    if (walk.m_details == nullptr || walk.m_asked > 0 || !listing || !m_runs->hasEnded(*listing)) return;
    const CDetails details = std::exchange(walk.m_details, nullptr);
    if (!m_runs->hasSucceeded(*listing)) return;
    for (SLMRCommand& command : details(linesOf(m_runs->output(*listing)), m_bounds)) {
        if (!command.m_refused) walk.m_commands.push_back({.m_text = std::move(command.m_text)});
    }
}

}  // namespace cdpfi
