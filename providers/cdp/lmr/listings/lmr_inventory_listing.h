#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

// Parsers of what the appliance's shell answers about its hosts and groups. They take lines and return what was read;
// views point into the lines. No commands, no locks, no traces.

/// The host's name in a line of the host listing; false when the line names none.
bool parseHostName(std::string_view line, std::string_view& name);
/// Host names of a host listing, in order.
std::vector<CString> parseHostNames(std::span<const std::string_view> lines);
std::vector<CString> parseHostNames(const std::vector<std::string>& lines);

/// The group name in a line of the group listing; false when the line names none.
bool parseGroupName(std::string_view line, std::string_view& name);

/// A LUN as a group's listing shows it.
struct SLMRGroupLun
{
    std::string_view device;
    std::string_view serial;
};

/// What made the reading of a group's listing stop.
enum class EGroupListing
{
    COMPLETE,
    NO_PROTECTED,   ///< section "Protected LUNS:" is missing
    NO_PERMISSION,  ///< section "Permissions:" is missing
    NO_STILLMARK,   ///< section "Stillmark LUNs:" is missing
    BAD_DEVICE,     ///< the line of a LUN does not hold one "[" between two texts
    BAD_SERIAL,     ///< what follows the "[" does not hold one "]" between two texts
};

/// The listing of one group, up to where the reading stopped.
struct SLMRGroupListing
{
    EGroupListing result = EGroupListing::COMPLETE;
    bool hasMonitor = false;
    int begin = -1;  ///< index of the line that opens the protected section
    int end = -1;    ///< index of the line that ends it
    std::vector<SLMRGroupLun> luns;
    std::string_view badLine;    ///< BAD_DEVICE, BAD_SERIAL
    std::string_view badDevice;  ///< BAD_SERIAL: the device of the bad line
};

/// The LUN in a line of a listing: COMPLETE, BAD_DEVICE or BAD_SERIAL.
EGroupListing parseListedLun(std::string_view line, SLMRGroupLun& lun);

SLMRGroupListing parseGroup(std::span<const std::string_view> lines);
SLMRGroupListing parseGroup(const std::vector<std::string>& lines);

}  // namespace cdpfi
