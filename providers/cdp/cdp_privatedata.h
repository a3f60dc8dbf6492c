#pragma once

#include "framework/include/cfiprivatedata.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * What the provider knows of a node: where its device lives on which appliance, and what was made of it. The fields are
 * plain data of the plug-in's operations; all are empty until one of them, or a state from the host, fills them.
 *
 * State of a node, as the host keeps it between calls and processes (string encoding, the NUL counts):
 *
 *     <ApplianceType>Lumora</ApplianceType>
 *     <ApplianceName>server1</ApplianceName>
 *     <ConsistencyGroup>cg1</ConsistencyGroup>
 *     <TimeImage></TimeImage>
 *     <CheckPointName>KSV_Check_Point_4711</CheckPointName>
 *     <SerialNo>ABC123</SerialNo>
 */
class CCDPPrivateData : public obzx_pdk_4_4::CFiPrivateData
{
  public:
    CCDPPrivateData(obzx_objid* identity, bool isAltNode);
    ~CCDPPrivateData() override;

    /// Fills the blob; its data comes from obzx_alloc_buf and is the caller's. Always 0.
    /// @throw std::bad_alloc the blob is then untouched
    int32_t getNodeState(obz_blob* blob) const;
    /// Reads all six fields from a text in string encoding, which need not end in a NUL; anything else leaves them as
    /// they were. A field that the text does not name is assigned too, see taggedValue. Always 0.
    /// @throw std::bad_alloc all fields are then as they were
    int32_t setNodeState(const obz_blob* blob);

    CString m_applianceType;
    CString m_applianceName;
    CString m_serialNo;  ///< LUN serial of the node's device
    CString m_consistencyGroup;
    CString m_timeImage;
    CString m_checkPointName;
};

}  // namespace cdpfi
