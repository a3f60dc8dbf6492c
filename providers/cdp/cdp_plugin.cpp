#include "providers/cdp/cdp_plugin.h"

#include "pdk/include/cficontextsingleton.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

CCDPPlugin::CCDPPlugin() = default;

CCDPPlugin::~CCDPPlugin() = default;

CCDPPlugin::CRegistryPtr CCDPPlugin::registry()
{
    return obzx_pdk_4_4::CFiContextSingleton<CCDPApplianceFactory, FI_PLUGIN_NAME>::instance(false);
}

CString CCDPPlugin::nodePrefix() const
{
    return join({"<", bytesOf(m_providerName), ">"});
}

bool CCDPPlugin::isInterposed(const CString& name) const
{
    return contains(bytesOf(name), bytesOf(nodePrefix()));
}

CString CCDPPlugin::behindPrefix(const CString& name) const
{
    const CString prefix = nodePrefix();
    const size_t place = bytesOf(name).find(bytesOf(prefix));
    return place == std::string_view::npos ? CString() : restFrom(name, place + prefix.length());
}

CCDPPrivateData* CCDPPlugin::GetPrivateData(obz_domain* node)
{
    if (node == nullptr || node->private_data == nullptr || !m_privateDataManager) return nullptr;
    return dynamic_cast<CCDPPrivateData*>(m_privateDataManager->access(node).get());
}

CCDPPrivateData* CCDPPlugin::obtainPrivateData(obz_domain* node, bool isAltNode)
{
    if (!m_privateDataManager) return nullptr;
    return dynamic_cast<CCDPPrivateData*>(m_privateDataManager->allocate(node, isAltNode).get());
}

}  // namespace cdpfi
