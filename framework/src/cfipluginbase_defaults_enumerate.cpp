// Defaults of the operations that describe the provider and list what it knows: nothing.
#include "framework/include/cfipluginbase.h"
#include "framework/src/default_operation.h"

namespace obzx_pdk_4_4 {

int32_t CFiPluginBase::getProviderInfo(obz_provider_list** provider)
{
    clear(provider);
    return done(anyNull(provider));
}

int32_t CFiPluginBase::enumerateFims(obz_fim_list** fims)
{
    clear(fims);
    return done(anyNull(fims));
}

int32_t CFiPluginBase::enumerateNodes(obz_objid_list** nodes, const char*)
{
    clear(nodes);
    return done(anyNull(nodes));
}

int32_t CFiPluginBase::enumerateGroupNodes(obz_objid_list** nodes, const char*)
{
    clear(nodes);
    return done(anyNull(nodes));
}

int32_t CFiPluginBase::enumerateAssociations(obz_association_list** associations)
{
    clear(associations);
    return done(anyNull(associations));
}

int32_t CFiPluginBase::isValidNodeAssociation(obzx_objid* first, obzx_objid* second, int32_t* valid)
{
    clear(valid);
    return done(anyNull(first, second, valid));
}

int32_t CFiPluginBase::getAssociatedNodes(obzx_objid* identity, obz_objid_list** nodes)
{
    clear(nodes);
    return done(anyNull(identity, nodes));
}

int32_t CFiPluginBase::enumerateEnclosures(obz_objid_list** enclosures)
{
    clear(enclosures);
    return done(anyNull(enclosures));
}

int32_t CFiPluginBase::enumerateHostNodes(obz_objid_list** hosts)
{
    clear(hosts);
    return done(anyNull(hosts));
}

int32_t CFiPluginBase::queryValidSecondaries(obz_domain* node, obz_objid_list** secondaries)
{
    clear(secondaries);
    return done(anyNull(node, secondaries));
}

}  // namespace obzx_pdk_4_4
