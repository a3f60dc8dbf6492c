#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cdpfi {

/// What a line of the appliance list says.
struct SCDPApplianceLine
{
    std::string key;
    std::string value;
    std::string name;                 ///< of the appliance; empty when the value is nothing but colons: it names none
    std::optional<std::string> port;  ///< as it stands
};

/// Where the appliance list lies on this host.
std::string applianceListPath();

/**
 * Reads a line of the appliance list: one that holds a type's mark anywhere and two texts around "=". The name is what
 * stands between "=" and the first ":". Blanks count, and there are no comments.
 *
 *   RSURL=server1:9000
 *
 * @return empty for every other line
 */
std::optional<SCDPApplianceLine> parseApplianceLine(const std::string& line, std::string_view mark);

}  // namespace cdpfi
