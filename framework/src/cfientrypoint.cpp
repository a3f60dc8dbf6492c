#include "framework/include/cfientrypoint.h"

#include <string_view>

namespace obzx_pdk_4_4 {

namespace {

constexpr std::string_view PROVIDER_END = "_fi_pgn_";

thread_local const char* t_current = nullptr;

}  // namespace

CFiEntryPoint::CFiEntryPoint(const char* function) noexcept : m_outer(t_current)
{
    t_current = function;
}

CFiEntryPoint::~CFiEntryPoint()
{
    t_current = m_outer;
}

const char* CFiEntryPoint::current() noexcept
{
    return t_current;
}

const char* CFiEntryPoint::name() noexcept
{
    if (t_current == nullptr) return "";
    const size_t end = std::string_view(t_current).rfind(PROVIDER_END);
    return end == std::string_view::npos ? t_current : t_current + end + PROVIDER_END.size();
}

}  // namespace obzx_pdk_4_4
