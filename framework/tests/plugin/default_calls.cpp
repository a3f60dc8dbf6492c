#include "framework/tests/plugin/default_calls.h"

#include "framework/include/obzx_runtime.h"

namespace obzx_pdk_4_4::test {
namespace {

using B = CFiPluginBase;

// Arguments that are good enough for any default.
struct SGood
{
    CNode node{"/dev/sdb"};
    CNode other{"/dev/sdc"};
    obz_domain* d = node.get();
    obz_domain* t = other.get();
    obzx_objid* id = d->identity;
    obzx_objid* inputs[1] = {id};
    CSplitNodes split{{"/dev/sdb"}};
    obz_splitnode** list = split.list();
    const char* text = "text";
    char* texts[1] = {nullptr};
    obz_host_infn host = {};
    obzx_objid* idOut = nullptr;
    obzx_objid** idsOut = nullptr;
    obz_objid_list* objects = nullptr;
    int32_t n = 0;
    char* textOut = nullptr;
    char** textsOut = nullptr;
};

void callDescription(CDefaultCalls& c, SGood& g)
{
    obz_provider_list* provider = nullptr;
    obz_fim_list* fims = nullptr;
    obz_confspec* parameters = nullptr;
    c.call("init", "init", &B::init, "", 0);
    c.call("fini", "fini", &B::fini, "", 0);
    c.call("get_provider_info", "getProviderInfo", &B::getProviderInfo, "N", 0, &provider);
    c.call("enumerate_fims", "enumerateFims", &B::enumerateFims, "N", 0, &fims);
    c.call("config", "config", &B::config, "nooN", 0, g.d, g.text, g.text, &parameters);
}

void callErrors(CDefaultCalls& c, SGood& g)
{
    obz_msg_info* last = nullptr;
    obz_msg_info info = {};
    c.call("errmsg", "errMsg", &B::errMsg, "vN", 0, 6001, &g.textOut);
    c.call("get_last_error", "getLastError", &B::getLastError, "N", 0, &last);
    // The next three take or give buffers that somebody must free, so their nulls are tried one by one.
    EXPECT_EQ(c.plugin().delLastError(nullptr), OBZ_ERR_INVALID_ARG);
    auto* record = static_cast<obz_msg_info*>(obzx_alloc_buf(sizeof(obz_msg_info)));
    c.add("del_last_error", "delLastError", c.plugin().delLastError(record));
    EXPECT_EQ(c.plugin().getLocaleMessage(nullptr, g.text, &g.textOut), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(c.plugin().getLocaleMessage(&info, g.text, nullptr), OBZ_ERR_INVALID_ARG);
    c.add("get_locale_message", "getLocaleMessage", c.plugin().getLocaleMessage(&info, nullptr, &g.textOut));
    EXPECT_STREQ(g.textOut, "");
    EXPECT_EQ(c.plugin().delLocaleMessage(nullptr), OBZ_ERR_INVALID_ARG);
    c.add("del_locale_message", "delLocaleMessage", c.plugin().delLocaleMessage(g.textOut));
}

void callNodes(CDefaultCalls& c, SGood& g)
{
    obz_attributes* attributes = nullptr;
    obz_blob blob = {};
    int32_t mark = 0;
    auto* pgnNodes = reinterpret_cast<obz_pgn_node_list*>(&mark);
    c.call("interpose", "interpose", &B::interpose, "oOOO", 0, g.d, &g.idOut, &g.idsOut, &g.n);
    c.call("claim", "claim", &B::claim, "oOO", 0, g.id, &g.idsOut, &g.n);
    c.call("supports_fitype", "supportsFiType", &B::supportsFiType, "oo", 0, g.d, "any");
    c.call("getattr", "getAttr", &B::getAttr, "nN", 0, g.d, &attributes);
    c.call("is_parent_pgn", "isParentPgn", &B::isParentPgn, "nnN", 0, g.d, g.text, &g.n);
    c.call("init_node", "initNode", &B::initNode, "novo", 0, g.d, &g.t, 1, g.id);
    c.call("deinit_node", "deInitNode", &B::deInitNode, "n", 0, g.d);
    c.call("init_altnode", "initAltNode", &B::initAltNode, "nonv", 5, g.d, g.t, g.t, false);
    c.call("init_remnode", "initAltNode", &B::initAltNode, "nonv", 5, g.d, g.t, g.t, true);
    c.call("process_providerstate", "processProviderState", &B::processProviderState, "nnv", 0, g.d, &blob,
           OBZ_STATE_SET);
    c.call("reaccess_tmpobj", "reAccessTmpObj", &B::reAccessTmpObj, "nN", 0, g.d, &g.idOut);
    c.call("reaccess_altnode", "reAccessAltNode", &B::reAccessAltNode, "nN", 0, g.d, &g.idOut);
    c.call("subobj_list", "subobjList", &B::subobjList, "nNN", 0, g.d, &g.idsOut, &g.n);
    c.call("check_node_existence", "checkNodeExistence", &B::checkNodeExistence, "nN", 0, g.d, &g.n);
    c.call("refresh_tree", "refreshTree", &B::refreshTree, "n", 0, g.d);
    c.call("revisit_pgn_nodes", "revisitPluginNodes", &B::revisitPluginNodes, "n", 0, pgnNodes);
}

void callEnumerations(CDefaultCalls& c, SGood& g)
{
    obz_association_list* associations = nullptr;
    c.call("enumerate_nodes", "enumerateNodes", &B::enumerateNodes, "No", 0, &g.objects, g.text);
    c.call("enumerate_group_nodes", "enumerateGroupNodes", &B::enumerateGroupNodes, "No", 0, &g.objects, g.text);
    c.call("enumerate_associations", "enumerateAssociations", &B::enumerateAssociations, "N", 0, &associations);
    c.call("isvalid_node_association", "isValidNodeAssociation", &B::isValidNodeAssociation, "nnN", 0, g.id, g.id,
           &g.n);
    c.call("get_associated_nodes", "getAssociatedNodes", &B::getAssociatedNodes, "nN", 0, g.id, &g.objects);
    c.call("enumerate_enclosures", "enumerateEnclosures", &B::enumerateEnclosures, "N", 0, &g.objects);
    c.call("enumerate_host_nodes", "enumerateHostNodes", &B::enumerateHostNodes, "N", 0, &g.objects);
    c.call("query_valid_secondaries", "queryValidSecondaries", &B::queryValidSecondaries, "nN", 0, g.d, &g.objects);
}

void callSnapshot(CDefaultCalls& c, SGood& g)
{
    obz_snapreplica_ele* replica = nullptr;
    c.call("preselect", "none", &B::preselect, "nnv", 0, g.text, g.list, 1);
    c.call("select", "select", &B::select, "nnv", 0, g.text, g.list, 1);
    c.call("pre_prepare", "prePrepare", &B::prePrepare, "n", 0, g.text);
    c.call("prepare", "prepare", &B::prepare, "nnvv", 4, g.text, g.list, 1, 0);
    c.call("quiesce", "quiesce", &B::quiesce, "nv", 0, g.list, 1);
    c.call("make", "make", &B::make, "nnvNN", 4, g.text, g.list, 1, &g.idsOut, &g.n);
    c.call("unquiesce", "unquiesce", &B::unquiesce, "nv", 0, g.list, 1);
    c.call("verify_qscombos", "verifyQSCombos", &B::verifyQSCombos, "nv", 0, g.list, 1);
    c.call("update_snapshot_id", "updateSnapshotId", &B::updateSnapshotId, "nn", 0, g.text, g.text);
    c.call("getSnapshotSetId", "getSnapshotSetId", &B::getSnapshotSetId, "nN", 0, g.text, &g.textOut);
    c.call("createSnapReplicaNode", "createSnapReplicaNode", &B::createSnapReplicaNode, "nN", 5, g.d, &replica);
    c.call("get_snapdiff", "getSnapdiff", &B::getSnapdiff, "nnN", 5, g.text, g.text, &g.objects);
    c.call("cache_disable", "cacheDisable", &B::cacheDisable, "nv", 0, g.d, 0);
    c.call("cache_enable", "cacheEnable", &B::cacheEnable, "nv", 0, g.d, 0);
    // Its output is 1, not 0.
    EXPECT_EQ(c.plugin().isReady(g.list, 1, nullptr), OBZ_ERR_INVALID_ARG);
    EXPECT_EQ(c.plugin().isReady(nullptr, 1, &g.n), OBZ_ERR_INVALID_ARG);
    c.add("isready", "isReady", c.plugin().isReady(g.list, 1, &g.n));
    CFiSessionPtr session(new CFiSession());
    obz_snaphandle handle = {};
    c.add("update_snapshot_handle", "updateSnapshotHandle", c.plugin().updateSnapshotHandle(session, &handle));
}

void callCopies(CDefaultCalls& c, SGood& g)
{
    c.call("import_tree", "importTreeNode", &B::importTreeNode, "nnNvo", 5, g.d, g.inputs, &g.idOut, 1, g.inputs);
    c.call("deport_tree", "deportTree", &B::deportTree, "ooo", 5, g.d, g.t, nullptr);
    c.call("build_alttree", "buildAltTree", &B::buildAltTree, "nn", 0, g.d, g.t);
    c.call("start_build_alttree", "startBuildAltTree", &B::startBuildAltTree, "n", 0, g.d);
    c.call("set_import_options", "setImportOptions", &B::setImportOptions, "nvn", 0, g.list, 1, g.text);
    c.call("import_resource", "importResource", &B::importResource, "nvv", 5, g.id, 0, 0);
    c.call("deport_resource", "deportResource", &B::deportResource, "nvv", 5, g.id, 0, 0);
    c.call("pre_deport_resource", "preDeportResource", &B::preDeportResource, "n", 0, g.id);
    c.call("post_deport", "postDeport", &B::postDeport, "n", 0, g.d);
    c.call("online", "online", &B::online, "nnv", 0, g.d, g.t, OBZ_DISP_KEEP);
    c.call("online_resource", "onlineResource", &B::onlineResource, "n", 0, g.id);
    c.call("enable_access", "enableAccess", &B::enableAccess, "nn", 5, g.d, &g.host);
    c.call("disable_access", "disableAccess", &B::disableAccess, "nn", 5, g.d, &g.host);
    c.call("translate_resource_names", "translateResourceNames", &B::translateResourceNames, "nvN", 0, g.texts, 0,
           &g.textsOut);
}

void callDisposalAndStatus(CDefaultCalls& c, SGood& g)
{
    obz_bkupset* set = nullptr;
    long count = 0;
    long status = 0;
    char word[] = "word";
    c.call("dispose", "dispose", &B::dispose, "nnov", 5, g.d, g.t, &g.split.at(0), OBZ_DISP_REMOVE);
    c.call("restore", "restore", &B::restore, "oovooOOvO", 5, g.inputs, g.inputs, 1, word, word, &g.textsOut, &count, 0,
           &status);
    c.call("resync", "resync", &B::resync, "nn", 5, g.d, g.t);
    c.call("get_backupset", "getBackupset", &B::getBackupset, "nN", 0, g.text, &set);
    c.call("set_restorepaths", "setRestorepaths", &B::setRestorepaths, "nnv", 0, g.text, g.texts, 1);
    c.call("set_op_status", "setOpStatus", &B::setOpStatus, "nv", 0, g.text, 1);
    c.call("set_comp_status", "setCompStatus", &B::setCompStatus, "nnv", 0, g.text, g.text, 1);
    c.call("get_app_status", "getAppStatus", &B::getAppStatus, "nN", 0, g.text, &g.n);
    c.call("get_status", "getStatus", &B::getStatus, "nN", 0, g.d, &g.n);
    c.call("res_status", "resourceStatus", &B::resourceStatus, "nN", 0, g.d, &g.n);
    c.call("format", "format", &B::format, "n", 5, g.d);
    c.call("unformat", "unformat", &B::unformat, "n", 5, g.d);
    // The arguments of an object-control call are the provider's; the default does not look at them.
    int64_t arguments = 0;
    c.add("objctl", "objctl",
          static_cast<int32_t>(c.plugin().objctl("name", reinterpret_cast<CFiObjctlArgs&>(arguments))));
}

}  // namespace

void callAllDefaults(CDefaultCalls& calls)
{
    SGood good;
    callDescription(calls, good);
    callErrors(calls, good);
    callNodes(calls, good);
    callEnumerations(calls, good);
    callSnapshot(calls, good);
    callCopies(calls, good);
    callDisposalAndStatus(calls, good);
}

}  // namespace obzx_pdk_4_4::test
