// Defaults of the operations on nodes: claiming, set-up, state and imports.
#include "framework/include/cfipluginbase.h"
#include "framework/src/plugin/default_operation.h"

namespace obzx_pdk_4_4 {

int32_t CFiPluginBase::claim(obzx_objid*, obzx_objid*** secondaries, int32_t* secondaryCount)
{
    clear(secondaries);
    clear(secondaryCount);
    return OBZ_CLAIM_NONE;
}

int32_t CFiPluginBase::supportsFiType(obz_domain* node, const char*)
{
    if (node != nullptr && node->access != nullptr) *node->access = OBZ_ACCESS_NONE;
    return 0;
}

int32_t CFiPluginBase::interpose(obz_domain*, obzx_objid** interposed, obzx_objid*** groups, int32_t* groupCount)
{
    clear(interposed);
    clear(groups);
    clear(groupCount);
    return 0;  // nothing is put before the node
}

int32_t CFiPluginBase::initNode(obz_domain* node, obz_domain**, int32_t, obzx_objid*)
{
    return done(anyNull(node));
}

int32_t CFiPluginBase::deInitNode(obz_domain* node)
{
    if (node == nullptr) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "deInitNode", [&]() -> int32_t {
        if (m_privateDataManager) m_privateDataManager->deallocate(node);
        return OBZ_OK;
    });
}

int32_t CFiPluginBase::initAltNode(obz_domain* primary, obz_domain*, obz_domain* target, bool)
{
    return unsupported(anyNull(primary, target));
}

int32_t CFiPluginBase::importTreeNode(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t,
                                      obzx_objid**)
{
    clear(output);
    return unsupported(anyNull(primary, input, output));
}

// Which of its arguments a provider needs to take an import back is its own affair, so none is required here.
int32_t CFiPluginBase::deportTree(obz_domain*, obz_domain*, obz_accessnode*)
{
    return OBZ_ERR_UNSUPPORTED;
}

int32_t CFiPluginBase::reAccessTmpObj(obz_domain* node, obzx_objid** identity)
{
    return nothing(identity, node);
}

int32_t CFiPluginBase::reAccessAltNode(obz_domain* node, obzx_objid** identity)
{
    return nothing(identity, node);
}

int32_t CFiPluginBase::subobjList(obz_domain* node, obzx_objid*** subobjects, int32_t* count)
{
    clear(subobjects);
    return nothing(count, node, subobjects);
}

int32_t CFiPluginBase::getAttr(obz_domain* node, obz_attributes** attributes)
{
    return nothing(attributes, node);
}

int32_t CFiPluginBase::checkNodeExistence(obz_domain* node, int32_t* exists)
{
    return nothing(exists, node);
}

int32_t CFiPluginBase::isParentPgn(obz_domain* node, const char* provider, int32_t* isParent)
{
    return nothing(isParent, node, provider);
}

int32_t CFiPluginBase::refreshTree(obz_domain* node)
{
    return done(anyNull(node));
}
int32_t CFiPluginBase::revisitPluginNodes(obz_pgn_node_list* nodes)
{
    return done(anyNull(nodes));
}

int32_t CFiPluginBase::processProviderState(obz_domain* node, obz_blob* blob, obz_op_providerstate operation)
{
    if (operation == OBZ_STATE_GET) clear(blob);
    if (anyNull(node, blob)) return OBZ_ERR_INVALID_ARG;
    // A provider that keeps no state has none to give, and a state that comes back to it tells it nothing.
    if (operation == OBZ_STATE_SET) return OBZ_OK;
    if (operation != OBZ_STATE_GET) return OBZ_ERR_INVALID_ARG;
    blob->encoding = OBZ_ENCODING_STRING;
    return OBZ_OK;
}

int32_t CFiPluginBase::buildAltTree(obz_domain* primary, obz_domain* target)
{
    return done(anyNull(primary, target));
}
int32_t CFiPluginBase::startBuildAltTree(obz_domain* primary)
{
    return done(anyNull(primary));
}
int32_t CFiPluginBase::addIgnoreNodeType(int32_t)
{
    return OBZ_ERR_UNSUPPORTED;
}
int32_t CFiPluginBase::setDefaultNodeType(int32_t)
{
    return OBZ_ERR_UNSUPPORTED;
}

}  // namespace obzx_pdk_4_4
