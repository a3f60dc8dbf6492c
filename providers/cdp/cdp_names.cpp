#include "providers/cdp/cdp_names.h"

#include "framework/include/cfistringtool.h"
#include "providers/cdp/cdp_state_text.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

namespace {

constexpr std::string_view CHECK_POINT_PREFIX = "KSV_Check_Point_";
constexpr std::string_view TIME_IMAGE_PREFIX = "KSV_Time_Image_";
constexpr const char* DEVICE_TAG = "DeviceID";
constexpr const char* CHECK_POINT_TAG = "Annotation";

CString swapPrefix(const CString& name, std::string_view from, std::string_view to)
{
    return join({to, bytesOf(restFrom(name, from.size()))});
}

}  // namespace

CString checkPointNameOf(pid_t process)
{
    return join({CHECK_POINT_PREFIX, obzx_pdk_4_4::CFiStringTool::int2str(process)});
}

CString timeImageOfCheckPoint(const CString& checkPoint)
{
    return swapPrefix(checkPoint, CHECK_POINT_PREFIX, TIME_IMAGE_PREFIX);
}

CString checkPointOfTimeImage(const CString& timeImage)
{
    return swapPrefix(timeImage, TIME_IMAGE_PREFIX, CHECK_POINT_PREFIX);
}

CString targetDeviceName(const CString& prefix, const CString& serial, const CString& checkPoint)
{
    return join({bytesOf(prefix), bytesOf(writeTag(DEVICE_TAG, bytesOf(serial))),
                 bytesOf(writeTag(CHECK_POINT_TAG, bytesOf(checkPoint)))});
}

STargetDevice parseTargetDevice(const CString& text)
{
    return {readTag(bytesOf(text), DEVICE_TAG), readTag(bytesOf(text), CHECK_POINT_TAG)};
}

}  // namespace cdpfi
