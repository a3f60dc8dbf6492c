// Defaults of the operations that take a snapshot, in the order of its phases.
#include <vector>

#include "framework/include/cfipluginbase.h"
#include "framework/src/plugin/default_operation.h"
#include "framework/src/state/snapshot_handle.h"

namespace obzx_pdk_4_4 {

int32_t CFiPluginBase::preselect(const char* session, obz_splitnode** nodes, int32_t count)
{
    return done(anyNull(session) || !isWholeNodeList(nodes, count));
}

int32_t CFiPluginBase::select(const char* session, obz_splitnode** nodes, int32_t count)
{
    return done(anyNull(session) || !isWholeNodeList(nodes, count));
}

int32_t CFiPluginBase::selectSnapshots(CFiSessionPtr& session)
{
    if (!session) return OBZ_ERR_INVALID_ARG;
    session->markSelected();
    return OBZ_OK;
}
int32_t CFiPluginBase::prePrepare(const char* session)
{
    return done(anyNull(session));
}

int32_t CFiPluginBase::prepare(const char* session, obz_splitnode** nodes, int32_t count, int32_t)
{
    return anyNull(session) || !isWholeNodeList(nodes, count) ? OBZ_ERR_INVALID_ARG : OBZ_USE_SESSION;
}

int32_t CFiPluginBase::prepareSnapshots(CFiSessionPtr& session)
{
    if (!session) return OBZ_ERR_INVALID_ARG;
    session->markPrepared();
    return OBZ_OK;
}

int32_t CFiPluginBase::quiesce(obz_splitnode** nodes, int32_t count)
{
    return done(isBadList(nodes, count));
}
int32_t CFiPluginBase::unquiesce(obz_splitnode** nodes, int32_t count)
{
    return done(isBadList(nodes, count));
}

int32_t CFiPluginBase::make(const char* session, obz_splitnode** nodes, int32_t count, obzx_objid*** identities,
                            int32_t* identityCount)
{
    clear(identities);
    clear(identityCount);
    const bool isBad = anyNull(session, identities, identityCount) || !isWholeNodeList(nodes, count);
    return isBad ? OBZ_ERR_INVALID_ARG : OBZ_USE_SESSION;
}

int32_t CFiPluginBase::makeSnapshots(CFiSessionPtr& session)
{
    return unsupported(anyNull(session.get()));
}

int32_t CFiPluginBase::isReady(obz_splitnode** nodes, int32_t count, int32_t* ready)
{
    clear(ready);
    return done(anyNull(ready) || isBadList(nodes, count));
}

int32_t CFiPluginBase::verifyQSCombos(obz_splitnode** nodes, int32_t count)
{
    return done(isBadList(nodes, count));
}

int32_t CFiPluginBase::updateSnapshotHandle(CFiSessionPtr& session, obz_snaphandle* handle)
{
    clear(handle);
    if (!session || handle == nullptr) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "updateSnapshotHandle",
                        [&]() -> int32_t { return fillSnapshotHandle(*session, *handle) ? OBZ_OK : OBZ_ERR_FAILED; });
}

int32_t CFiPluginBase::updateSnapshotId(const char* session, const char* id)
{
    return done(anyNull(session, id));
}

int32_t CFiPluginBase::getSnapshotSetId(const char* session, char** id)
{
    return nothing(id, session);
}

int32_t CFiPluginBase::createSnapReplicaNode(obz_domain* node, obz_snapreplica_ele** replica)
{
    clear(replica);
    return unsupported(anyNull(node, replica));
}

int32_t CFiPluginBase::getSnapdiff(const char* first, const char* second, obz_objid_list** differences)
{
    clear(differences);
    return unsupported(anyNull(first, second, differences));
}

int32_t CFiPluginBase::cacheDisable(obz_domain* node, int32_t)
{
    return done(anyNull(node));
}
int32_t CFiPluginBase::cacheEnable(obz_domain* node, int32_t)
{
    return done(anyNull(node));
}
int32_t CFiPluginBase::cacheFlush(obz_domain* node, int32_t)
{
    return done(anyNull(node));
}

}  // namespace obzx_pdk_4_4
