#include "providers/cdp/lmr/lmr_host.h"

#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

CLMRHost::CLMRHost(CString name) : m_name(copyOf(name)) {}

void CLMRHost::showHostDetail() {}

std::vector<CString> CLMRHost::getConsGroupList()
{
    return m_consGroupList;
}

CString CLMRHost::getName()
{
    return copyOf(m_name);
}

CString CLMRHost::getPortNumber()
{
    return copyOf(m_port);
}

int CLMRHost::addPortNumber(CString port)
{
    assign(m_port, port);
    return 1;
}

int CLMRHost::removePort(CString /*port*/)
{
    return 1;
}

void setProp(const std::vector<CString>& pieces, const CString& /*unused*/, std::vector<CString>& groups)
{
    if (pieces.size() >= 2 && bytesOf(pieces[0]).starts_with("Consistency Group:")) groups.push_back(pieces[1]);
}

void parseConsgp(const CString& /*text*/, CString& /*group*/, std::vector<CString>& /*pieces*/,
                 std::vector<CString>& /*groups*/)
{
}

}  // namespace cdpfi
