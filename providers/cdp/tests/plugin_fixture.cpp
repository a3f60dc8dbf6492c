#include "providers/cdp/tests/plugin_fixture.h"

#include <unistd.h>

#include "base/tests/text_file.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/tests/support/expected_file.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiContextSingleton;

CNode::CNode(const char* name) : m_identity(obzx_get_objid(name, 0, OBZ_OBJID_TYPE_DEVICE))
{
    m_node.identity = m_identity;
    m_node.access = &m_access;
    m_node.name = m_identity == nullptr ? nullptr : m_identity->name;
}

CNode::~CNode()
{
    const auto plugin = CFiContextSingleton<CCDPPlugin, FI_PLUGIN_NAME>::instance(false);
    if (m_node.private_data != nullptr || m_node.combos != nullptr) plugin->deInitNode(&m_node);
    if (m_node.identity != m_identity) obzx_free_objid(m_node.identity);
    obzx_free_objid(m_identity);
}

CPluginTest::CPluginTest()
{
    m_context.callback = receive;
    m_context.user = this;
}

CPluginTest::~CPluginTest()
{
    if (m_started) fini();
    forget();
}

void CPluginTest::forget()
{
    CFiContextSingleton<CCDPApplianceFactory, FI_PLUGIN_NAME>::instance(true);
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr({});
    CLMRAppliance::setCLMRApplianceToolSingletonPtr({});
    CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>::instance(true);
    CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>::instance(true);
}

void CPluginTest::receive(obz_context* context, const char* localized, const char* text, obz_eseverity severity)
{
    static_cast<CPluginTest*>(context->user)->m_messages.push_back({localized, text, severity});
}

int32_t CPluginTest::init(const char* locale)
{
    if (locale != nullptr) {
        m_locale = locale;
        m_localeText = m_locale.data();
        m_context.locale = &m_localeText;
    }
    obz_version version{};
    m_started = true;
    return cdpfi_fi_pgn_init(&m_context, &version, nullptr);
}

void CPluginTest::start()
{
    ASSERT_EQ(OBZ_OK, init());
    m_scenario.takeCommands();
    m_trace.clear();
}

void CPluginTest::fini()
{
    cdpfi_fi_pgn_fini();
    m_started = false;
}

CCDPPlugin& CPluginTest::plugin()
{
    return *CFiContextSingleton<CCDPPlugin, FI_PLUGIN_NAME>::instance(false);
}

int32_t CPluginTest::initNode(CNode& node)
{
    return plugin().initNode(node.get(), nullptr, 0, nullptr);
}

obzx_pdk_4_4::CFiSessionPtr CPluginTest::session(const char* name, const std::vector<CNode*>& nodes)
{
    auto session =
        CFiContextSingleton<obzx_pdk_4_4::CFiSessionManager, FI_PLUGIN_NAME>::instance(false)->getSession(name);
    std::vector<obz_splitnode> splits;
    for (CNode* node : nodes) {
        splits.push_back({nullptr, node->get()});
    }
    std::vector<obz_splitnode*> list;
    for (obz_splitnode& split : splits) {
        list.push_back(&split);
    }
    session->addNodes(list.data(), static_cast<int>(list.size()));
    return session;
}

std::string CPluginTest::targetName(const std::string& serial, const std::string& checkPoint)
{
    return "<cdpfi><DeviceID>" + serial + "<DeviceID/><Annotation>" + checkPoint + "<Annotation/>";
}

std::string CPluginTest::checkPoint()
{
    return "KSV_Check_Point_" + std::to_string(getpid());
}

std::string CPluginTest::timeImage()
{
    return "KSV_Time_Image_" + std::to_string(getpid());
}

void CPluginTest::expectTrace(const std::string& part)
{
    expectFile(EXPECTED_FOLDER, part.empty() ? ".trace" : "." + part + ".trace", base_test::joined(m_trace.take()));
}

std::string str(const CString& text)
{
    return {text.fast_rep(), text.length()};
}

}  // namespace cdpfi
