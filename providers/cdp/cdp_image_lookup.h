#pragma once

#include <functional>
#include <string_view>

#include "providers/cdp/cdp_appliance_factory.h"
#include "providers/cdp/cdp_privatedata.h"

namespace cdpfi {

/**
 * One import of a node's copy. initAltNode and importTreeNode are the same procedure; what differs between them is
 * here. Used within one call: it refers to texts and data of the caller.
 */
struct SImportRequest
{
    const char* m_operation;              ///< as the messages name it
    const CString& m_resource;            ///< name of what the copy is to appear under
    CCDPPrivateData* m_primary;           ///< never null
    CCDPPrivateData* m_target = nullptr;  ///< receives the copied state; null: there is no target node
    bool m_isRemote = false;              ///< the target is on another host
    bool m_tellsImage = false;            ///< the messages about the image that only importTreeNode writes
    /// Hands the device path over that shows the copy; false when there is no memory for it.
    std::function<bool(const CString& devicePath)> m_deliver;
};

/// Where a copy was found.
struct SFoundImage
{
    CAppliancePtr m_appliance;
    CTimeImagePtr m_image;  ///< empty: not found, and traced
};

/// The image that the primary's state names. Like findImageOfTarget it has the group list its images, once, when the
/// group does not know the image of the state; nothing else asks for that list.
SFoundImage findImageOfState(const CCDPApplianceFactory& appliances, const SImportRequest& request,
                             const obzx_pdk_4_4::CFiTraceable& log);

/// The image that a target-device name stands for; its name goes into the state of the primary and the target. An image
/// that another process made is found when the state names the image of the name's own checkpoint.
/// @param tagged what stands behind the node prefix of the name
SFoundImage findImageOfTarget(const CCDPApplianceFactory& appliances, const SImportRequest& request,
                              std::string_view tagged, const obzx_pdk_4_4::CFiTraceable& log);

}  // namespace cdpfi
