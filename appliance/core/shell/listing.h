#pragma once

#include <vector>

#include "appliance/core/catalog/catalog.h"
#include "appliance/core/catalog/inventory.h"
#include "appliance/core/conventions/tool.h"

namespace lumora {

/// The texts that the shell prints, from records; one element a line. What a program may rely on is said at each; the
/// other lines are for people.

/// One host name a line, nothing else.
Lines listHosts(const std::vector<SHost>& hosts);

/// One group a line: NAME luns=COUNT annotations=COUNT timeimages=COUNT
Lines listGroups(const std::vector<SGroup>& groups);

Lines showHost(const SHost& host, const std::vector<SLun>& presented);

/// Sections in this order: "Protected LUNS:" with one line "DEVICE [SERIAL] SIZE" a LUN, "Monitor LUNS:",
/// "Permissions:" with one host a line, "Stillmark LUNs:", "Annotations:" with one line
/// `"NAME" CREATED "MESSAGE" images=COUNT` each, "Time images:" with one line `NAME CREATED annotation="NAME"` each.
struct SGroupDetails
{
    SGroup group;
    std::vector<SLun> luns;
    std::vector<SHost> hosts;
    std::vector<SAnnotation> annotations;
    std::vector<STimeImage> timeImages;
};
Lines showGroup(const SGroupDetails& details);

/// One time image a line: NAME CREATED annotation="NAME". The single line "There are none!" when there is none.
Lines listTimeImages(const std::vector<STimeImage>& images);

/// Heading lines, then "TimeImage LUNs:" and up to the end one line a LUN:
/// TARGETDEVICE [TARGETSERIAL] <- SOURCEDEVICE [SOURCESERIAL]
struct STimeImageDetails
{
    SGroup group;
    STimeImage image;
    std::vector<SHost> hosts;
    std::vector<SImageLun> luns;
};
Lines showTimeImage(const STimeImageDetails& details);

}  // namespace lumora
