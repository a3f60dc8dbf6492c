#include "framework/src/trace/trace_conversion.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace obzx_pdk_4_4 {

namespace {

constexpr int MAX_NUMBER = std::numeric_limits<int>::max();
constexpr std::string_view LENGTHS = "hlqLjzt";
constexpr std::string_view TYPES = "diuxXocspfFeEgG";

bool readFlag(STraceConversion& conversion, char flag)
{
    switch (flag) {
        case '-':
            return conversion.left = true;
        case '+':
            return conversion.plus = true;
        case ' ':
            return conversion.blank = true;
        case '#':
            return conversion.alternate = true;
        case '0':
            return conversion.zero = true;
        default:
            return false;
    }
}

int starValue(const CFiTraceArg& arg)
{
    if (arg.kind() == CFiTraceArg::EKind::SIGNED) {
        return static_cast<int>(std::clamp<int64_t>(arg.asSigned(), -MAX_NUMBER, MAX_NUMBER));
    }
    if (arg.kind() == CFiTraceArg::EKind::UNSIGNED) {
        return static_cast<int>(std::min<uint64_t>(arg.asUnsigned(), MAX_NUMBER));
    }
    return 0;
}

}  // namespace

bool CTraceConversionReader::read(STraceConversion& conversion, size_t& cursor)
{
    const size_t firstArgument = m_next;
    const bool complete = readParts(conversion, ++cursor) && (conversion.type == '%' || m_next < m_count);
    if (!complete) m_next = firstArgument;
    return complete;
}

bool CTraceConversionReader::readParts(STraceConversion& conversion, size_t& cursor)
{
    // Most are just a type.
    const char first = at(cursor);
    if (first == 's' || first == 'd' || first == '%') {
        conversion.type = m_format[cursor++];
        return true;
    }
    while (readFlag(conversion, at(cursor))) {
        ++cursor;
    }
    if (!readNumber(conversion.width, cursor)) return false;
    if (conversion.width < 0) {
        conversion.left = true;
        conversion.width = -conversion.width;
    }
    if (at(cursor) == '.') {
        conversion.precision = 0;
        if (!readNumber(conversion.precision, ++cursor)) return false;
    }
    while (cursor < m_format.size() && LENGTHS.find(m_format[cursor]) != std::string_view::npos) {
        ++cursor;
    }
    if (cursor >= m_format.size() || TYPES.find(m_format[cursor]) == std::string_view::npos) return false;
    conversion.type = m_format[cursor++];
    return true;
}

// Digits, or a star that takes an argument; false when there is no argument left for it.
bool CTraceConversionReader::readNumber(int& number, size_t& cursor)
{
    if (at(cursor) == '*') {
        if (m_next >= m_count) return false;
        ++cursor;
        number = starValue(m_args[m_next++]);
        return true;
    }
    for (; at(cursor) >= '0' && at(cursor) <= '9'; ++cursor) {
        number = std::min(number, MAX_NUMBER / 10 - 1) * 10 + (at(cursor) - '0');
    }
    return true;
}

}  // namespace obzx_pdk_4_4
