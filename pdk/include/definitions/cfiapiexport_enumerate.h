#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: enumerations. Contracts: obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(enumerate_nodes)(obz_objid_list** nodes, const char* filter)
{
    return CFiEntry(FI_HERE).needing(nodes).call(&CFiPluginBase::enumerateNodes, nodes, filter);
}

int32_t FI_ENTRY(enumerate_group_nodes)(obz_objid_list** nodes, const char* filter)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::enumerateGroupNodes, nodes, filter);
}

int32_t FI_ENTRY(enumerate_associations)(obz_association_list** associations)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::enumerateAssociations, associations);
}

int32_t FI_ENTRY(isvalid_node_association)(obzx_objid* first, obzx_objid* second, int32_t* valid)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::isValidNodeAssociation, first, second, valid);
}

int32_t FI_ENTRY(get_associated_nodes)(obzx_objid* identity, obz_objid_list** nodes)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getAssociatedNodes, identity, nodes);
}

int32_t FI_ENTRY(enumerate_enclosures)(obz_objid_list** enclosures)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::enumerateEnclosures, enclosures);
}

int32_t FI_ENTRY(enumerate_host_nodes)(obz_objid_list** hosts)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::enumerateHostNodes, hosts);
}

int32_t FI_ENTRY(query_valid_secondaries)(obz_domain* node, obz_objid_list** secondaries)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::queryValidSecondaries, node, secondaries);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
