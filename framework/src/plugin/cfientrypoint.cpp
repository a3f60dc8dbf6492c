#include "framework/include/cfientrypoint.h"

#include <pthread.h>

#include <string_view>

namespace obzx_pdk_4_4 {

namespace {

constexpr std::string_view PROVIDER_END = "_fi_pgn_";

thread_local const char* g_current = nullptr;
thread_local int g_depth = 0;
thread_local int g_cancelState = PTHREAD_CANCEL_ENABLE;  // of the thread outside of its entry points

}  // namespace

CFiEntryPoint::CFiEntryPoint(const char* function) noexcept : m_outer(g_current)
{
    g_current = function;
    // A thread that is cancelled would unwind out of the midst of a call, past what must not be unwound.
    if (g_depth++ == 0) ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &g_cancelState);
}

CFiEntryPoint::~CFiEntryPoint()
{
    g_current = m_outer;
    if (--g_depth == 0) ::pthread_setcancelstate(g_cancelState, nullptr);
}

const char* CFiEntryPoint::current() noexcept
{
    return g_current;
}

const char* CFiEntryPoint::name() noexcept
{
    if (g_current == nullptr) return "";
    const size_t end = std::string_view(g_current).rfind(PROVIDER_END);
    return end == std::string_view::npos ? g_current : g_current + end + PROVIDER_END.size();
}

}  // namespace obzx_pdk_4_4
