#include "host/src/guardian/program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "host/src/guardian/guardian.h"
#include "host/src/process/child_start.h"
#include "host/src/process/signals.h"

namespace fictl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int SLICE_MS = 100;
constexpr std::chrono::seconds GRACE{1};
constexpr size_t ERRORS_LIMIT = 4096;

std::string errorText(int error)
{
    return std::error_code(error, std::generic_category()).message();
}

/// Both ends of a pipe.
class CPipe
{
  public:
    CPipe()
    {
        if (pipe2(m_ends, O_CLOEXEC) != 0) m_ends[0] = m_ends[1] = -1;
    }
    ~CPipe()
    {
        closeRead();
        closeWrite();
    }
    CPipe(const CPipe&) = delete;
    CPipe& operator=(const CPipe&) = delete;

    bool isOpen() const { return m_ends[0] >= 0; }
    int readEnd() const { return m_ends[0]; }
    int writeEnd() const { return m_ends[1]; }
    void closeRead() { closeEnd(m_ends[0]); }
    void closeWrite() { closeEnd(m_ends[1]); }

  private:
    static void closeEnd(int& end)
    {
        if (end >= 0) close(end);
        end = -1;
    }

    int m_ends[2] = {-1, -1};
};

/// Has the guardian end the program's group if fictl ends before it.
class CGuarded
{
  public:
    explicit CGuarded(pid_t group) : m_group(group) { guardianStarted(m_group); }
    ~CGuarded() { guardianEnded(m_group); }
    CGuarded(const CGuarded&) = delete;
    CGuarded& operator=(const CGuarded&) = delete;

  private:
    pid_t m_group;
};

/// Reads what is there into the text, dropping what is over the limit; false at the end of the stream.
bool readSome(int descriptor, std::string& text, size_t limit)
{
    char buffer[65536];
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count < 0) return errno == EINTR || errno == EAGAIN;
    text.append(buffer, std::min(static_cast<size_t>(count), limit - std::min(limit, text.size())));
    return count > 0;
}

/// Collects both streams until they end; false when the program has to be stopped before.
bool collect(CPipe& output, CPipe& errors, Clock::time_point deadline, bool stopOnSignal, SProgramEnd& end)
{
    while (output.isOpen() || errors.isOpen()) {
        if (stopOnSignal && stopRequested()) {
            end.stopped = true;
            return false;
        }
        if (Clock::now() >= deadline) {
            end.timedOut = true;
            return false;
        }
        pollfd streams[] = {{output.readEnd(), POLLIN, 0}, {errors.readEnd(), POLLIN, 0}};
        poll(streams, 2, SLICE_MS);
        // One byte over the limit tells an output that is too long from one that just fits.
        if (streams[0].revents != 0 && !readSome(output.readEnd(), end.output, CProgram::OUTPUT_LIMIT + 1)) {
            output.closeRead();
        }
        if (streams[1].revents != 0 && !readSome(errors.readEnd(), end.errors, ERRORS_LIMIT)) errors.closeRead();
        if (end.output.size() > CProgram::OUTPUT_LIMIT) return false;
    }
    return true;
}

bool waitUntil(pid_t pid, Clock::time_point deadline, int& status)
{
    constexpr int STEP_MS = 10;
    while (true) {
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid || (done < 0 && errno != EINTR)) return true;
        if (Clock::now() >= deadline) return false;
        poll(nullptr, 0, STEP_MS);
    }
}

void stopGroup(pid_t pid, int& status)
{
    kill(-pid, SIGTERM);
    const bool ended = waitUntil(pid, Clock::now() + GRACE, status);
    // Also after the program itself ended: what it started may still be there.
    kill(-pid, SIGKILL);
    while (!ended && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

SProgramEnd CProgram::run() const
{
    SProgramEnd end;
    CPipe output;
    CPipe errors;
    pid_t pid = 0;
    const int error = output.isOpen() && errors.isOpen()
                          ? startChild({m_words.front(), m_words, {}, output.writeEnd(), errors.writeEnd()}, pid)
                          : errno;
    if (error != 0) {
        end.reason = "could not be started: " + errorText(error);
        return end;
    }
    end.started = true;
    const CGuarded guarded(pid);
    output.closeWrite();
    errors.closeWrite();
    const Clock::time_point deadline = Clock::now() + m_limit;
    int status = 0;
    if (!collect(output, errors, deadline, m_stopOnSignal, end) || !waitUntil(pid, deadline, status)) {
        end.timedOut = end.timedOut || (!end.stopped && end.output.size() <= OUTPUT_LIMIT);
        stopGroup(pid, status);
        end.reason = end.stopped    ? "was stopped by a signal"
                     : end.timedOut ? "did not end within " + std::to_string(m_limit.count()) + " s"
                                    : "wrote more than " + std::to_string(OUTPUT_LIMIT) + " bytes";
        return end;
    }
    if (WIFEXITED(status)) end.exit = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) end.reason = "was killed by signal " + std::to_string(WTERMSIG(status));
    if (WIFEXITED(status) && end.exit != 0) end.reason = "ended with exit status " + std::to_string(end.exit);
    return end;
}

}  // namespace fictl
