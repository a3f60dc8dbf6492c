#pragma once

#include <vector>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/model/base_volume.h"

namespace cdpfi {

/// A volume as the appliance lists it. Used by one thread.
class CLMRVolume : public CBaseVolume, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    CLMRVolume() = default;
    explicit CLMRVolume(CString name);

    void setName(CString name) override;
    CString getName() override;
    CString getSerNo() override;
    std::vector<CString> getConsGroupList() override;
    CString getSize() override;

  private:
    CString m_name;
    CString m_size;
    CString m_serNo;
    std::vector<CString> m_consGroupList;
};

}  // namespace cdpfi
