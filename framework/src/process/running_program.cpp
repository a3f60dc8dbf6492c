#include "framework/src/process/running_program.h"

#include <algorithm>

#include "base/poll_until.h"
#include "framework/src/process/run_cancel.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr std::chrono::seconds GRACE{5};
// How often a cancellation is looked for where no descriptor reports it.
constexpr std::chrono::milliseconds LOOK_INTERVAL{10};

}  // namespace

CRunningProgram::~CRunningProgram()
{
    if (hasEnded()) return;
    m_process.kill();
    while (!hasEnded()) {
        wait(Clock::time_point::max());
    }
}

void CRunningProgram::watch(int output, std::span<pollfd, WATCHED> watched, Clock::time_point& until,
                            CRunCancel* cancel)
{
    // Most programs end, and their output with them, within a few milliseconds. Watching the output is enough for
    // these; the descriptors for the end and for cancellation are opened for those that last longer.
    m_lasts = m_lasts || output < 0;
    const int end = m_lasts ? m_process.descriptor() : -1;
    const int cancelled = cancel != nullptr && end >= 0 ? cancel->descriptor() : -1;
    if (cancel != nullptr && cancelled < 0) until = std::min(until, Clock::now() + LOOK_INTERVAL);
    until = std::min(until, m_process.lookAt());
    watched[0] = {output, POLLIN, 0};
    watched[1] = {end, POLLIN, 0};
    watched[2] = {cancelled, POLLIN, 0};
}

bool CRunningProgram::isOutputReady(std::span<const pollfd, WATCHED> watched, bool isQuiet, CRunCancel* cancel)
{
    m_lasts = m_lasts || isQuiet;
    if (watched[2].revents != 0 && cancel != nullptr && !cancel->isRequested()) cancel->dropDescriptor();
    return watched[0].revents != 0;
}

void CRunningProgram::wait(Clock::time_point until)
{
    pollfd watched[WATCHED];
    watch(-1, watched, until, nullptr);
    base::pollUntil(watched, until);
}

void CRunningProgram::stop()
{
    m_process.stop(GRACE, base::CChildProcess::ERest::HAS_GRACE);
}

}  // namespace obzx_pdk_4_4
