#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "framework/include/obzx_runtime.h"
#include "framework/tests/process/exec_fixture.h"

namespace obzx_test {

/// A copy of a run record.
struct SSeenRun
{
    explicit SSeenRun(const obzx_run& run)
        : size(run.size),
          number(run.number),
          phase(run.phase),
          entryPoint(run.entry_point),
          arguments(run.arguments, run.arguments + run.argument_count),
          isClosed(run.arguments[run.argument_count] == nullptr && run.input[run.input_kept] == '\0' &&
                   run.output[run.output_kept] == '\0'),
          input(run.input, run.input_kept),
          inputSize(run.input_size),
          process(run.process),
          startSeconds(run.start_seconds),
          startNanoseconds(run.start_nanoseconds),
          limitSeconds(run.limit_seconds),
          result(run.result),
          exitStatus(run.exit_status),
          signal(run.signal),
          error(run.error),
          stopped(run.stopped),
          duration(run.duration_nanoseconds),
          output(run.output, run.output_kept),
          outputSize(run.output_size)
    {
    }

    size_t size;
    uint64_t number;
    int32_t phase;
    std::string entryPoint;
    std::vector<std::string> arguments;
    bool isClosed;  ///< the list by its null, each text by its NUL
    std::string input;
    uint64_t inputSize;
    int64_t process;
    int64_t startSeconds;
    int32_t startNanoseconds;
    uint64_t limitSeconds;
    int32_t result;
    int32_t exitStatus;
    int32_t signal;
    int32_t error;
    int32_t stopped;
    uint64_t duration;
    std::string output;
    uint64_t outputSize;
    std::thread::id thread = std::this_thread::get_id();
};

/// Runs programs and keeps the records of them.
class CRunTest : public CExecTest
{
  protected:
    CRunTest() { observe(); }
    ~CRunTest() override
    {
        obzx_set_run_observer(nullptr, nullptr);
        obzx_set_run_limit(0);
    }

    void observe() { obzx_set_run_observer(remember, this); }
    /// While no other thread runs anything.
    const std::vector<SSeenRun>& seen() const { return m_seen; }
    std::vector<SSeenRun> ends() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        std::vector<SSeenRun> found;
        for (const SSeenRun& record : m_seen) {
            if (record.phase == OBZX_RUN_ENDED) found.push_back(record);
        }
        return found;
    }
    void forget()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_seen.clear();
    }
    /// Waits until so many programs were started; the test's own time limit ends the wait for one that is not.
    void waitForStarts(size_t count) const
    {
        while (m_starts < count) {
            ::usleep(1000);
        }
    }

  private:
    static void remember(void* context, const obzx_run* run)
    {
        auto* const test = static_cast<CRunTest*>(context);
        const std::lock_guard<std::mutex> guard(test->m_mutex);
        test->m_seen.emplace_back(*run);
        if (run->phase == OBZX_RUN_STARTED) ++test->m_starts;
    }

    mutable std::mutex m_mutex;
    std::vector<SSeenRun> m_seen;
    std::atomic<size_t> m_starts{0};
};

}  // namespace obzx_test
