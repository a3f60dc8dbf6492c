// The formatter of trace lines: any format with any arguments, and single conversions compared with the C library's.
#include <cmath>
#include <cstring>

#include "framework/include/cfitrace.h"
#include "fuzz/fuzz.h"

using fuzz::require;
using obzx_pdk_4_4::CFiTraceArg;

namespace {

// Padding is limited to 4096, a real number has at most 309 digits before its point.
constexpr size_t LONGEST_CONVERSION = 4096 + 400;

double realOf(uint64_t bits)
{
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

CFiTraceArg argumentOf(fuzz::CInput& input, std::vector<std::string>& texts)
{
    switch (input.byte() % 7) {
        case 0:
            return CFiTraceArg(static_cast<int>(input.number()));
        case 1:
            return CFiTraceArg(static_cast<int64_t>(input.number()));
        case 2:
            return CFiTraceArg(input.number());
        case 3:
            return CFiTraceArg(realOf(input.number()));
        case 4:
            return CFiTraceArg(static_cast<const void*>(&input));
        case 5:
            return CFiTraceArg(static_cast<unsigned char>(input.byte()));
        default:
            break;
    }
    texts.emplace_back(input.text(input.byte()));
    return CFiTraceArg(texts.back());
}

void anyFormat(fuzz::CInput& input)
{
    std::vector<std::string> texts;
    texts.reserve(8);
    std::vector<CFiTraceArg> arguments;
    size_t longest = 0;
    for (int count = input.byte() % 8; count > 0; --count) {
        arguments.push_back(argumentOf(input, texts));
        longest += LONGEST_CONVERSION * 2 + arguments.back().asText().size();
    }
    const std::string_view format = input.rest();
    const std::string line = obzx_pdk_4_4::formatTrace(format, arguments.data(), arguments.size());
    require(line.size() <= format.size() + longest, "nobody can ask for gigabytes");
    if (format.find('%') == std::string_view::npos) {
        require(line == format, "a format without conversions stands as it is");
    }
    const std::string bare = obzx_pdk_4_4::formatTrace(format, nullptr, 0);
    require(bare.size() <= format.size(), "without arguments nothing is added");
    if (format.find("%%") == std::string_view::npos) {
        require(bare == format, "conversions without arguments stand as they are");
    }
}

std::string modifiers(fuzz::CInput& input, std::string_view flags, bool hasPrecision)
{
    std::string text;
    const uint8_t chosen = input.byte();
    for (size_t i = 0; i < flags.size(); ++i) {
        if ((chosen >> i & 1) != 0) text += flags[i];
    }
    if (const int width = input.byte() % 64; width > 0) text += std::to_string(width);
    if (const int precision = input.byte() % 32; hasPrecision && precision > 0) {
        text += "." + (precision > 1 ? std::to_string(precision) : std::string());
    }
    return text;
}

// The formats are made here, of conversions that fit their argument.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

template <class Argument>
void compare(const std::string& ours, const std::string& theirs, const Argument& argument)
{
    char expected[1024];
    const int length = std::snprintf(expected, sizeof expected, theirs.c_str(), argument);
    require(length >= 0 && static_cast<size_t>(length) < sizeof expected, "the C library knows the conversion");
    const CFiTraceArg list[] = {CFiTraceArg(argument)};
    require(obzx_pdk_4_4::formatTrace(ours, list, 1) == expected, "a conversion gives what the C library gives");
}

void compareInteger(fuzz::CInput& input)
{
    const bool isSigned = (input.byte() & 1) != 0;
    const char type = isSigned ? "di"[input.byte() % 2] : "uxXo"[input.byte() % 4];
    const char* const flags = isSigned ? "-+ 0" : type == 'u' ? "-0" : "-#0";
    const std::string text = modifiers(input, flags, true);
    const uint64_t value = input.number();
    const std::string format = "a%" + text + type + "b";
    if (isSigned) {
        compare(format, "a%" + text + "ll" + type + "b", static_cast<long long>(value));
        compare(format, format, static_cast<int>(value));
    } else {
        compare(format, "a%" + text + "ll" + type + "b", static_cast<unsigned long long>(value));
        compare(format, format, static_cast<unsigned>(value));
    }
}

void compareOther(fuzz::CInput& input)
{
    const char type = "fFeEgGsc"[input.byte() % 8];
    const bool isText = type == 's' || type == 'c';
    const std::string format = "%" + modifiers(input, isText ? "-" : "-+ 0", type != 'c') + type;
    if (type == 'c') return compare(format, format, static_cast<int>(input.byte() % 127 + 1));
    if (type == 's') {
        const std::string_view given = input.text(200);
        const std::string text(given.substr(0, given.find('\0')));  // as the C library has it
        return compare(format, format, text.c_str());
    }
    const double value = realOf(input.number());
    if (std::isfinite(value)) compare(format, format, value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::CInput input(data, size);
    switch (input.byte() % 4) {
        case 0:
            compareInteger(input);
            break;
        case 1:
            compareOther(input);
            break;
        default:
            anyFormat(input);
    }
    return 0;
}
