#include "framework/src/process/run_record.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <new>

#include "framework/include/cfientrypoint.h"
#include "framework/include/cfiexecpipe.h"
#include "framework/src/process/run_observer.h"

namespace obzx_pdk_4_4 {

namespace {

std::atomic<uint64_t> g_lastNumber{0};

}  // namespace

CRunRecord::CRunRecord(const std::string& commandLine, const std::vector<std::string>& words,
                       unsigned long limit) noexcept
    : m_observer(CRunObserver::current())
{
    if (!isObserved()) return;
    m_run.size = sizeof m_run;
    m_run.number = ++g_lastNumber;
    m_run.entry_point = CFiEntryPoint::name();
    m_run.input = m_run.output = "";
    m_run.limit_seconds = limit;
    m_program[0] = words.empty() ? commandLine.c_str() : words.front().c_str();
    m_run.arguments = m_program;
    m_run.argument_count = 1;
    try {
        m_arguments.reserve(words.size() + 1);
        for (const std::string& word : words) {
            m_arguments.push_back(word.c_str());
        }
        m_arguments.push_back(nullptr);
    } catch (const std::bad_alloc&) {
        m_arguments.clear();
    }
    if (m_arguments.size() > 1) {
        m_run.arguments = m_arguments.data();
        m_run.argument_count = static_cast<int32_t>(words.size());
    }
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    m_run.start_seconds = now.tv_sec;
    m_run.start_nanoseconds = static_cast<int32_t>(now.tv_nsec);
    m_start = std::chrono::steady_clock::now();
}

void CRunRecord::fillInput() noexcept
{
    m_run.input = m_input.start.c_str();
    m_run.input_kept = m_input.start.size();
    m_run.input_size = m_input.size;
}

bool CRunRecord::started(pid_t process) noexcept
{
    if (!isObserved()) return false;
    fillInput();
    m_run.process = process;
    m_run.phase = OBZX_RUN_STARTED;
    return CRunObserver::call(m_observer, m_run);
}

void CRunRecord::notStarted(int error) noexcept
{
    m_isEndKnown = true;
    m_run.result = EXEC_FAILED;
    m_run.error = error;
    stopClock();
}

void CRunRecord::ended(int result, obzx_run_stop stop, const base::SExitStatus& exit,
                       const CFiOutputText& output) noexcept
{
    if (!isObserved()) return;
    m_isEndKnown = true;
    stopClock();
    m_run.result = result;
    m_run.stopped = stop;
    m_run.exit_status = exit.exit;
    m_run.signal = exit.signal;
    m_run.error = exit.lost ? ECHILD : 0;
    m_run.output_size = output.size();
    try {
        m_output = output.start(MOST_KEPT);
    } catch (const std::bad_alloc&) {
        m_output.clear();
    }
}

void CRunRecord::unused() noexcept
{
    m_run.result = EXEC_TIMED_OUT;
    m_run.stopped = OBZX_RUN_UNUSED;
}

void CRunRecord::stopClock() noexcept
{
    m_run.duration_nanoseconds = static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - m_start).count());
}

CRunRecord::~CRunRecord()
{
    if (!isObserved()) return;
    if (!m_isEndKnown) notStarted(ENOMEM);
    fillInput();
    m_run.output = m_output.c_str();
    m_run.output_kept = m_output.size();
    m_run.phase = OBZX_RUN_ENDED;
    CRunObserver::call(m_observer, m_run);
}

}  // namespace obzx_pdk_4_4
