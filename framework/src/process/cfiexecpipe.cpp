#include "framework/include/cfiexecpipe.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "framework/include/cfiplatformerror.h"
#include "framework/src/process/command_line.h"
#include "framework/src/process/exec_limit.h"
#include "framework/src/process/process_output.h"
#include "framework/src/process/process_spawn.h"
#include "framework/src/process/run_cancel.h"
#include "framework/src/process/run_record.h"
#include "framework/src/process/running_program.h"

namespace obzx_pdk_4_4 {

namespace {

using Clock = CRunningProgram::Clock;

constexpr unsigned long MAX_SECONDS = 10UL * 365 * 24 * 3600;  // longer than any run, and no overflow of the clock
// Lines cost more memory than their text; of an output that nobody can use only the start is handed over.
constexpr size_t SHOWN_OF_TOO_LONG = size_t{1024} * 1024;

// What is added to a signal's number, as a shell does, to tell it from an exit status.
constexpr long SIGNAL_STATUS = 128;

bool holdsNul(const std::string& text)
{
    return text.find('\0') != std::string::npos;
}

SFiExecError failure(int result, long code, const std::string& message)
{
    SFiExecError error;
    error.result = result;
    error.code = code;
    error.message = message;
    for (const char c : message) {
        error.wideMessage += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    return error;
}

SFiExecError notStarted(const std::string& command, int error)
{
    return failure(EXEC_FAILED, error, "Cannot start [" + command + "]: " + CFiPlatformError::errorText(error));
}

SFiExecError ended(const std::string& command, const base::SExitStatus& exit)
{
    const std::string text = "Command [" + command + "] ";
    if (exit.lost) {
        return failure(EXEC_FAILED, ECHILD,
                       text + "ended, but its exit status is lost: the host ignores SIGCHLD or waits for any child");
    }
    if (exit.signal != 0) {
        return failure(EXEC_FAILED, SIGNAL_STATUS + exit.signal,
                       text + "was killed by signal " + std::to_string(exit.signal));
    }
    if (exit.exit == 0) return {};
    return failure(EXEC_FAILED, exit.exit, text + "exited with status " + std::to_string(exit.exit));
}

SFiExecError stopped(obzx_run_stop stop, const std::string& command, unsigned long seconds)
{
    const std::string text = "Command [" + command + "] ";
    switch (stop) {
        case OBZX_RUN_STOPPED_BY_CANCEL:
            return failure(EXEC_TIMED_OUT, ECANCELED, text + "was cancelled and was stopped");
        case OBZX_RUN_STOPPED_BY_OUTPUT:
            return failure(
                EXEC_TOO_LONG, EFBIG,
                text + "wrote more than " + std::to_string(CProcessOutput::LIMIT) + " bytes and was stopped");
        default:
            return failure(EXEC_TIMED_OUT, ETIMEDOUT,
                           text + "did not end within " + std::to_string(seconds) + " seconds and was stopped");
    }
}

// Collects the output until the process has ended or must be stopped.
obzx_run_stop collect(CRunningProgram& process, CProcessOutput& output, Clock::time_point deadline, CRunCancel& cancel)
{
    while (!output.tooLong()) {
        const bool ready = process.waitFor(output.descriptor(), deadline, &cancel);
        if (ready) output.read();
        if (process.hasEnded()) {
            // A process that the program left behind may keep the output open for ever. What the program itself wrote
            // is there.
            output.readRest();
            break;
        }
        if (cancel.isRequested()) return OBZX_RUN_STOPPED_BY_CANCEL;
        if (Clock::now() >= deadline) return OBZX_RUN_STOPPED_BY_LIMIT;
    }
    return output.tooLong() ? OBZX_RUN_STOPPED_BY_OUTPUT : OBZX_RUN_NOT_STOPPED;
}

}  // namespace

EFiExecPipe::~EFiExecPipe() = default;

CFiExecPipeBase::~CFiExecPipeBase() = default;

// Both streams always arrive merged; the argument stays because callers state what they rely on.
CFiExecPipePosix::CFiExecPipePosix(int /*mergeErrorStream*/) {}

CFiExecPipePosix::~CFiExecPipePosix() = default;

int CFiExecPipePosix::Exec(const std::string& commandLine, std::vector<std::string>& lines,
                           const std::string& inputFile, unsigned long timeout, const std::string& directory,
                           const std::string& user, const std::string& environment)
{
    CFiOutputText text;
    Exec(commandLine, text, inputFile, timeout, directory, user, environment);
    text.appendLinesTo(lines);
    return m_error.result;
}

int CFiExecPipePosix::Exec(const std::string& commandLine, CFiOutputText& text, const std::string& inputFile,
                           unsigned long timeout, const std::string& directory, const std::string& user,
                           const std::string& environment)
{
    text = {};
    // What can fail for lack of memory comes before the program is started.
    const unsigned long capped = m_traceLog ? capTimeout(m_traceLog->getComponent(), timeout) : timeout;
    const unsigned long allowed = std::min(capTimeout(capped), MAX_SECONDS);
    SSpawnRequest request{{}, inputFile, directory, environment, nullptr};
    const bool isCommand = splitCommandLine(commandLine, request.words);
    CRunRecord record(commandLine, request.words, allowed);
    request.inputText = record.inputText();
    CRunCancel cancel;
    SSpawned spawned;
    int error = EINVAL;
    if (isCommand && user.empty() && !holdsNul(inputFile) && !holdsNul(directory) && !holdsNul(environment)) {
        error = spawnProcess(request, spawned);
    }
    if (error != 0) {
        record.notStarted(error);
        m_error = notStarted(commandLine, error);
        return m_error.result;
    }
    // Taken before the observer is called: the time that it needs counts, so a slow one does not prolong the run.
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(allowed);
    CRunningProgram process(spawned.pid);
    record.started(spawned.pid);
    CProcessOutput output(spawned.output.get());
    const obzx_run_stop stop = collect(process, output, deadline, cancel);
    if (stop == OBZX_RUN_NOT_STOPPED) {
        m_error = ended(commandLine, process.exitStatus());
    } else {
        process.stop(output.descriptor());
        m_error = stopped(stop, commandLine, allowed);
        trace(TRACE_FAILURE, "CFiExecPipePosix::Exec - %s", m_error.message);
    }
    record.ended(m_error.result, stop, process.exitStatus(), output.text());
    text = output.takeText(stop == OBZX_RUN_STOPPED_BY_OUTPUT ? SHOWN_OF_TOO_LONG : CProcessOutput::LIMIT);
    return m_error.result;
}

}  // namespace obzx_pdk_4_4
