#pragma once

#include <spdlog/formatter.h>

#include <array>
#include <cstdint>
#include <memory>

namespace obzx_pdk_4_4 {

/**
 * Writes a trace line around the text of a message: "<UTC time, microseconds, Z> <pid>.<tid> L<level> <component>
 * <text>" and a newline. The message's logger is the component, its level the trace's. For one thread at a time.
 */
class CTraceLineFormatter : public spdlog::formatter
{
  public:
    void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& line) override;
    std::unique_ptr<spdlog::formatter> clone() const override { return std::make_unique<CTraceLineFormatter>(*this); }

  private:
    static constexpr size_t TIME_LENGTH = sizeof "2026-01-31T12:34:56" - 1;

    void setSecond(int64_t second);

    int64_t m_second = INT64_MIN;  // since 1970, of the text
    std::array<char, TIME_LENGTH + 1> m_time = {};
};

}  // namespace obzx_pdk_4_4
