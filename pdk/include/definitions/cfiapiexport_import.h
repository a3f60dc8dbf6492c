#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: bringing a copy to a host. Contracts:
// obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(import_tree)(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t count,
                              obzx_objid** list)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::importTreeNode, primary, input, output, count, list);
}

int32_t FI_ENTRY(deport_tree)(obz_domain* node, obz_domain* target, obz_accessnode* access)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::deportTree, node, target, access);
}

int32_t FI_ENTRY(build_alttree)(obz_domain* primary, obz_domain* target)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::buildAltTree, primary, target);
}

int32_t FI_ENTRY(start_build_alttree)(obz_domain* primary)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::startBuildAltTree, primary);
}

int32_t FI_ENTRY(set_import_options)(obz_splitnode* node, obz_splitnode** nodes, int32_t count, const char* options)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::setImportOptions, list.nodes(), list.count(), options);
}

int32_t FI_ENTRY(import_resource)(obzx_objid* identity, int32_t transportable, int32_t flags)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::importResource, identity, transportable, flags);
}

int32_t FI_ENTRY(deport_resource)(obzx_objid* identity, int32_t transportable, int32_t flags)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::deportResource, identity, transportable, flags);
}

int32_t FI_ENTRY(pre_deport_resource)(obzx_objid* identity)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::preDeportResource, identity);
}

int32_t FI_ENTRY(post_deport)(obz_domain* node)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::postDeport, node);
}

int32_t FI_ENTRY(online)(obz_domain* node, obz_domain* target, obz_disposition disposition)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::online, node, target, disposition);
}

int32_t FI_ENTRY(online_resource)(obzx_objid* identity)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::onlineResource, identity);
}

int32_t FI_ENTRY(enable_access)(obz_domain* node, obz_host_infn* hosts)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::enableAccess, node, hosts);
}

int32_t FI_ENTRY(disable_access)(obz_domain* node, obz_host_infn* hosts)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::disableAccess, node, hosts);
}

int32_t FI_ENTRY(translate_resource_names)(char** names, int32_t count, char*** translated)
{
    return CFiEntry(FI_HERE)
        .gated()
        .clearing(translated)
        .needing(names, translated)
        .requiring(count == 0)
        .call(&CFiPluginBase::translateResourceNames, names, 0, translated);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
