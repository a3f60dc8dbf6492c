#include "pdk/tests/entry_calls.h"

#include <stdexcept>

namespace pdktest {

// clang-format off
const std::array<SEntryFacts, OBZX_FI_ENTRY_POINT_COUNT> ENTRY_FACTS = {{
    // entry point, operation, gated, parameters, status for a null, status of the framework's own operation
    {"init", "init", false, "ono", 7, 0},
    {"fini", "fini", false, "", 0, 0},
    {"get_provider_info", "getProviderInfo", false, "n", 3, 0},
    {"enumerate_fims", "enumerateFims", false, "n", 3, 0},
    {"config", "config", true, "noon", 3, 0},
    {"errmsg", "errMsg", false, "in", 3, 0},
    {"get_last_error", "getLastError", false, "n", 3, 0},
    {"del_last_error", "delLastError", false, "n", 3, 0},
    {"get_locale_message", "getLocaleMessage", false, "non", 3, 0},
    {"del_locale_message", "delLocaleMessage", false, "n", 3, 0},
    {"interpose", "interpose", false, "nnnn", 0, 0},
    {"claim", "claim", false, "nnn", 0, 0},
    {"supports_fitype", "supportsFiType", false, "nn", 0, 0},
    {"getattr", "getAttr", true, "nn", 3, 0},
    {"is_parent_pgn", "isParentPgn", true, "nnn", 3, 0},
    {"init_node", "initNode", true, "noio", 3, 0},
    {"deinit_node", "deInitNode", false, "n", 0, 0},
    {"init_altnode", "initAltNode", true, "non", 3, 5},
    {"init_remnode", "initAltNode", true, "non", 3, 5},
    {"process_providerstate", "processProviderState", true, "nni", 3, 0},
    {"reaccess_tmpobj", "reAccessTmpObj", false, "nn", 3, 0},
    {"reaccess_altnode", "reAccessAltNode", true, "nn", 3, 0},
    {"subobj_list", "subobjList", true, "nnn", 3, 0},
    {"check_node_existence", "checkNodeExistence", true, "nn", 3, 0},
    {"refresh_tree", "refreshTree", true, "n", 3, 0},
    {"revisit_pgn_nodes", "revisitPluginNodes", false, "n", 3, 0},
    {"enumerate_nodes", "enumerateNodes", false, "no", 3, 0},
    {"enumerate_group_nodes", "enumerateGroupNodes", true, "no", 3, 0},
    {"enumerate_associations", "enumerateAssociations", true, "n", 3, 0},
    {"isvalid_node_association", "isValidNodeAssociation", true, "nnn", 3, 0},
    {"get_associated_nodes", "getAssociatedNodes", true, "nn", 3, 0},
    {"enumerate_enclosures", "enumerateEnclosures", false, "n", 3, 0},
    {"enumerate_host_nodes", "enumerateHostNodes", false, "n", 3, 0},
    {"query_valid_secondaries", "queryValidSecondaries", true, "nn", 3, 0},
    {"preselect", "", true, "onni", 3, 0},
    {"select", "select", true, "onni", 3, 0},
    {"pre_prepare", "prePrepare", true, "n", 3, 0},
    {"prepare", "prepare", true, "onnii", 3, 0},
    {"quiesce", "quiesce", true, "oni", 3, 0},
    {"make", "make", true, "onninn", 3, 5},
    {"unquiesce", "unquiesce", false, "oni", 0, 0},
    {"isready", "isReady", true, "onin", 3, 0},
    {"verify_qscombos", "verifyQSCombos", true, "oni", 3, 0},
    {"update_snapshot_handle", "updateSnapshotHandle", true, "nn", 3, 0},
    {"update_snapshot_id", "updateSnapshotId", true, "nn", 3, 0},
    {"getSnapshotSetId", "getSnapshotSetId", true, "nn", 3, 0},
    {"createSnapReplicaNode", "createSnapReplicaNode", true, "nn", 3, 5},
    {"get_snapdiff", "getSnapdiff", true, "nnn", 3, 5},
    {"cache_disable", "cacheDisable", true, "n", 3, 0},
    {"cache_enable", "cacheEnable", false, "n", 0, 0},
    {"import_tree", "importTreeNode", true, "nnnio", 3, 5},
    {"deport_tree", "deportTree", true, "ooo", 3, 5},
    {"build_alttree", "buildAltTree", true, "nn", 3, 0},
    {"start_build_alttree", "startBuildAltTree", true, "n", 3, 0},
    {"set_import_options", "setImportOptions", true, "onin", 3, 0},
    {"import_resource", "importResource", true, "nii", 3, 5},
    {"deport_resource", "deportResource", true, "nii", 3, 5},
    {"pre_deport_resource", "preDeportResource", true, "n", 3, 0},
    {"post_deport", "postDeport", true, "n", 3, 0},
    {"online", "online", true, "nni", 3, 0},
    {"online_resource", "onlineResource", true, "n", 3, 0},
    {"enable_access", "enableAccess", true, "nn", 3, 5},
    {"disable_access", "disableAccess", true, "nn", 3, 5},
    {"translate_resource_names", "translateResourceNames", true, "nzn", 3, 0},
    {"dispose", "dispose", true, "nnoi", 3, 5},
    {"restore", "restore", true, "ooiooooio", 3, 5},
    {"resync", "resync", true, "nn", 3, 5},
    {"get_backupset", "getBackupset", true, "nn", 3, 0},
    {"set_restorepaths", "setRestorepaths", true, "nni", 3, 0},
    {"set_op_status", "setOpStatus", true, "ni", 3, 0},
    {"set_comp_status", "setCompStatus", true, "nni", 3, 0},
    {"get_app_status", "getAppStatus", true, "nn", 3, 0},
    {"get_status", "getStatus", true, "nn", 3, 0},
    {"res_status", "resourceStatus", true, "nn", 3, 0},
    {"format", "format", true, "n", 3, 5},
    {"unformat", "unformat", true, "n", 3, 5},
    {"objctl", "objctl", true, "oooo", 3, 0},
}};
// clang-format on

const SEntryFacts& factsOf(std::string_view name)
{
    for (const SEntryFacts& facts : ENTRY_FACTS) {
        if (facts.name == name) return facts;
    }
    throw std::runtime_error("no such entry point: " + std::string(name));
}

CWords validArguments(const SEntryType& type, CHostObjects& objects)
{
    CWords words = type.validArguments(objects);
    const std::string_view parameters = factsOf(type.name).parameters;
    for (size_t i = 0; i < words.size(); ++i) {
        if (parameters[i] == 'z') words[i] = 0;
    }
    return words;
}

}  // namespace pdktest
