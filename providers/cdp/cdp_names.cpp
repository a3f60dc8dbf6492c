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
    return join({to, restFrom(bytesOf(name), from.size())});
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

CString targetDeviceName(std::string_view prefix, std::string_view serial, std::string_view checkPoint)
{
    std::string name(prefix);
    appendTag(name, DEVICE_TAG, serial);
    appendTag(name, CHECK_POINT_TAG, checkPoint);
    return textOf(name);
}

STargetDevice parseTargetDevice(std::string_view text)
{
    return {.m_source = readTag(text, DEVICE_TAG), .m_checkPoint = readTag(text, CHECK_POINT_TAG)};
}

}  // namespace cdpfi
