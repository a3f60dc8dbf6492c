#include "framework/src/process/run_cancel.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>

namespace obzx_pdk_4_4 {

namespace {

/*
 * The round tells a run whether a cancellation came since it began; the event wakes the runs of this round that wait
 * for it, -1 when none does. A signal handler can neither lock nor wait, so both change in one step: each cancellation
 * begins a round without an event, and whoever takes an event out of here is the one to close it. Aligned as a whole,
 * or clang has it changed by a library that is not linked.
 */
struct alignas(sizeof(uint64_t)) SState
{
    uint32_t round;
    int32_t event;
};

std::atomic<SState> g_state{SState{0, -1}};
static_assert(std::atomic<SState>::is_always_lock_free, "a signal handler changes it");

std::mutex g_mutex;          // held by runs that join and leave a round; never by a signal handler
unsigned g_waitingRuns = 0;  // that have joined the round

bool isNow(const SState& state)
{
    const SState now = g_state.load();
    return now.round == state.round && now.event == state.event;
}

// Gives the round an event when it has none. False: there is none, or the round is over.
bool hasEvent(SState& state)
{
    if (state.event >= 0) return true;
    base::CFileDescriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const SState next{state.round, event.get()};
    if (!event || !g_state.compare_exchange_strong(state, next)) return false;
    event.release();
    g_waitingRuns = 0;
    state = next;
    return true;
}

}  // namespace

CRunCancel::CRunCancel() noexcept : m_round(g_state.load().round) {}

CRunCancel::~CRunCancel()
{
    if (!m_hasJoined) return;
    const std::lock_guard<std::mutex> guard(g_mutex);
    SState state = g_state.load();
    if (state.round != m_round || --g_waitingRuns > 0) return;
    if (g_state.compare_exchange_strong(state, SState{m_round, -1})) ::close(state.event);
}

bool CRunCancel::isRequested() const noexcept
{
    return g_state.load().round != m_round;
}

int CRunCancel::descriptor() noexcept
{
    if (!m_hasJoined) join();
    return m_descriptor.get();
}

void CRunCancel::join() noexcept
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    SState state = g_state.load();
    if (state.round != m_round || !hasEvent(state)) return;
    // Each run has a copy: a cancellation closes the event itself, while the runs still wait for it.
    base::CFileDescriptor copy(::fcntl(state.event, F_DUPFD_CLOEXEC, 0));
    // A cancellation may have closed the event meanwhile, and its number may be another file's: the copy is of no use.
    if (!isNow(state)) return;
    m_descriptor = std::move(copy);
    m_hasJoined = true;
    ++g_waitingRuns;
}

void cancelRuns() noexcept
{
    const int savedErrno = errno;
    SState state = g_state.load();
    while (!g_state.compare_exchange_weak(state, SState{state.round + 1, -1})) {
        continue;
    }
    if (state.event >= 0) {
        ::eventfd_write(state.event, 1);
        ::close(state.event);
    }
    errno = savedErrno;
}

}  // namespace obzx_pdk_4_4
