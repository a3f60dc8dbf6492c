#pragma once

#include <ace/Recursive_Thread_Mutex.h>
#include <ace/SString.h>

#include <atomic>
#include <string>

#include "framework/include/cficonfigparam.h"
#include "framework/include/cfierrormanager.h"
#include "framework/include/cfimessagecatalog.h"
#include "framework/include/cfiprivatedata.h"
#include "framework/include/cfisessionmgr.h"
#include "framework/include/cfitrace.h"
#include "framework/include/obz_records.h"

namespace obzx_pdk_4_4 {

class CFiObjctlArgs;

/**
 * Base of a provider's plug-in class: one virtual operation for each entry point (obz_entry_points.h says what each
 * takes and gives), with the framework's default.
 *
 * Defaults: a query answers "nothing" (null list, count or value 0) with OBZ_OK; a notification or phase that a
 * provider need not act on gives OBZ_OK; an action that only a provider can carry out gives OBZ_ERR_UNSUPPORTED and
 * leaves its outputs null. make and prepare give OBZ_USE_SESSION. A null where an object is needed gives
 * OBZ_ERR_INVALID_ARG. docs/host-interface.md lists the default of each operation.
 *
 * Operations are called as entry points are: by any thread, several at a time, but init and fini alone, and calls on
 * one node one at a time. delayedInit and interpose run under getMutex(). They let no exception out, they set their
 * outputs, which may hold anything, before all else, and what they are given ends with the call. Of the two ways to
 * name split nodes only the list arrives here. Which operation an entry point calls, where the names differ, the
 * document tells.
 *
 * The operations stand in the order of the virtual table, which is part of the binary interface.
 */
class OBZX_API CFiPluginBase : public virtual CFiRefCount, public virtual CFiTraceable
{
  public:
    static constexpr int32_t DEFAULT_MESSAGE_OFFSET = 6000;  ///< message codes of a provider count from here

    CFiPluginBase();
    ~CFiPluginBase() override;

    /// The part of the start that can wait: run once, before the first gated call. Non-zero fails that call.
    virtual int32_t delayedInit();
    /// The configuration values that the provider reads; described in XML beside its message catalogs, and read from
    /// there by the first call after the provider has its name. Valid as long as the plug-in is.
    virtual const CFiConfigParamInfoList& globalConfigInfoList();
    /// Starts the provider, after it was given its name and the objects of the register... functions. The status is
    /// that of the entry point; why it failed belongs onto the error stack.
    virtual int32_t init();
    /// Ends the provider, while those objects are still there. The plug-in is destroyed after it.
    virtual int32_t fini();
    virtual int32_t claim(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondaryCount);
    virtual int32_t supportsFiType(obz_domain* node, const char* fim);
    virtual int32_t deportTree(obz_domain* node, obz_domain* target, obz_accessnode* access);
    virtual int32_t importTreeNode(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t count,
                                   obzx_objid** list);
    virtual int32_t initNode(obz_domain* node, obz_domain** list, int32_t count, obzx_objid* identity);
    virtual int32_t config(obz_domain* node, const char* fim, const char* locale, obz_confspec** parameters);
    virtual int32_t initAltNode(obz_domain* primary, obz_domain* second, obz_domain* target, bool isRemote);
    virtual int32_t reAccessTmpObj(obz_domain* node, obzx_objid** identity);
    virtual int32_t reAccessAltNode(obz_domain* node, obzx_objid** identity);
    /// The default gives the node's private data back.
    virtual int32_t deInitNode(obz_domain* node);
    virtual int32_t dispose(obz_domain* node, obz_domain* target, obz_splitnode* split, obz_disposition disposition);
    virtual int32_t online(obz_domain* node, obz_domain* target, obz_disposition disposition);
    virtual int32_t subobjList(obz_domain* node, obzx_objid*** subobjects, int32_t* count);
    virtual int32_t errMsg(int32_t code, char** text);
    virtual int32_t buildAltTree(obz_domain* primary, obz_domain* target);
    virtual int32_t quiesce(obz_splitnode** nodes, int32_t count);
    virtual int32_t unquiesce(obz_splitnode** nodes, int32_t count);
    /// OBZ_USE_SESSION asks for makeSnapshots.
    virtual int32_t make(const char* session, obz_splitnode** nodes, int32_t count, obzx_objid*** identities,
                         int32_t* identityCount);
    /// Takes the snapshot of the session's nodes: those of PHASE_MAKE. A node that has its copy gets m_makeDone and the
    /// name of the copy, m_target, one by one, so that what exists is known after a failure half-way.
    virtual int32_t makeSnapshots(CFiSessionPtr& session);
    /// OBZ_USE_SESSION asks for prepareSnapshots.
    virtual int32_t prepare(const char* session, obz_splitnode** nodes, int32_t count, int32_t flags);
    /// The default marks the session's nodes prepared.
    virtual int32_t prepareSnapshots(CFiSessionPtr& session);
    /// OBZ_OK: the nodes are added to the session; OBZ_USE_SESSION asks for selectSnapshots after that.
    virtual int32_t select(const char* session, obz_splitnode** nodes, int32_t count);
    /// The default marks the session's nodes selected.
    virtual int32_t selectSnapshots(CFiSessionPtr& session);
    virtual int32_t isReady(obz_splitnode** nodes, int32_t count, int32_t* ready);
    /// flags of the three are 0; no entry point calls cacheFlush.
    virtual int32_t cacheDisable(obz_domain* node, int32_t flags);
    virtual int32_t cacheEnable(obz_domain* node, int32_t flags);
    virtual int32_t cacheFlush(obz_domain* node, int32_t flags);
    virtual int32_t interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* groupCount);
    virtual int32_t getAttr(obz_domain* node, obz_attributes** attributes);
    virtual int32_t getProviderInfo(obz_provider_list** provider);
    virtual int32_t enumerateNodes(obz_objid_list** nodes, const char* filter);
    virtual int32_t enumerateAssociations(obz_association_list** associations);
    virtual int32_t enumerateGroupNodes(obz_objid_list** nodes, const char* filter);
    virtual int32_t enumerateFims(obz_fim_list** fims);
    virtual int32_t isValidNodeAssociation(obzx_objid* first, obzx_objid* second, int32_t* valid);
    virtual int32_t getAssociatedNodes(obzx_objid* identity, obz_objid_list** nodes);
    virtual int32_t checkNodeExistence(obz_domain* node, int32_t* exists);
    /// Answers a request: its inputs are in args, and outputs are added there. The result is the outcome of the
    /// request.
    virtual int64_t objctl(const ACE_String_Base<char>& name, CFiObjctlArgs& args);
    virtual int32_t processProviderState(obz_domain* node, obz_blob* blob, obz_op_providerstate operation);
    virtual int32_t getLastError(obz_msg_info** message);
    virtual int32_t delLastError(obz_msg_info* message);
    virtual int32_t getLocaleMessage(const obz_msg_info* message, const char* locale, char** text);
    virtual int32_t delLocaleMessage(char* text);
    virtual int32_t enableAccess(obz_domain* node, obz_host_infn* hosts);
    virtual int32_t disableAccess(obz_domain* node, obz_host_infn* hosts);
    virtual int32_t restore(obzx_objid** from, obzx_objid** to, long count, char* session, char* path, char*** files,
                            long* fileCount, long flags, long* status);
    virtual int32_t resync(obz_domain* node, obz_domain* target);
    virtual int32_t getStatus(obz_domain* node, int32_t* status);
    virtual int32_t prePrepare(const char* session);
    virtual int32_t queryValidSecondaries(obz_domain* node, obz_objid_list** secondaries);
    virtual int32_t resourceStatus(obz_domain* node, int32_t* status);
    virtual int32_t revisitPluginNodes(obz_pgn_node_list* nodes);
    virtual int32_t verifyQSCombos(obz_splitnode** nodes, int32_t count);
    virtual int32_t setImportOptions(obz_splitnode** nodes, int32_t count, const char* options);
    virtual int32_t startBuildAltTree(obz_domain* primary);
    virtual int32_t translateResourceNames(char** names, int32_t count, char*** translated);
    virtual int32_t enumerateEnclosures(obz_objid_list** enclosures);
    virtual int32_t importResource(obzx_objid* identity, int32_t transportable, int32_t flags);
    virtual int32_t format(obz_domain* node);
    virtual int32_t enumerateHostNodes(obz_objid_list** hosts);
    virtual int32_t onlineResource(obzx_objid* identity);
    virtual int32_t deportResource(obzx_objid* identity, int32_t transportable, int32_t flags);
    virtual int32_t isParentPgn(obz_domain* node, const char* provider, int32_t* isParent);
    virtual int32_t unformat(obz_domain* node);
    virtual int32_t preDeportResource(obzx_objid* identity);
    virtual int32_t refreshTree(obz_domain* node);
    virtual int32_t getBackupset(const char* session, obz_bkupset** set);
    virtual int32_t getAppStatus(const char* session, int32_t* status);
    virtual int32_t setOpStatus(const char* session, int32_t status);
    virtual int32_t setCompStatus(const char* session, const char* component, int32_t status);
    virtual int32_t setRestorepaths(const char* session, char** paths, int32_t count);
    virtual int32_t createSnapReplicaNode(obz_domain* node, obz_snapreplica_ele** replica);
    virtual int32_t updateSnapshotId(const char* session, const char* id);
    virtual int32_t getSnapshotSetId(const char* session, char** id);
    /// No entry point calls it: preselect adds nodes to a session without asking the provider.
    virtual int32_t preselect(const char* session, obz_splitnode** nodes, int32_t count);
    /// The default fills the handle with every node that is made but not yet updated, and marks it updated.
    virtual int32_t updateSnapshotHandle(CFiSessionPtr& session, obz_snaphandle* handle);
    virtual int32_t getSnapdiff(const char* first, const char* second, obz_objid_list** differences);
    virtual int32_t postDeport(obz_domain* node);
    /// Node types that an interposer leaves alone, and the type of its own nodes; for the provider's own start.
    virtual int32_t addIgnoreNodeType(int32_t type);
    virtual int32_t setDefaultNodeType(int32_t type);

    /// Runs delayedInit() once in the life of the plug-in, under its mutex: its status for the first caller, 0 for
    /// every later one, also when it failed. OBZ_ERR_DELAYED_INIT when the mutex cannot be locked.
    int32_t invokeDelayedInit();
    ACE_Recursive_Thread_Mutex& getMutex() { return m_mutex; }
    /// Sets the flag when asked to; tells whether it is set. fini sets it first. Any thread may call it.
    bool isShuttingDown(bool set);

    // Called before init, on its thread, and by nobody later: not locked.

    void setProviderName(const ACE_String_Base<char>& name);  ///< @throw std::bad_alloc
    const ACE_String_Base<char>& getProviderName() const { return m_providerName; }
    /// The method that the host means to use; null counts as empty. The framework only keeps it.
    void setFimName(const char* name) { m_fimName = name == nullptr ? "" : name; }
    const std::string& getFimName() const { return m_fimName; }
    /// What is taken off a message code that is greater (CFiError::getMessageId).
    void setMessageIndexOffset(int32_t offset) { m_messageIndexOffset = offset; }
    int32_t getMessageIndexOffset() const { return m_messageIndexOffset; }

    void registerErrorManager(const CFiErrorManagerPtr& manager) { m_errorManager = manager; }
    void registerCatalogManager(const CFiMessageCatalogManagerPtr& manager) { m_catalogManager = manager; }
    void registerPrivateDataManager(const CFiPrivateDataManagerPtr& manager) { m_privateDataManager = manager; }
    void registerSessionManager(const CFiSessionManagerPtr& manager) { m_sessionManager = manager; }

  protected:
    ACE_String_Base<char> m_providerName;
    ACE_Recursive_Thread_Mutex m_mutex;  // serialises delayed initialisation and interpose
    CFiErrorManagerPtr m_errorManager;
    CFiMessageCatalogManagerPtr m_catalogManager;
    CFiPrivateDataManagerPtr m_privateDataManager;
    CFiSessionManagerPtr m_sessionManager;
    CFiConfigParamInfoList m_globalConfigInfo;      // read on the first call that asks for it
    CFiConfigParamInfoList m_globalConfigDefaults;  // those of them that have a default value
    int32_t m_messageIndexOffset = DEFAULT_MESSAGE_OFFSET;
    std::atomic<uint8_t> m_delayedInitDone{0};

  private:
    std::string m_fimName;
    bool m_globalConfigRead = false;
    std::atomic<bool> m_shuttingDown{false};
};

}  // namespace obzx_pdk_4_4
