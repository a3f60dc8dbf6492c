#include "providers/cdp/lmr/lmr_volume.h"

namespace cdpfi {

CLMRVolume::CLMRVolume(CString name) : m_name(name) {}

void CLMRVolume::setName(CString name)
{
    m_name = name;
}

CString CLMRVolume::getName()
{
    return m_name;
}

CString CLMRVolume::getSerNo()
{
    return m_serNo;
}

std::vector<CString> CLMRVolume::getConsGroupList()
{
    return m_consGroupList;
}

CString CLMRVolume::getSize()
{
    return m_size;
}

}  // namespace cdpfi
