#include "providers/cdp/cdp_appliance_lines.h"

#include <vector>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfistringtool.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiStringTool;

namespace {

constexpr const char* APPLIANCE_LIST = "/etc/qz/hls.conf";

}  // namespace

std::string applianceListPath()
{
    return obzx_pdk_4_4::placePath(APPLIANCE_LIST);
}

std::optional<SCDPApplianceLine> parseApplianceLine(const std::string& line, std::string_view mark)
{
    if (line.find(mark) == std::string::npos) return std::nullopt;
    const std::vector<std::string> entry = CFiStringTool::tokenize(line, "=");
    if (entry.size() != 2) return std::nullopt;
    SCDPApplianceLine read{.key = entry[0], .value = entry[1], .name = {}, .port = {}};
    const std::vector<std::string> address = CFiStringTool::tokenize(read.value, ":");
    if (!address.empty()) read.name = address[0];
    if (address.size() > 1) read.port = address[1];
    return read;
}

}  // namespace cdpfi
