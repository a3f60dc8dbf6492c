#include "providers/cdp/lmr/lmr_volume.h"

namespace cdpfi {

CLMRVolume::CLMRVolume(CString name) : m_name(copyOf(name)) {}

void CLMRVolume::setName(CString name)
{
    assign(m_name, name);
}

CString CLMRVolume::getName()
{
    return copyOf(m_name);
}

CString CLMRVolume::getSerNo()
{
    return copyOf(m_serNo);
}

std::vector<CString> CLMRVolume::getConsGroupList()
{
    return m_consGroupList;
}

CString CLMRVolume::getSize()
{
    return copyOf(m_size);
}

}  // namespace cdpfi
