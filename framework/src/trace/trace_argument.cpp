#include "framework/src/trace/trace_argument.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace obzx_pdk_4_4 {

namespace {

// A format may not ask for more padding than any sensible line has; texts are never cut by this.
constexpr int MAX_PADDING = 4096;

void pad(std::string& line, const STraceConversion& conversion, std::string_view text)
{
    if (conversion.width == 0) {
        line.append(text);
        return;
    }
    const size_t width = static_cast<size_t>(std::min(conversion.width, MAX_PADDING));
    const size_t blanks = text.size() < width ? width - text.size() : 0;
    if (!conversion.left) line.append(blanks, ' ');
    line.append(text);
    if (conversion.left) line.append(blanks, ' ');
}

// Sign or base prefix, zeros up to the width where the conversion wants them, digits.
void padNumber(std::string& line, const STraceConversion& conversion, std::string_view prefix, std::string_view digits,
               bool zeros)
{
    const size_t width = static_cast<size_t>(std::min(conversion.width, MAX_PADDING));
    const size_t length = prefix.size() + digits.size();
    std::string text(prefix);
    if (zeros && !conversion.left && length < width) text.append(width - length, '0');
    text.append(digits);
    pad(line, conversion, text);
}

std::string_view signPrefix(const STraceConversion& conversion, bool negative)
{
    if (negative) return "-";
    if (conversion.plus) return "+";
    return conversion.blank ? " " : "";
}

std::string digitsOf(const STraceConversion& conversion, uint64_t value, int base)
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

void writeDecimal(std::string& line, const STraceConversion& conversion, const CFiTraceArg& arg)
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
void writeUnsigned(std::string& line, const STraceConversion& conversion, const CFiTraceArg& arg)
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

void writeReal(std::string& line, const STraceConversion& conversion, double value)
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

void writePointer(std::string& line, const STraceConversion& conversion, const void* pointer)
{
    char text[32];
    const int length = std::snprintf(text, sizeof text, "%p", pointer);
    pad(line, conversion, {text, static_cast<size_t>(std::max(length, 0))});
}

// An argument whose kind does not fit the conversion: in its own form, in the conversion's width.
void writeNatural(std::string& line, const STraceConversion& conversion, const CFiTraceArg& arg)
{
    STraceConversion natural;
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

}  // namespace

void appendArgument(std::string& line, const STraceConversion& conversion, const CFiTraceArg& arg)
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

}  // namespace obzx_pdk_4_4
