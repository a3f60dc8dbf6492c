#include "framework/src/trace/trace_line_formatter.h"

#include <spdlog/details/log_msg.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctime>
#include <string_view>

#include "framework/src/trace/own_ids.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t MAX_DIGITS = 11;  // of an int, with its sign
// All before the component: time, fraction, three numbers, and what stands between them.
constexpr size_t MAX_START = 64 + 3 * MAX_DIGITS;

void append(spdlog::memory_buf_t& line, std::string_view text)
{
    line.append(text.data(), text.data() + text.size());
}

char* put(char* end, std::string_view text)
{
    return std::copy(text.begin(), text.end(), end);
}

char* put(char* end, int number)
{
    return std::to_chars(end, end + MAX_DIGITS, number).ptr;
}

// Six digits.
char* putFraction(char* end, int64_t microseconds)
{
    for (char* digit = end + 6; digit != end; microseconds /= 10) {
        *--digit = static_cast<char>('0' + microseconds % 10);
    }
    return end + 6;
}

// " <pid>.<tid>"
char* putIds(char* end)
{
    const SOwnIds& ids = ownIds();
    *end++ = ' ';
    end = put(end, ids.process);
    *end++ = '.';
    return put(end, ids.thread);
}

}  // namespace

void CTraceLineFormatter::setSecond(int64_t second)
{
    if (second == m_second) return;
    const time_t time = second;
    std::tm utc = {};
    ::gmtime_r(&time, &utc);
    std::strftime(m_time.data(), m_time.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    m_second = second;
}

void CTraceLineFormatter::format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& line)
{
    const auto second = std::chrono::floor<std::chrono::seconds>(message.time);
    setSecond(second.time_since_epoch().count());
    char start[MAX_START];
    char* end = put(start, {m_time.data(), TIME_LENGTH});
    *end++ = '.';
    end = putFraction(end, duration_cast<std::chrono::microseconds>(message.time - second).count());
    *end++ = 'Z';
    end = put(putIds(end), " L");
    end = put(end, static_cast<int>(message.level));
    *end++ = ' ';
    append(line, {start, static_cast<size_t>(end - start)});
    append(line, {message.logger_name.data(), message.logger_name.size()});
    line.push_back(' ');
    append(line, {message.payload.data(), message.payload.size()});
    line.push_back('\n');
}

}  // namespace obzx_pdk_4_4
