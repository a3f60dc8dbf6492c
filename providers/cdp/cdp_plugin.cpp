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

std::string CCDPPlugin::nodePrefix() const
{
    return std::string("<").append(bytesOf(m_providerName)).append(">");
}

bool CCDPPlugin::isInterposed(const CString& name) const
{
    return contains(bytesOf(name), nodePrefix());
}

std::string_view CCDPPlugin::behindPrefix(const CString& name) const
{
    const std::string prefix = nodePrefix();
    const size_t place = bytesOf(name).find(prefix);
    return place == std::string_view::npos ? std::string_view() : bytesOf(name).substr(place + prefix.size());
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
