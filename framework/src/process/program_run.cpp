#include "framework/src/process/program_run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

#include "base/poll_until.h"
#include "framework/include/cfiplatformerror.h"
#include "framework/src/process/command_line.h"

namespace obzx_pdk_4_4 {

namespace {

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
    if (stop == OBZX_RUN_STOPPED_BY_LIMIT) {
        return failure(EXEC_TIMED_OUT, ETIMEDOUT,
                       text + "did not end within " + std::to_string(seconds) + " seconds and was stopped");
    }
    return failure(EXEC_TIMED_OUT, ECANCELED, text + "was cancelled and was stopped");
}

std::string textOf(EFiOutputBound passed, const SFiOutputBounds& bounds)
{
    switch (passed) {
        case EFiOutputBound::LINES:
            return "more than " + std::to_string(bounds.lines) + " lines";
        case EFiOutputBound::LINE_LENGTH:
            return "a line of more than " + std::to_string(bounds.lineLength) + " bytes";
        default:
            return "more than " + std::to_string(bounds.bytes) + " bytes";
    }
}

SFiExecError tooLong(const std::string& command, EFiOutputBound passed, const SFiOutputBounds& bounds)
{
    SFiExecError error =
        failure(EXEC_TOO_LONG, EFBIG, "Command [" + command + "] wrote " + textOf(passed, bounds) + " and was stopped");
    error.bound = passed;
    return error;
}

int resultOf(obzx_run_stop stop, const base::SExitStatus& exit)
{
    if (stop == OBZX_RUN_STOPPED_BY_OUTPUT) return EXEC_TOO_LONG;
    if (stop != OBZX_RUN_NOT_STOPPED) return EXEC_TIMED_OUT;
    return exit.lost || exit.signal != 0 || exit.exit != 0 ? EXEC_FAILED : EXEC_OK;
}

}  // namespace

CProgramRun::CProgramRun(std::string commandLine, unsigned long seconds, const SFiOutputBounds& bounds)
    : m_commandLine(std::move(commandLine)),
      m_seconds(std::min(seconds, MAX_SECONDS)),
      m_bounds(bounds),
      m_isCommand(splitCommandLine(m_commandLine, m_words)),
      m_record(m_commandLine, m_words, m_seconds)
{
}

bool CProgramRun::start(const std::string& inputFile, const std::string& directory, const std::string& user,
                        const std::string& environment)
{
    // Taken before the program is opened and before the observer is called: what these need counts, so that neither a
    // file system that does not answer nor a slow observer prolongs the run.
    m_deadline = Clock::now() + std::chrono::seconds(m_seconds);
    SSpawned spawned;
    m_startError = EINVAL;
    if (m_isCommand && user.empty() && !holdsNul(inputFile) && !holdsNul(directory) && !holdsNul(environment)) {
        m_startError = spawnProcess({m_words, inputFile, directory, environment, m_record.inputText(),
                                     [this] { return whyGivenUp() != OBZX_RUN_NOT_STOPPED; }},
                                    spawned);
    }
    if (m_startError == ECANCELED) m_stop = whyGivenUp();
    if (wasStopped()) {
        m_startError = 0;
        endWith({});
        return false;
    }
    if (m_startError != 0) {
        m_record.notStarted(m_startError);
        m_isOver = true;
        return false;
    }
    m_program.emplace(spawned.pid);
    m_outputEnd = std::move(spawned.output);
    m_output = CProcessOutput(m_outputEnd.get(), m_bounds);
    if (m_record.started(spawned.pid)) stop(OBZX_RUN_STOPPED_BY_CANCEL);
    return true;
}

void CProgramRun::waitForAny(std::span<CProgramRun* const> runs)
{
    constexpr size_t EACH = CRunningProgram::WATCHED;
    std::vector<pollfd> watched(runs.size() * EACH);
    Clock::time_point until = Clock::time_point::max();
    for (size_t i = 0; i < runs.size(); ++i) {
        runs[i]->watch(std::span(watched).subspan(i * EACH).first<EACH>(), until);
    }
    const bool isQuiet = base::pollUntil(watched, until) == 0;
    for (size_t i = 0; i < runs.size(); ++i) {
        runs[i]->attend(std::span(watched).subspan(i * EACH).first<EACH>(), isQuiet);
    }
}

void CProgramRun::wait()
{
    std::array<pollfd, CRunningProgram::WATCHED> watched;
    Clock::time_point until = Clock::time_point::max();
    watch(watched, until);
    const bool isQuiet = base::pollUntil(watched, until) == 0;
    attend(watched, isQuiet);
}

void CProgramRun::watch(std::span<pollfd, CRunningProgram::WATCHED> watched, Clock::time_point& until)
{
    if (!wasStopped() && !m_pausedAt) until = std::min(until, m_deadline);
    m_program->watch(descriptor(), watched, until, wasStopped() ? nullptr : &m_cancel);
}

void CProgramRun::attend(std::span<const pollfd, CRunningProgram::WATCHED> watched, bool isQuiet) noexcept
{
    const bool isReady = m_program->isOutputReady(watched, isQuiet, wasStopped() ? nullptr : &m_cancel);
    if (wasStopped()) {
        // What a program still writes that is being stopped is read and dropped, so that it can end.
        if (isReady) m_output.discard();
    } else {
        try {
            readOrStop(isReady);
        } catch (const std::bad_alloc&) {
            m_program.reset();
            m_outputEnd.reset();
            m_isOver = m_lacksMemory = true;
        }
    }
    if (!m_isOver && wasStopped() && m_program->hasEnded()) end();
}

void CProgramRun::readOrStop(bool isReady)
{
    if (isReady) m_output.read();
    if (m_program->hasEnded()) {
        // A process that the program left behind may keep the output open for ever. What the program itself wrote is
        // there.
        m_output.readRest();
        if (m_output.tooLong()) m_stop = OBZX_RUN_STOPPED_BY_OUTPUT;
        end();
    } else if (m_output.tooLong()) {
        stop(OBZX_RUN_STOPPED_BY_OUTPUT);
    } else {
        stop(whyGivenUp());
    }
}

obzx_run_stop CProgramRun::whyGivenUp() const noexcept
{
    if (m_cancel.isRequested()) return OBZX_RUN_STOPPED_BY_CANCEL;
    return !m_pausedAt && Clock::now() >= m_deadline ? OBZX_RUN_STOPPED_BY_LIMIT : OBZX_RUN_NOT_STOPPED;
}

void CProgramRun::stop(obzx_run_stop why) noexcept
{
    if (m_isOver || wasStopped() || why == OBZX_RUN_NOT_STOPPED) return;
    m_stop = why;
    m_pausedAt.reset();
    m_program->stop();
}

void CProgramRun::drop() noexcept
{
    stop(OBZX_RUN_UNUSED);
    if (m_isOver) m_record.unused();
}

// Nothing of it is left but its answer, which somebody may ask for much later.
void CProgramRun::end()
{
    m_outputEnd.reset();
    endWith(m_program->exitStatus());
}

void CProgramRun::endWith(const base::SExitStatus& exit)
{
    m_isOver = true;
    m_result = resultOf(m_stop, exit);
    m_record.ended(m_result, m_stop, exit, m_output.text());
}

void CProgramRun::setReading(bool reading)
{
    if (reading != m_pausedAt.has_value() || wasStopped()) return;
    if (reading) {
        m_deadline += Clock::now() - *m_pausedAt;
        m_pausedAt.reset();
    } else {
        m_pausedAt = Clock::now();
    }
}

SFiExecError CProgramRun::error() const
{
    if (m_lacksMemory) throw std::bad_alloc();
    if (m_startError != 0) return notStarted(m_commandLine, m_startError);
    if (m_stop == OBZX_RUN_STOPPED_BY_OUTPUT) return tooLong(m_commandLine, m_output.passedBound(), m_bounds);
    if (wasStopped()) return stopped(m_stop, m_commandLine, m_seconds);
    return ended(m_commandLine, m_program->exitStatus());
}

CFiOutputText CProgramRun::takeText()
{
    return m_output.takeText(m_stop == OBZX_RUN_STOPPED_BY_OUTPUT ? SHOWN_OF_TOO_LONG : m_bounds.bytes);
}

}  // namespace obzx_pdk_4_4
