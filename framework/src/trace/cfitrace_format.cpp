#include <algorithm>
#include <string>
#include <string_view>

#include "framework/include/cfitrace.h"
#include "framework/src/text/bounded_text.h"
#include "framework/src/trace/trace_argument.h"
#include "framework/src/trace/trace_conversion.h"

namespace obzx_pdk_4_4 {

namespace {

/// The beginning of a text argument that is longer than the line may be; the bytes behind it are counted.
CFiTraceArg bounded(const STraceConversion& conversion, const CFiTraceArg& arg, size_t most, size_t& missing)
{
    constexpr size_t CHARACTER = 4;  // more than may be, so that the line is cut here, and sees what it would tear
    if (arg.kind() != CFiTraceArg::EKind::TEXT || arg.asText().size() <= most) return arg;
    const bool isCut = conversion.type == 's' && conversion.precision >= 0;
    const std::string_view shown =
        arg.asText().substr(0, isCut ? static_cast<size_t>(conversion.precision) : std::string_view::npos);
    const std::string_view kept = shown.substr(0, most + CHARACTER);
    missing += shown.size() - kept.size();
    return kept;
}

}  // namespace

std::string formatTrace(std::string_view format, const CFiTraceArg* args, size_t count, size_t most)
{
    CTraceConversionReader reader(format, args, count);
    std::string line;
    line.reserve(std::min(format.size(), most) + 64);
    size_t cursor = 0;
    size_t missing = 0;
    while (cursor < format.size()) {
        const size_t percent = std::min(format.find('%', cursor), format.size());
        line.append(format.substr(cursor, percent - cursor));
        cursor = percent;
        if (cursor == format.size()) break;
        STraceConversion conversion;
        if (!reader.read(conversion, cursor)) {
            line.append(format.substr(percent, cursor - percent));
        } else if (conversion.type == '%') {
            line += '%';
        } else {
            appendArgument(line, conversion, bounded(conversion, reader.take(), most, missing));
        }
    }
    boundText(line, most, missing);
    return line;
}

}  // namespace obzx_pdk_4_4
