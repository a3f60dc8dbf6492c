#include "framework/include/cfiplugininterposer.h"

#include "framework/include/cfistringtool.h"
#include "framework/src/plugin/default_operation.h"

namespace obzx_pdk_4_4 {

CFiPluginInterposer::CFiPluginInterposer() = default;
CFiPluginInterposer::~CFiPluginInterposer() = default;

int32_t CFiPluginInterposer::isReady(obz_splitnode** nodes, int32_t count, int32_t* ready)
{
    clear(ready);
    if (anyNull(ready) || isBadList(nodes, count)) return OBZ_ERR_INVALID_ARG;
    *ready = 1;  // a copy behind an interposed node can be used from the moment it is made
    return OBZ_OK;
}

int32_t CFiPluginInterposer::checkNodeExistence(obz_domain* node, int32_t* exists)
{
    clear(exists);
    if (anyNull(node, exists)) return OBZ_ERR_INVALID_ARG;
    *exists = node->private_data != nullptr ? 1 : 0;  // a node that this provider set up has its data
    return OBZ_OK;
}

int32_t CFiPluginInterposer::importResource(obzx_objid* identity, int32_t transportable, int32_t flags)
{
    if (identity == nullptr) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "importResource",
                        [&] { return importNode(&identity, 1, transportable != 0, false, flags); });
}

int32_t CFiPluginInterposer::deportResource(obzx_objid* identity, int32_t transportable, int32_t flags)
{
    if (identity == nullptr) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "deportResource",
                        [&] { return importNode(&identity, 1, transportable != 0, true, flags); });
}

int32_t CFiPluginInterposer::importNode(obzx_objid** identities, int32_t count, bool transportable, bool unmap,
                                        int32_t flags)
{
    if (isBadList(identities, count)) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "importNode", [&]() -> int32_t {
        for (int32_t i = 0; i < count; ++i) {
            if (identities[i] == nullptr || identities[i]->name == nullptr) return OBZ_ERR_INVALID_ARG;
            const ACE_String_Base<char> name = CFiStringTool::str2tstr(identities[i]->name);
            const int32_t status = importNode(name, transportable, false, unmap, flags);
            if (status != OBZ_OK) return status;
        }
        return OBZ_OK;
    });
}

int32_t CFiPluginInterposer::importNode(const ACE_String_Base<char>&, bool, bool, bool, int32_t)
{
    return OBZ_ERR_UNSUPPORTED;
}

int32_t CFiPluginInterposer::addIgnoreNodeType(int32_t type)
{
    if (type == 0) return OBZ_ERR_INVALID_ARG;  // stands for no entry
    for (int32_t& entry : m_ignoredNodeTypes) {
        if (entry == type) return OBZ_OK;
        if (entry != 0) continue;
        entry = type;
        return OBZ_OK;
    }
    return OBZ_ERR_FAILED;
}

int32_t CFiPluginInterposer::setDefaultNodeType(int32_t type)
{
    m_defaultNodeType = type;
    return OBZ_OK;
}

void CFiPluginInterposer::addFim(const ACE_String_Base<char>& fimName, const ACE_String_Base<char>& splitName,
                                 const ACE_String_Base<char>& quiesceName, int32_t access,
                                 const ACE_String_Base<char>& options)
{
    m_fims.push_back(SFiAnnouncedFim{CFiStringTool::tstr2str(fimName), CFiStringTool::tstr2str(splitName),
                                     CFiStringTool::tstr2str(quiesceName), access, CFiStringTool::tstr2str(options)});
}

std::vector<SFiAnnouncedFim> CFiPluginInterposer::getFims(const ACE_String_Base<char>&) const
{
    return m_fims;
}

ACE_String_Base<char> CFiPluginInterposer::getInterposeNodePrefix() const
{
    return CFiStringTool::str2tstr("<" + CFiStringTool::tstr2str(m_providerName) + ">");
}

}  // namespace obzx_pdk_4_4
