#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: nodes. Contracts: obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(init_node)(obz_domain* node, obz_domain** list, int32_t count, obzx_objid* identity)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::initNode, node, list, count, identity);
}

void FI_ENTRY(deinit_node)(obz_domain* node)
{
    CFiEntry(FI_HERE).call(&CFiPluginBase::deInitNode, node);
}

int32_t FI_ENTRY(init_altnode)(obz_domain* primary, obz_domain* second, obz_domain* target)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::initAltNode, primary, second, target, false);
}

int32_t FI_ENTRY(init_remnode)(obz_domain* primary, obz_domain* second, obz_domain* target)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::initAltNode, primary, second, target, true);
}

int32_t FI_ENTRY(process_providerstate)(obz_domain* node, obz_blob* blob, obz_op_providerstate operation)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::processProviderState, node, blob, operation);
}

int32_t FI_ENTRY(reaccess_tmpobj)(obz_domain* node, obzx_objid** identity)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::reAccessTmpObj, node, identity);
}

int32_t FI_ENTRY(reaccess_altnode)(obz_domain* node, obzx_objid** identity)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::reAccessAltNode, node, identity);
}

int32_t FI_ENTRY(subobj_list)(obz_domain* node, obzx_objid*** subobjects, int32_t* count)
{
    return CFiEntry(FI_HERE)
        .gated()
        .clearing(subobjects, count)
        .needing(node, subobjects, count)
        .call(&CFiPluginBase::subobjList, node, subobjects, count);
}

int32_t FI_ENTRY(check_node_existence)(obz_domain* node, int32_t* exists)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::checkNodeExistence, node, exists);
}

int32_t FI_ENTRY(refresh_tree)(obz_domain* node)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::refreshTree, node);
}

int32_t FI_ENTRY(revisit_pgn_nodes)(obz_pgn_node_list* nodes)
{
    return CFiEntry(FI_HERE).call(&CFiPluginBase::revisitPluginNodes, nodes);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
