#pragma once

#include <vector>

#include "providers/cdp/model/base_host.h"

namespace cdpfi {

/// A host as the appliance lists it.
class CLMRHost : public CBaseHost
{
  public:
    CLMRHost() = default;
    explicit CLMRHost(CString name);

    void showHostDetail() override;  ///< does nothing
    std::vector<CString> getConsGroupList() override;
    CString getName() override;
    CString getPortNumber() override;
    int addPortNumber(CString port) override;  ///< replaces the port; nothing is sent
    int removePort(CString port) override;     ///< changes nothing

  private:
    CString m_name;
    CString m_port;
    std::vector<CString> m_consGroupList;
};

/// Appends the second piece of a line when the first one begins with "Consistency Group:".
void setProp(const std::vector<CString>& pieces, const CString& unused, std::vector<CString>& groups);
/// Does nothing.
void parseConsgp(const CString& text, CString& group, std::vector<CString>& pieces, std::vector<CString>& groups);

}  // namespace cdpfi
