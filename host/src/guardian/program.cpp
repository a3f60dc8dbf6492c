#include "host/src/guardian/program.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <span>
#include <system_error>
#include <utility>

#include "base/child_process.h"
#include "base/child_start.h"
#include "base/pipe.h"
#include "base/poll_until.h"
#include "host/src/guardian/guardian.h"
#include "host/src/process/signals.h"

namespace fictl {

namespace {

using Clock = std::chrono::steady_clock;

// How soon a stop of fictl is seen.
constexpr std::chrono::milliseconds SLICE{100};
constexpr std::chrono::seconds GRACE{1};
constexpr size_t ERRORS_LIMIT = 4096;

// 0, or the errno value of what failed; ECANCELED: it was given up before it ran.
int startProgram(const std::vector<std::string>& words, const base::CFileDescriptor& output,
                 const base::CFileDescriptor& errors, std::function<bool()> isGivenUp, pid_t& pid)
{
    const base::CFileDescriptor input = base::openInput();
    if (!input) return errno;
    base::SChildStart start;
    start.programs = {words.front()};
    start.words = words;
    start.input = input.get();
    start.output = output.get();
    start.errors = errors.get();
    start.isGivenUp = std::move(isGivenUp);
    return base::startChild(start, pid);
}

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

/// One run of a program, from its start to its end.
class CProgramRun
{
  public:
    /// @param mustStop whether it is to be stopped, with the reason in the record of its end
    CProgramRun(pid_t pid, Clock::time_point deadline, std::function<bool()> mustStop, SProgramEnd& end)
        : m_guarded(pid), m_child(pid), m_deadline(deadline), m_mustStop(std::move(mustStop)), m_end(end)
    {
    }

    /// Collects both streams until they end, and waits for the program's end then: as long as it is not waited for, the
    /// group's id is its own. False when the program has to be stopped before.
    bool collect(base::CFileDescriptor output, base::CFileDescriptor errors, size_t most);
    /// Returns when it has ended, or when not even SIGKILL ends it.
    void stop();
    const base::SExitStatus& exitStatus() const { return m_child.exitStatus(); }

  private:
    void wait(std::span<pollfd> watched) const;

    const CGuarded m_guarded;
    base::CChildProcess m_child;
    const Clock::time_point m_deadline;
    const std::function<bool()> m_mustStop;
    SProgramEnd& m_end;
};

// Until one is ready; not longer than until the next look at what may stop the program.
void CProgramRun::wait(std::span<pollfd> watched) const
{
    base::pollUntil(watched, std::min(m_deadline, Clock::now() + SLICE));
}

bool CProgramRun::collect(base::CFileDescriptor output, base::CFileDescriptor errors, size_t most)
{
    while (output || errors) {
        if (m_mustStop()) return false;
        pollfd streams[] = {{output.get(), POLLIN, 0}, {errors.get(), POLLIN, 0}};
        wait(streams);
        // One byte over the limit tells an output that is too long from one that just fits.
        if (streams[0].revents != 0 && !readSome(output.get(), m_end.output, most + 1)) {
            output.reset();
        }
        if (streams[1].revents != 0 && !readSome(errors.get(), m_end.errors, ERRORS_LIMIT)) errors.reset();
    }
    while (!m_child.hasEnded()) {
        if (m_mustStop()) return false;
        pollfd process[] = {{m_child.descriptor(), POLLIN, 0}};
        wait(process);
    }
    return m_end.output.size() <= most;
}

void CProgramRun::stop()
{
    m_child.stop(GRACE, base::CChildProcess::ERest::IS_KILLED);
    while (!m_child.hasEnded()) {
        pollfd process[] = {{m_child.descriptor(), POLLIN, 0}};
        base::pollUntil(process, m_child.lookAt());
    }
}

}  // namespace

std::string CProgram::whyStopped(const SProgramEnd& end) const
{
    if (end.stopped) return "was stopped by a signal";
    if (end.timedOut) return "did not end within " + std::to_string(m_limit.count()) + " s";
    return "wrote more than " + std::to_string(m_outputLimit) + " bytes";
}

SProgramEnd CProgram::run() const
{
    SProgramEnd end;
    base::SPipe output = base::openPipe();
    base::SPipe errors = base::openPipe();
    pid_t pid = -1;
    const Clock::time_point deadline = Clock::now() + m_limit;
    const auto mustStop = [this, deadline, &end] {
        end.stopped = (m_stopOnSignal && stopRequested()) || m_unwanted.stop_requested();
        end.timedOut = !end.stopped && Clock::now() >= deadline;
        end.tooLong = end.output.size() > m_outputLimit;
        return end.stopped || end.timedOut || end.tooLong;
    };
    const int error = output && errors ? startProgram(m_words, output.writeEnd, errors.writeEnd, mustStop, pid) : errno;
    if (error != 0) {
        end.reason = error == ECANCELED
                         ? whyStopped(end)
                         : "could not be started: " + std::error_code(error, std::generic_category()).message();
        return end;
    }
    end.started = true;
    output.writeEnd.reset();
    errors.writeEnd.reset();
    CProgramRun run(pid, deadline, mustStop, end);
    if (!run.collect(std::move(output.readEnd), std::move(errors.readEnd), m_outputLimit)) {
        run.stop();
        end.tooLong = !end.stopped && !end.timedOut;
        end.reason = whyStopped(end);
        return end;
    }
    const base::SExitStatus& status = run.exitStatus();
    if (status.lost) {
        end.reason = "ended, and its exit status is lost";
    } else if (status.signal != 0) {
        end.reason = "was killed by signal " + std::to_string(status.signal);
    } else {
        end.exit = status.exit;
        if (end.exit != 0) end.reason = "ended with exit status " + std::to_string(end.exit);
    }
    return end;
}

}  // namespace fictl
