#pragma once

#include <vector>

#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfientryguard.h"
#include "pdk/include/cfisessionmgr.h"

namespace obzx_pdk_4_4 {

/**
 * Calls that may go through a session. An operation that answers OBZ_USE_SESSION asks for its session form, which is
 * given the session of that name. A null name gives OBZ_ERR_INVALID_ARG as soon as the session is needed, a list of
 * nodes with a gap before the plug-in is asked.
 */
template <class Plugin>
class FI_PRIVATE CFiEntrySession
{
  public:
    /// Adds the nodes to the session; the plug-in is not asked.
    static int32_t preselect(const char* name, CFiNodeArgument& nodes)
    {
        if (nodes.hasGap()) return OBZ_ERR_INVALID_ARG;
        CFiSessionPtr session;
        return addNodes(name, nodes, session);
    }

    /// Adds the nodes that the plug-in agrees to.
    static int32_t select(const char* name, CFiNodeArgument& nodes)
    {
        if (nodes.hasGap()) return OBZ_ERR_INVALID_ARG;
        const int32_t status = call(&CFiPluginBase::select, name, nodes.nodes(), nodes.count());
        if (status != OBZ_OK && status != OBZ_USE_SESSION) return status;
        CFiSessionPtr session;
        const int32_t added = addNodes(name, nodes, session);
        if (added != OBZ_OK || status == OBZ_OK) return added;
        return call(&CFiPluginBase::selectSnapshots, session);
    }

    /// The nodes that are given are checked; those of the session are prepared.
    static int32_t prepare(const char* name, CFiNodeArgument& nodes, int32_t flags)
    {
        if (nodes.hasGap()) return OBZ_ERR_INVALID_ARG;
        const int32_t status = call(&CFiPluginBase::prepare, name, nodes.nodes(), nodes.count(), flags);
        return status == OBZ_USE_SESSION ? callWithSession(&CFiPluginBase::prepareSnapshots, name) : status;
    }

    /// The same for the snapshot; both outputs are null and 0 unless there is a list of nodes that have a copy.
    static int32_t make(const char* name, CFiNodeArgument& nodes, obzx_objid*** identities, int32_t* identityCount)
    {
        if (nodes.hasGap()) {
            clearOutputs(identities, identityCount);
            return OBZ_ERR_INVALID_ARG;
        }
        const int32_t status =
            call(&CFiPluginBase::make, name, nodes.nodes(), nodes.count(), identities, identityCount);
        return status == OBZ_USE_SESSION ? makeSession(name, identities, identityCount) : status;
    }

    /// The handle is emptied first, without freeing what is in there.
    static int32_t updateSnapshotHandle(const char* name, obz_snaphandle* handle)
    {
        clearOutputs(handle);
        CFiSessionPtr session;
        const int32_t found = getSession(name, session);
        return found == OBZ_OK ? call(&CFiPluginBase::updateSnapshotHandle, session, handle) : found;
    }

  private:
    template <class... Params>
    static int32_t call(int32_t (CFiPluginBase::*operation)(Params...), std::type_identity_t<Params>... args)
    {
        return CFiContext::call<Plugin>(OBZ_ERR_FAILED, operation, args...);
    }

    static int32_t callWithSession(int32_t (CFiPluginBase::*operation)(CFiSessionPtr&), const char* name)
    {
        CFiSessionPtr session;
        const int32_t found = getSession(name, session);
        return found == OBZ_OK ? call(operation, session) : found;
    }

    static int32_t getSession(const char* name, CFiSessionPtr& session)
    {
        if (name == nullptr) return OBZ_ERR_INVALID_ARG;
        return CFiContext::ownStep([&]() -> int32_t {
            const auto sessions = CFiContext::fetch<CFiSessionManager>();
            if (sessions) session = sessions->getSession(name);
            return session ? OBZ_OK : OBZ_ERR_FAILED;
        });
    }

    static int32_t addNodes(const char* name, CFiNodeArgument& nodes, CFiSessionPtr& session)
    {
        const int32_t found = getSession(name, session);
        if (found != OBZ_OK) return found;
        return CFiContext::ownStep([&]() -> int32_t {
            return session->addNodes(nodes.nodes(), nodes.count()) ? OBZ_OK : OBZ_ERR_INVALID_ARG;
        });
    }

    /// Nothing is made when the host could not be told about it.
    static int32_t makeSession(const char* name, obzx_objid*** identities, int32_t* identityCount)
    {
        clearOutputs(identities, identityCount);
        if (identities == nullptr || identityCount == nullptr) return OBZ_ERR_INVALID_ARG;
        CFiSessionPtr session;
        const int32_t found = getSession(name, session);
        if (found != OBZ_OK) return found;
        const int32_t made = call(&CFiPluginBase::makeSnapshots, session);
        // Also after a failure half-way, so that the host knows what exists.
        const int32_t listed = CFiContext::ownStep([&] { return listMade(*session, identities, identityCount); });
        return made != OBZ_OK ? made : listed;
    }

    /// One identity for each node that now has a copy, in name order.
    static int32_t listMade(CFiSession& session, obzx_objid*** identities, int32_t* identityCount)
    {
        std::vector<CFiSplitNode> nodes = session.getNodes();
        std::erase_if(nodes, [](const CFiSplitNode& node) { return node.m_makeDone == 0; });
        if (nodes.empty()) return OBZ_OK;

        const auto count = static_cast<int32_t>(nodes.size());
        auto* const list = static_cast<obzx_objid**>(obzx_alloc_buf(nodes.size() * sizeof(obzx_objid*)));
        if (list == nullptr) return OBZ_ERR_FAILED;
        for (size_t i = 0; i < nodes.size(); ++i) {
            list[i] = obzx_get_objid(nodes[i].m_name.c_str(), 0, OBZ_OBJID_TYPE_DEVICE);
            if (list[i] == nullptr) {
                freeIdentities(list, i, nodes.size());
                return OBZ_ERR_FAILED;
            }
        }
        *identities = list;
        *identityCount = count;
        return OBZ_OK;
    }

    static void freeIdentities(obzx_objid** list, size_t filled, size_t size)
    {
        for (size_t i = 0; i < filled; ++i) {
            obzx_free_objid(list[i]);
        }
        obzx_free_buf(list, size * sizeof(obzx_objid*));
    }
};

}  // namespace obzx_pdk_4_4
