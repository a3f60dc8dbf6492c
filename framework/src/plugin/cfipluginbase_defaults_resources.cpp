// Defaults of the operations on copies and resources: bringing them to a host, disposing of them, their status.
#include "framework/include/cfipluginbase.h"
#include "framework/src/plugin/default_operation.h"

namespace obzx_pdk_4_4 {

int32_t CFiPluginBase::setImportOptions(obz_splitnode** nodes, int32_t count, const char* options)
{
    return done(anyNull(options) || isBadList(nodes, count));
}

int32_t CFiPluginBase::importResource(obzx_objid* identity, int32_t, int32_t)
{
    return unsupported(anyNull(identity));
}
int32_t CFiPluginBase::deportResource(obzx_objid* identity, int32_t, int32_t)
{
    return unsupported(anyNull(identity));
}
int32_t CFiPluginBase::preDeportResource(obzx_objid* identity)
{
    return done(anyNull(identity));
}
int32_t CFiPluginBase::postDeport(obz_domain* node)
{
    return done(anyNull(node));
}

int32_t CFiPluginBase::online(obz_domain* node, obz_domain* target, obz_disposition)
{
    return done(anyNull(node, target));
}

int32_t CFiPluginBase::onlineResource(obzx_objid* identity)
{
    return done(anyNull(identity));
}

int32_t CFiPluginBase::enableAccess(obz_domain* node, obz_host_infn* hosts)
{
    return unsupported(anyNull(node, hosts));
}
int32_t CFiPluginBase::disableAccess(obz_domain* node, obz_host_infn* hosts)
{
    return unsupported(anyNull(node, hosts));
}

int32_t CFiPluginBase::translateResourceNames(char** names, int32_t, char*** translated)
{
    return nothing(translated, names);
}

int32_t CFiPluginBase::dispose(obz_domain* node, obz_domain* target, obz_splitnode*, obz_disposition)
{
    return unsupported(anyNull(node, target));
}

// What a provider needs to restore from is its own affair, so nothing is required here.
int32_t CFiPluginBase::restore(obzx_objid**, obzx_objid**, long, char*, char*, char*** files, long* fileCount, long,
                               long* status)
{
    clear(files);
    clear(fileCount);
    clear(status);
    return OBZ_ERR_UNSUPPORTED;
}

int32_t CFiPluginBase::resync(obz_domain* node, obz_domain* target)
{
    return unsupported(anyNull(node, target));
}
int32_t CFiPluginBase::format(obz_domain* node)
{
    return unsupported(anyNull(node));
}
int32_t CFiPluginBase::unformat(obz_domain* node)
{
    return unsupported(anyNull(node));
}

int32_t CFiPluginBase::getBackupset(const char* session, obz_bkupset** set)
{
    return nothing(set, session);
}

int32_t CFiPluginBase::setRestorepaths(const char* session, char** paths, int32_t count)
{
    return done(anyNull(session) || isBadList(paths, count));
}

int32_t CFiPluginBase::setOpStatus(const char* session, int32_t)
{
    return done(anyNull(session));
}

int32_t CFiPluginBase::setCompStatus(const char* session, const char* component, int32_t)
{
    return done(anyNull(session, component));
}

int32_t CFiPluginBase::getAppStatus(const char* session, int32_t* status)
{
    return nothing(status, session);
}

int32_t CFiPluginBase::getStatus(obz_domain* node, int32_t* status)
{
    return nothing(status, node);
}

int32_t CFiPluginBase::resourceStatus(obz_domain* node, int32_t* status)
{
    return nothing(status, node);
}

int64_t CFiPluginBase::objctl(const ACE_String_Base<char>&, CFiObjctlArgs&)
{
    return OBZ_ERR_UNSUPPORTED;
}

}  // namespace obzx_pdk_4_4
