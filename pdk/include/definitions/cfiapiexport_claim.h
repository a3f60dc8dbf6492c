#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: claiming. Contracts: obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(interpose)(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* group_count)
{
    return CFiEntry(FI_HERE).run([&] { return CFiSingleCalls::interpose(node, interposed, groups, group_count); });
}

int32_t FI_ENTRY(claim)(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondary_count)
{
    return CFiEntry(FI_HERE)
        .failingWith(OBZ_CLAIM_NONE)
        .clearing(secondaries, secondary_count)
        .needing(primary, secondaries, secondary_count)
        .call(&CFiPluginBase::claim, primary, secondaries, secondary_count);
}

int32_t FI_ENTRY(supports_fitype)(obz_domain* node, const char* fim)
{
    return CFiEntry(FI_HERE).failingWith(0).call(&CFiPluginBase::supportsFiType, node, fim);
}

int32_t FI_ENTRY(getattr)(obz_domain* node, obz_attributes** attributes)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getAttr, node, attributes);
}

int32_t FI_ENTRY(is_parent_pgn)(obz_domain* node, const char* provider, int32_t* is_parent)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::isParentPgn, node, provider, is_parent);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
