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

// 0, or the errno value of what failed.
int startProgram(const std::vector<std::string>& words, const base::CFileDescriptor& output,
                 const base::CFileDescriptor& errors, pid_t& pid)
{
    const base::CFileDescriptor input = base::openInput();
    if (!input) return errno;
    base::SChildStart start;
    start.programs = {words.front()};
    start.words = words;
    start.input = input.get();
    start.output = output.get();
    start.errors = errors.get();
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
    CProgramRun(pid_t pid, std::chrono::seconds limit, std::function<bool()> isUnwanted, SProgramEnd& end)
        : m_guarded(pid),
          m_child(pid),
          m_deadline(Clock::now() + limit),
          m_isUnwanted(std::move(isUnwanted)),
          m_end(end)
    {
    }

    /// Collects both streams until they end, and waits for the program's end then: as long as it is not waited for, the
    /// group's id is its own. False when the program has to be stopped before.
    bool collect(base::CFileDescriptor output, base::CFileDescriptor errors);
    /// Returns when it has ended, or when not even SIGKILL ends it.
    void stop();
    const base::SExitStatus& exitStatus() const { return m_child.exitStatus(); }

  private:
    bool mustStop();
    void wait(std::span<pollfd> watched) const;

    const CGuarded m_guarded;
    base::CChildProcess m_child;
    const Clock::time_point m_deadline;
    const std::function<bool()> m_isUnwanted;
    SProgramEnd& m_end;
};

bool CProgramRun::mustStop()
{
    m_end.stopped = m_isUnwanted();
    m_end.timedOut = !m_end.stopped && Clock::now() >= m_deadline;
    return m_end.stopped || m_end.timedOut || m_end.output.size() > CProgram::OUTPUT_LIMIT;
}

// Until one is ready; not longer than until the next look at what may stop the program.
void CProgramRun::wait(std::span<pollfd> watched) const
{
    base::pollUntil(watched, std::min(m_deadline, Clock::now() + SLICE));
}

bool CProgramRun::collect(base::CFileDescriptor output, base::CFileDescriptor errors)
{
    while (output || errors) {
        if (mustStop()) return false;
        pollfd streams[] = {{output.get(), POLLIN, 0}, {errors.get(), POLLIN, 0}};
        wait(streams);
        // One byte over the limit tells an output that is too long from one that just fits.
        if (streams[0].revents != 0 && !readSome(output.get(), m_end.output, CProgram::OUTPUT_LIMIT + 1)) {
            output.reset();
        }
        if (streams[1].revents != 0 && !readSome(errors.get(), m_end.errors, ERRORS_LIMIT)) errors.reset();
    }
    while (!m_child.hasEnded()) {
        if (mustStop()) return false;
        pollfd process[] = {{m_child.descriptor(), POLLIN, 0}};
        wait(process);
    }
    return m_end.output.size() <= CProgram::OUTPUT_LIMIT;
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

SProgramEnd CProgram::run() const
{
    SProgramEnd end;
    base::SPipe output = base::openPipe();
    base::SPipe errors = base::openPipe();
    pid_t pid = -1;
    const int error = output && errors ? startProgram(m_words, output.writeEnd, errors.writeEnd, pid) : errno;
    if (error != 0) {
        end.reason = "could not be started: " + std::error_code(error, std::generic_category()).message();
        return end;
    }
    end.started = true;
    output.writeEnd.reset();
    errors.writeEnd.reset();
    const auto isUnwanted = [this] { return (m_stopOnSignal && stopRequested()) || m_unwanted.stop_requested(); };
    CProgramRun run(pid, m_limit, isUnwanted, end);
    if (!run.collect(std::move(output.readEnd), std::move(errors.readEnd))) {
        run.stop();
        end.reason = end.stopped    ? "was stopped by a signal"
                     : end.timedOut ? "did not end within " + std::to_string(m_limit.count()) + " s"
                                    : "wrote more than " + std::to_string(OUTPUT_LIMIT) + " bytes";
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
