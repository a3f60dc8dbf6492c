#pragma once

#include <sys/types.h>

#include <string_view>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * Names of what the provider makes on an appliance. A checkpoint and the time image made of it share a suffix:
 * KSV_Check_Point_4711 belongs to KSV_Time_Image_4711.
 */

/// The checkpoint of every snapshot that a process takes: "KSV_Check_Point_" + the process id.
CString checkPointNameOf(pid_t process);
/// The time image of a checkpoint. A name shorter than the checkpoint prefix has an empty suffix.
CString timeImageOfCheckPoint(const CString& checkPoint);
/// The checkpoint of a time image. A name shorter than the time-image prefix has an empty suffix.
CString checkPointOfTimeImage(const CString& timeImage);

/// What a target-device name tells: the LUN that was copied and the checkpoint that holds the copy.
struct STargetDevice
{
    CString m_source;
    CString m_checkPoint;
};

/// prefix + <DeviceID>serial<DeviceID/> + <Annotation>checkpoint<Annotation/>
CString targetDeviceName(std::string_view prefix, std::string_view serial, std::string_view checkPoint);
/// Reads what stands after the prefix of a target-device name; a part that is not there comes out as the tag
/// arithmetic of getXmlTagValue has it.
STargetDevice parseTargetDevice(std::string_view text);

}  // namespace cdpfi
