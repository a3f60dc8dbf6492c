#pragma once

#include "framework/include/cfiplugininterposer.h"
#include "pdk/include/cfiobjctlargs.h"
#include "pdk/tests/testfi/testfi_record.h"

namespace testfi {

/// Plug-in class of a provider that writes each call into the test's record and answers as the record says.
class CTestPlugin : public obzx_pdk_4_4::CFiPluginInterposer
{
  public:
    using CSession = obzx_pdk_4_4::CFiSessionPtr;

    CTestPlugin();
    ~CTestPlugin() override;

    // In the order of the base class.
    int32_t delayedInit() override { return met("delayedInit"); }
    int32_t init() override;
    int32_t fini() override { return met("fini", isShuttingDown(false)); }
    int32_t claim(obzx_objid* a, obzx_objid*** b, int32_t* c) override { return met("claim", a, b, c); }
    int32_t supportsFiType(obz_domain* a, const char* b) override { return met("supportsFiType", a, b); }
    int32_t deportTree(obz_domain* a, obz_domain* b, obz_accessnode* c) override { return met("deportTree", a, b, c); }
    int32_t importTreeNode(obz_domain* a, obzx_objid** b, obzx_objid** c, int32_t d, obzx_objid** e) override
    {
        return met("importTreeNode", a, b, c, d, e);
    }
    int32_t initNode(obz_domain* a, obz_domain** b, int32_t c, obzx_objid* d) override
    {
        return met("initNode", a, b, c, d);
    }
    int32_t config(obz_domain* a, const char* b, const char* c, obz_confspec** d) override
    {
        return met("config", a, b, c, d);
    }
    int32_t initAltNode(obz_domain* a, obz_domain* b, obz_domain* c, bool d) override
    {
        return met("initAltNode", a, b, c, d);
    }
    int32_t reAccessTmpObj(obz_domain* a, obzx_objid** b) override { return met("reAccessTmpObj", a, b); }
    int32_t reAccessAltNode(obz_domain* a, obzx_objid** b) override { return met("reAccessAltNode", a, b); }
    int32_t deInitNode(obz_domain* a) override { return met("deInitNode", a); }
    int32_t dispose(obz_domain* a, obz_domain* b, obz_splitnode* c, obz_disposition d) override
    {
        return met("dispose", a, b, c, d);
    }
    int32_t online(obz_domain* a, obz_domain* b, obz_disposition c) override { return met("online", a, b, c); }
    int32_t subobjList(obz_domain* a, obzx_objid*** b, int32_t* c) override { return met("subobjList", a, b, c); }
    int32_t errMsg(int32_t a, char** b) override { return met("errMsg", a, b); }
    int32_t buildAltTree(obz_domain* a, obz_domain* b) override { return met("buildAltTree", a, b); }
    int32_t quiesce(obz_splitnode** a, int32_t b) override { return metNodes("quiesce", a, b); }
    int32_t unquiesce(obz_splitnode** a, int32_t b) override { return metNodes("unquiesce", a, b); }
    int32_t make(const char* s, obz_splitnode** a, int32_t b, obzx_objid*** c, int32_t* d) override
    {
        return metNodes("make", a, b, s, c, d);
    }
    int32_t makeSnapshots(CSession& a) override { return metSession("makeSnapshots", a); }
    int32_t prepare(const char* s, obz_splitnode** a, int32_t b, int32_t c) override
    {
        return metNodes("prepare", a, b, s, c);
    }
    int32_t prepareSnapshots(CSession& a) override { return metSession("prepareSnapshots", a); }
    int32_t select(const char* s, obz_splitnode** a, int32_t b) override { return metNodes("select", a, b, s); }
    int32_t selectSnapshots(CSession& a) override { return metSession("selectSnapshots", a); }
    int32_t isReady(obz_splitnode** a, int32_t b, int32_t* c) override { return metNodes("isReady", a, b, c); }
    int32_t cacheDisable(obz_domain* a, int32_t b) override { return met("cacheDisable", a, b); }
    int32_t cacheEnable(obz_domain* a, int32_t b) override { return met("cacheEnable", a, b); }
    int32_t cacheFlush(obz_domain* a, int32_t b) override { return met("cacheFlush", a, b); }
    int32_t interpose(obz_domain* a, obzx_objid** b, obzx_objid*** c, int32_t* d) override
    {
        return met("interpose", a, b, c, d);
    }
    int32_t getAttr(obz_domain* a, obz_attributes** b) override { return met("getAttr", a, b); }
    int32_t getProviderInfo(obz_provider_list** a) override { return met("getProviderInfo", a, *a); }
    int32_t enumerateNodes(obz_objid_list** a, const char* b) override { return met("enumerateNodes", a, b); }
    int32_t enumerateAssociations(obz_association_list** a) override { return met("enumerateAssociations", a); }
    int32_t enumerateGroupNodes(obz_objid_list** a, const char* b) override { return met("enumerateGroupNodes", a, b); }
    int32_t enumerateFims(obz_fim_list** a) override { return met("enumerateFims", a); }
    int32_t isValidNodeAssociation(obzx_objid* a, obzx_objid* b, int32_t* c) override
    {
        return met("isValidNodeAssociation", a, b, c);
    }
    int32_t getAssociatedNodes(obzx_objid* a, obz_objid_list** b) override { return met("getAssociatedNodes", a, b); }
    int32_t checkNodeExistence(obz_domain* a, int32_t* b) override { return met("checkNodeExistence", a, b); }
    int64_t objctl(const ACE_String_Base<char>& a, obzx_pdk_4_4::CFiObjctlArgs& b) override;
    int32_t processProviderState(obz_domain* a, obz_blob* b, obz_op_providerstate c) override
    {
        return met("processProviderState", a, b, c);
    }
    int32_t getLastError(obz_msg_info** a) override { return met("getLastError", a); }
    int32_t delLastError(obz_msg_info* a) override { return met("delLastError", a); }
    int32_t getLocaleMessage(const obz_msg_info* a, const char* b, char** c) override
    {
        return met("getLocaleMessage", a, b, c);
    }
    int32_t delLocaleMessage(char* a) override { return met("delLocaleMessage", a); }
    int32_t enableAccess(obz_domain* a, obz_host_infn* b) override { return met("enableAccess", a, b); }
    int32_t disableAccess(obz_domain* a, obz_host_infn* b) override { return met("disableAccess", a, b); }
    int32_t restore(obzx_objid** a, obzx_objid** b, long c, char* d, char* e, char*** f, long* g, long h,
                    long* i) override
    {
        return met("restore", a, b, c, d, e, f, g, h, i);
    }
    int32_t resync(obz_domain* a, obz_domain* b) override { return met("resync", a, b); }
    int32_t getStatus(obz_domain* a, int32_t* b) override { return met("getStatus", a, b); }
    int32_t prePrepare(const char* a) override { return met("prePrepare", a); }
    int32_t queryValidSecondaries(obz_domain* a, obz_objid_list** b) override
    {
        return met("queryValidSecondaries", a, b);
    }
    int32_t resourceStatus(obz_domain* a, int32_t* b) override { return met("resourceStatus", a, b); }
    int32_t revisitPluginNodes(obz_pgn_node_list* a) override { return met("revisitPluginNodes", a); }
    int32_t verifyQSCombos(obz_splitnode** a, int32_t b) override { return metNodes("verifyQSCombos", a, b); }
    int32_t setImportOptions(obz_splitnode** a, int32_t b, const char* c) override
    {
        return metNodes("setImportOptions", a, b, c);
    }
    int32_t startBuildAltTree(obz_domain* a) override { return met("startBuildAltTree", a); }
    int32_t translateResourceNames(char** a, int32_t b, char*** c) override
    {
        return met("translateResourceNames", a, b, c);
    }
    int32_t enumerateEnclosures(obz_objid_list** a) override { return met("enumerateEnclosures", a); }
    int32_t importResource(obzx_objid* a, int32_t b, int32_t c) override { return met("importResource", a, b, c); }
    int32_t format(obz_domain* a) override { return met("format", a); }
    int32_t enumerateHostNodes(obz_objid_list** a) override { return met("enumerateHostNodes", a); }
    int32_t onlineResource(obzx_objid* a) override { return met("onlineResource", a); }
    int32_t deportResource(obzx_objid* a, int32_t b, int32_t c) override { return met("deportResource", a, b, c); }
    int32_t isParentPgn(obz_domain* a, const char* b, int32_t* c) override { return met("isParentPgn", a, b, c); }
    int32_t unformat(obz_domain* a) override { return met("unformat", a); }
    int32_t preDeportResource(obzx_objid* a) override { return met("preDeportResource", a); }
    int32_t refreshTree(obz_domain* a) override { return met("refreshTree", a); }
    int32_t getBackupset(const char* a, obz_bkupset** b) override { return met("getBackupset", a, b); }
    int32_t getAppStatus(const char* a, int32_t* b) override { return met("getAppStatus", a, b); }
    int32_t setOpStatus(const char* a, int32_t b) override { return met("setOpStatus", a, b); }
    int32_t setCompStatus(const char* a, const char* b, int32_t c) override { return met("setCompStatus", a, b, c); }
    int32_t setRestorepaths(const char* a, char** b, int32_t c) override { return met("setRestorepaths", a, b, c); }
    int32_t createSnapReplicaNode(obz_domain* a, obz_snapreplica_ele** b) override
    {
        return met("createSnapReplicaNode", a, b);
    }
    int32_t updateSnapshotId(const char* a, const char* b) override { return met("updateSnapshotId", a, b); }
    int32_t getSnapshotSetId(const char* a, char** b) override { return met("getSnapshotSetId", a, b); }
    int32_t preselect(const char* s, obz_splitnode** a, int32_t b) override { return metNodes("preselect", a, b, s); }
    int32_t updateSnapshotHandle(CSession& a, obz_snaphandle* b) override
    {
        return metSession("updateSnapshotHandle", a, b);
    }
    int32_t getSnapdiff(const char* a, const char* b, obz_objid_list** c) override
    {
        return met("getSnapdiff", a, b, c);
    }
    int32_t postDeport(obz_domain* a) override { return met("postDeport", a); }

  private:
    template <class... Args>
    int32_t met(const char* operation, Args... args)
    {
        return static_cast<int32_t>(note({operation, {toWord(args)...}, {}, references()}));
    }

    /// List and count first, then the other arguments; the texts are the names of the list's nodes.
    template <class... Args>
    int32_t metNodes(const char* operation, obz_splitnode** nodes, int32_t count, Args... args)
    {
        return static_cast<int32_t>(
            note({operation, {toWord(nodes), toWord(count), toWord(args)...}, nodeNames(nodes, count), references()}));
    }

    /// The texts are the names of the session's nodes.
    template <class... Args>
    int32_t metSession(const char* operation, CSession& session, Args... args)
    {
        if (m_record != nullptr && m_record->onSession) m_record->onSession(*session);
        return static_cast<int32_t>(
            note({operation, {toWord(session.get()), toWord(args)...}, sessionNames(*session), references()}));
    }

    /// To this object, with the lock held under which other threads change them.
    int32_t references();
    static std::vector<std::string> nodeNames(obz_splitnode** nodes, int32_t count);
    static std::vector<std::string> sessionNames(const obzx_pdk_4_4::CFiSession& session);
    int64_t note(STestRecord::SCall call);

    STestRecord* m_record;
};

}  // namespace testfi
