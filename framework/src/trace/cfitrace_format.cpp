#include <algorithm>
#include <string>
#include <string_view>

#include "framework/include/cfitrace.h"
#include "framework/src/trace/trace_argument.h"
#include "framework/src/trace/trace_conversion.h"

namespace obzx_pdk_4_4 {

std::string formatTrace(std::string_view format, const CFiTraceArg* args, size_t count)
{
    CTraceConversionReader reader(format, args, count);
    std::string line;
    line.reserve(format.size() + 64);
    size_t cursor = 0;
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
            appendArgument(line, conversion, reader.take());
        }
    }
    return line;
}

}  // namespace obzx_pdk_4_4
