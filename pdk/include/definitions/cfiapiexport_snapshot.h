#pragma once

// Definitions of entry points, included by cfiapiexport.h alone: taking a snapshot. Contracts: obz_entry_points.h.

#ifndef FI_ENTRY
#error "include cfiapiexport.h"
#endif

namespace obzx_pdk_4_4 {

extern "C" {

int32_t FI_ENTRY(preselect)(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().run([&] { return CFiSessionCalls::preselect(session, list); });
}

int32_t FI_ENTRY(select)(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().run([&] { return CFiSessionCalls::select(session, list); });
}

int32_t FI_ENTRY(pre_prepare)(const char* session)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::prePrepare, session);
}

int32_t FI_ENTRY(prepare)(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count, int32_t flags)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().run([&] { return CFiSessionCalls::prepare(session, list, flags); });
}

int32_t FI_ENTRY(quiesce)(obz_splitnode* node, obz_splitnode** nodes, int32_t count)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::quiesce, list.nodes(), list.count());
}

int32_t FI_ENTRY(make)(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                       obzx_objid*** identities, int32_t* identity_count)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().run(
        [&] { return CFiSessionCalls::make(session, list, identities, identity_count); });
}

void FI_ENTRY(unquiesce)(obz_splitnode* node, obz_splitnode** nodes, int32_t count)
{
    CFiNodeArgument list(node, nodes, count);
    CFiEntry(FI_HERE).call(&CFiPluginBase::unquiesce, list.nodes(), list.count());
}

int32_t FI_ENTRY(isready)(obz_splitnode* node, obz_splitnode** nodes, int32_t count, int32_t* ready)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::isReady, list.nodes(), list.count(), ready);
}

int32_t FI_ENTRY(verify_qscombos)(obz_splitnode* node, obz_splitnode** nodes, int32_t count)
{
    CFiNodeArgument list(node, nodes, count);
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::verifyQSCombos, list.nodes(), list.count());
}

int32_t FI_ENTRY(update_snapshot_handle)(const char* session, obz_snaphandle* handle)
{
    return CFiEntry(FI_HERE).gated().run([&] { return CFiSessionCalls::updateSnapshotHandle(session, handle); });
}

int32_t FI_ENTRY(update_snapshot_id)(const char* session, const char* id)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::updateSnapshotId, session, id);
}

int32_t FI_ENTRY(getSnapshotSetId)(const char* session, char** id)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getSnapshotSetId, session, id);
}

int32_t FI_ENTRY(createSnapReplicaNode)(obz_domain* node, obz_snapreplica_ele** replica)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::createSnapReplicaNode, node, replica);
}

int32_t FI_ENTRY(get_snapdiff)(const char* first, const char* second, obz_objid_list** differences)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::getSnapdiff, first, second, differences);
}

int32_t FI_ENTRY(cache_disable)(obz_domain* node)
{
    return CFiEntry(FI_HERE).gated().call(&CFiPluginBase::cacheDisable, node, 0);
}

void FI_ENTRY(cache_enable)(obz_domain* node)
{
    CFiEntry(FI_HERE).call(&CFiPluginBase::cacheEnable, node, 0);
}

}  // extern "C"

}  // namespace obzx_pdk_4_4
