#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

namespace {

// A format may not ask for more padding than any sensible line has; texts are never cut by this.
constexpr int MAX_PADDING = 4096;
constexpr int NOT_GIVEN = -1;

/// One conversion of a format: %[flags][width][.precision][length]type
struct SConversion
{
    bool left = false, plus = false, blank = false, alternate = false, zero = false;
    int width = 0;
    int precision = NOT_GIVEN;
    char type = 0;
};

/// Reads conversions of a format from left to right and takes the arguments that they ask for.
class CConversionReader
{
  public:
    CConversionReader(std::string_view format, const CFiTraceArg* args, size_t count)
        : m_format(format), m_args(args), m_count(args == nullptr ? 0 : count)
    {
    }

    /// Reads one conversion that starts at the cursor's percent sign. False: it is none that can be carried out; the
    /// cursor is then on the character that does not fit, and no argument is used up.
    bool read(SConversion& conversion, size_t& cursor)
    {
        const size_t firstArgument = m_next;
        const bool complete = readParts(conversion, ++cursor) && (conversion.type == '%' || m_next < m_count);
        if (!complete) m_next = firstArgument;
        return complete;
    }

    const CFiTraceArg& take() { return m_args[m_next++]; }

  private:
    char at(size_t cursor) const { return cursor < m_format.size() ? m_format[cursor] : '\0'; }

    bool readParts(SConversion& conversion, size_t& cursor)
    {
        if (at(cursor) == '%') {
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

    static bool readFlag(SConversion& conversion, char flag)
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

    // Digits, or a star that takes an argument; false when there is no argument left for it.
    bool readNumber(int& number, size_t& cursor)
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

    static int starValue(const CFiTraceArg& arg)
    {
        if (arg.kind() == CFiTraceArg::EKind::SIGNED) {
            return static_cast<int>(std::clamp<int64_t>(arg.asSigned(), -MAX_NUMBER, MAX_NUMBER));
        }
        if (arg.kind() == CFiTraceArg::EKind::UNSIGNED) {
            return static_cast<int>(std::min<uint64_t>(arg.asUnsigned(), MAX_NUMBER));
        }
        return 0;
    }

    static constexpr int MAX_NUMBER = std::numeric_limits<int>::max();
    static constexpr std::string_view LENGTHS = "hlqLjzt";
    static constexpr std::string_view TYPES = "diuxXocspfFeEgG";

    std::string_view m_format;
    const CFiTraceArg* m_args;
    size_t m_count;
    size_t m_next = 0;
};

void pad(std::string& line, const SConversion& conversion, std::string_view text)
{
    const size_t width = static_cast<size_t>(std::min(conversion.width, MAX_PADDING));
    const size_t blanks = text.size() < width ? width - text.size() : 0;
    if (!conversion.left) line.append(blanks, ' ');
    line.append(text);
    if (conversion.left) line.append(blanks, ' ');
}

// Sign or base prefix, zeros up to the width where the conversion wants them, digits.
void padNumber(std::string& line, const SConversion& conversion, std::string_view prefix, std::string_view digits,
               bool zeros)
{
    const size_t width = static_cast<size_t>(std::min(conversion.width, MAX_PADDING));
    const size_t length = prefix.size() + digits.size();
    std::string text(prefix);
    if (zeros && !conversion.left && length < width) text.append(width - length, '0');
    text.append(digits);
    pad(line, conversion, text);
}

std::string_view signPrefix(const SConversion& conversion, bool negative)
{
    if (negative) return "-";
    if (conversion.plus) return "+";
    return conversion.blank ? " " : "";
}

std::string digitsOf(const SConversion& conversion, uint64_t value, int base)
{
    char buffer[24];
    char* end = std::to_chars(buffer, buffer + sizeof buffer, value, base).ptr;
    std::string digits(buffer, end);
    if (conversion.precision == 0 && value == 0) digits.clear();
    const size_t wanted = static_cast<size_t>(std::clamp(conversion.precision, 0, MAX_PADDING));
    if (digits.size() < wanted) digits.insert(0, wanted - digits.size(), '0');
    return digits;
}

void toUpper(std::string& text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
}

void writeDecimal(std::string& line, const SConversion& conversion, const CFiTraceArg& arg)
{
    const bool isSigned = arg.kind() == CFiTraceArg::EKind::SIGNED;
    const bool negative = isSigned && arg.asSigned() < 0;
    const uint64_t magnitude = !isSigned  ? arg.asUnsigned()
                               : negative ? 0 - static_cast<uint64_t>(arg.asSigned())
                                          : static_cast<uint64_t>(arg.asSigned());
    padNumber(line, conversion, signPrefix(conversion, negative), digitsOf(conversion, magnitude, 10),
              conversion.zero && conversion.precision < 0);
}

// The bits of an integer in the width that it was passed with.
void writeUnsigned(std::string& line, const SConversion& conversion, const CFiTraceArg& arg)
{
    uint64_t value =
        arg.kind() == CFiTraceArg::EKind::SIGNED ? static_cast<uint64_t>(arg.asSigned()) : arg.asUnsigned();
    if (arg.width() < sizeof value) value &= (uint64_t{1} << (8 * arg.width())) - 1;
    const int base = conversion.type == 'o' ? 8 : conversion.type == 'u' ? 10 : 16;
    std::string digits = digitsOf(conversion, value, base);
    if (conversion.alternate && base == 8 && (digits.empty() || digits.front() != '0')) digits.insert(0, "0");
    const bool upper = conversion.type == 'X';
    if (upper) toUpper(digits);
    const std::string_view prefix = !conversion.alternate || base != 16 || value == 0 ? "" : upper ? "0X" : "0x";
    padNumber(line, conversion, prefix, digits, conversion.zero && conversion.precision < 0);
}

void writeReal(std::string& line, const SConversion& conversion, double value)
{
    std::chars_format form = std::chars_format::general;
    if (conversion.type == 'f' || conversion.type == 'F') form = std::chars_format::fixed;
    if (conversion.type == 'e' || conversion.type == 'E') form = std::chars_format::scientific;
    const int precision = conversion.precision < 0 ? 6 : std::min(conversion.precision, MAX_PADDING);
    std::string digits(static_cast<size_t>(precision) + 512, '\0');  // the largest value has 309 digits
    char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value, form, precision).ptr;
    digits.resize(static_cast<size_t>(end - digits.data()));
    const bool negative = digits.front() == '-';
    if (negative) digits.erase(0, 1);
    const bool finite = digits.front() >= '0' && digits.front() <= '9';
    if (conversion.type >= 'A' && conversion.type <= 'Z') toUpper(digits);
    padNumber(line, conversion, signPrefix(conversion, negative), digits, conversion.zero && finite);
}

void writePointer(std::string& line, const SConversion& conversion, const void* pointer)
{
    char text[32];
    const int length = std::snprintf(text, sizeof text, "%p", pointer);
    pad(line, conversion, {text, static_cast<size_t>(std::max(length, 0))});
}

// An argument whose kind does not fit the conversion: in its own form, in the conversion's width.
void writeNatural(std::string& line, const SConversion& conversion, const CFiTraceArg& arg)
{
    SConversion natural;
    natural.left = conversion.left;
    natural.width = conversion.width;
    natural.type = 'g';
    switch (arg.kind()) {
        case CFiTraceArg::EKind::SIGNED:
        case CFiTraceArg::EKind::UNSIGNED:
            writeDecimal(line, natural, arg);
            break;
        case CFiTraceArg::EKind::REAL:
            writeReal(line, natural, arg.asReal());
            break;
        case CFiTraceArg::EKind::TEXT:
            pad(line, natural, arg.asText());
            break;
        case CFiTraceArg::EKind::POINTER:
            writePointer(line, natural, arg.asPointer());
            break;
    }
}

void writeArgument(std::string& line, const SConversion& conversion, const CFiTraceArg& arg)
{
    using EKind = CFiTraceArg::EKind;
    const bool integer = arg.kind() == EKind::SIGNED || arg.kind() == EKind::UNSIGNED;
    const char type = conversion.type;
    if (integer && (type == 'd' || type == 'i')) {
        writeDecimal(line, conversion, arg);
    } else if (integer && (type == 'u' || type == 'x' || type == 'X' || type == 'o')) {
        writeUnsigned(line, conversion, arg);
    } else if (integer && type == 'c') {
        const char byte =
            static_cast<char>(arg.kind() == EKind::SIGNED ? arg.asSigned() : static_cast<int64_t>(arg.asUnsigned()));
        pad(line, conversion, {&byte, 1});
    } else if (arg.kind() == EKind::TEXT && type == 's') {
        const size_t most =
            conversion.precision < 0 ? std::string_view::npos : static_cast<size_t>(conversion.precision);
        pad(line, conversion, arg.asText().substr(0, most));
    } else if (arg.kind() == EKind::REAL && std::string_view("fFeEgG").find(type) != std::string_view::npos) {
        writeReal(line, conversion, arg.asReal());
    } else {
        writeNatural(line, conversion, arg);
    }
}

}  // namespace

std::string formatTrace(std::string_view format, const CFiTraceArg* args, size_t count)
{
    CConversionReader reader(format, args, count);
    std::string line;
    line.reserve(format.size() + 64);
    size_t cursor = 0;
    while (cursor < format.size()) {
        const size_t percent = std::min(format.find('%', cursor), format.size());
        line.append(format.substr(cursor, percent - cursor));
        cursor = percent;
        if (cursor == format.size()) break;
        SConversion conversion;
        if (!reader.read(conversion, cursor)) {
            line.append(format.substr(percent, cursor - percent));
        } else if (conversion.type == '%') {
            line += '%';
        } else {
            writeArgument(line, conversion, reader.take());
        }
    }
    return line;
}

}  // namespace obzx_pdk_4_4
