#include "framework/include/cfientrypoint.h"

#include <string_view>

namespace obzx_pdk_4_4 {

namespace {

constexpr std::string_view PROVIDER_END = "_fi_pgn_";

thread_local const char* g_current = nullptr;

}  // namespace

CFiEntryPoint::CFiEntryPoint(const char* function) noexcept : m_outer(g_current)
{
    g_current = function;
}

CFiEntryPoint::~CFiEntryPoint()
{
    g_current = m_outer;
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
