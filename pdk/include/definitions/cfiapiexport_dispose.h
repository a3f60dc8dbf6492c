#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: disposal, restore and status. Contracts:
// obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(dispose)(obz_domain* node, obz_domain* target, obz_splitnode* split, obz_disposition disposition)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::dispose, node, target, split, disposition);
}

int32_t FI_ENTRY(restore)(obzx_objid** from, obzx_objid** to, long count, char* session, char* path, char*** files,
                          long* file_count, long flags, long* status)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::restore, from, to, count, session, path, files, file_count,
                                          flags, status);
}

int32_t FI_ENTRY(resync)(obz_domain* node, obz_domain* target)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::resync, node, target);
}

int32_t FI_ENTRY(get_backupset)(const char* session, obz_bkupset** set)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getBackupset, session, set);
}

int32_t FI_ENTRY(set_restorepaths)(const char* session, char** paths, int32_t count)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::setRestorepaths, session, paths, count);
}

int32_t FI_ENTRY(set_op_status)(const char* session, int32_t status)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::setOpStatus, session, status);
}

int32_t FI_ENTRY(set_comp_status)(const char* session, const char* component, int32_t status)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::setCompStatus, session, component, status);
}

int32_t FI_ENTRY(get_app_status)(const char* session, int32_t* status)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getAppStatus, session, status);
}

int32_t FI_ENTRY(get_status)(obz_domain* node, int32_t* status)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getStatus, node, status);
}

int32_t FI_ENTRY(res_status)(obz_domain* node, int32_t* status)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::resourceStatus, node, status);
}

int32_t FI_ENTRY(format)(obz_domain* node)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::format, node);
}

int32_t FI_ENTRY(unformat)(obz_domain* node)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::unformat, node);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
