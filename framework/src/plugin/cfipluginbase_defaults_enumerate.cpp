// Defaults of the operations that describe the provider and list what it knows: nothing.
#include "framework/include/cfipluginbase.h"
#include "framework/src/plugin/default_operation.h"

namespace obzx_pdk_4_4 {

int32_t CFiPluginBase::getProviderInfo(obz_provider_list** provider)
{
    return nothing(provider);
}

int32_t CFiPluginBase::enumerateFims(obz_fim_list** fims)
{
    return nothing(fims);
}

int32_t CFiPluginBase::enumerateNodes(obz_objid_list** nodes, const char*)
{
    return nothing(nodes);
}

int32_t CFiPluginBase::enumerateGroupNodes(obz_objid_list** nodes, const char*)
{
    return nothing(nodes);
}

int32_t CFiPluginBase::enumerateAssociations(obz_association_list** associations)
{
    return nothing(associations);
}

int32_t CFiPluginBase::isValidNodeAssociation(obzx_objid* first, obzx_objid* second, int32_t* valid)
{
    return nothing(valid, first, second);
}

int32_t CFiPluginBase::getAssociatedNodes(obzx_objid* identity, obz_objid_list** nodes)
{
    return nothing(nodes, identity);
}

int32_t CFiPluginBase::enumerateEnclosures(obz_objid_list** enclosures)
{
    return nothing(enclosures);
}

int32_t CFiPluginBase::enumerateHostNodes(obz_objid_list** hosts)
{
    return nothing(hosts);
}

int32_t CFiPluginBase::queryValidSecondaries(obz_domain* node, obz_objid_list** secondaries)
{
    return nothing(secondaries, node);
}

}  // namespace obzx_pdk_4_4
