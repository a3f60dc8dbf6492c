#include "framework/src/process/running_program.h"

#include <algorithm>

#include "base/poll_until.h"
#include "framework/src/process/process_output.h"
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
    waitForEnd(-1);
}

bool CRunningProgram::waitFor(int output, Clock::time_point until, CRunCancel* cancel)
{
    // Most programs end, and their output with them, within a few milliseconds. Watching the output is enough for
    // these; the descriptors for the end and for cancellation are opened for those that last longer.
    m_lasts = m_lasts || output < 0;
    const int end = m_lasts ? m_process.descriptor() : -1;
    const int cancelled = cancel != nullptr && end >= 0 ? cancel->descriptor() : -1;
    if (cancel != nullptr && cancelled < 0) until = std::min(until, Clock::now() + LOOK_INTERVAL);
    pollfd watched[] = {{output, POLLIN, 0}, {end, POLLIN, 0}, {cancelled, POLLIN, 0}};
    const int ready = base::pollUntil(watched, std::min(until, m_process.lookAt()));
    m_lasts = m_lasts || ready == 0;
    if (ready > 0 && watched[2].revents != 0 && !cancel->isRequested()) cancel->dropDescriptor();
    return ready > 0 && watched[0].revents != 0;
}

void CRunningProgram::stop(int output)
{
    m_process.stop(GRACE, base::CChildProcess::ERest::HAS_GRACE);
    waitForEnd(output);
}

void CRunningProgram::waitForEnd(int output)
{
    while (!hasEnded()) {
        waitFor(output, Clock::time_point::max());
        if (output >= 0 && !CProcessOutput::discard(output)) output = -1;
    }
}

}  // namespace obzx_pdk_4_4
