/*
 * The 77 entry points of a provider. Plain C; a host loads a provider's library and looks each one up as
 * "<provider>_fi_pgn_<name>", for example cdpfi_fi_pgn_init.
 *
 * Conventions
 *  1. Every entry point has its function type here: obzx_fi_<name>_fn. OBZX_FI_ENTRY_POINTS lists all names in the
 *     order of this header; OBZX_FI_DECLARE(provider) declares all 77 functions of one provider.
 *  2. The result is a status (enum obz_status) unless the line says otherwise.
 *  3. Delayed initialisation: entry points marked "gated" first run the provider's delayed initialisation, once in
 *     the life of the provider; the call that meets its failure returns OBZ_ERR_DELAYED_INIT before it looks at an
 *     argument.
 *  4. Nulls: a null where an object is needed gives OBZ_ERR_INVALID_ARG and never a crash; where a line says
 *     otherwise, the line holds. Marked "may be null" where nothing is needed.
 *  5. Outputs are set to null or 0 before anything else, and they stay so on failure. Only a call that meets a failed
 *     delayed initialisation leaves them as they are.
 *  6. Ownership: what comes out belongs to the host. Buffers and arrays are freed with obzx_free_buf, identities with
 *     obzx_free_objid, lists with their own function (obzx_runtime.h); the reply of objctl with free. What goes in
 *     stays the host's and need not outlive the call, except the context of init and the nodes between init_node
 *     and deinit_node.
 *  7. Threads: any entry point may be called from any thread. init comes first and alone, fini last and alone;
 *     init_node and deinit_node are called one at a time; calls on one node are called one at a time.
 *  8. No exception leaves an entry point of a provider whose operations keep to their contract.
 *  9. Calls on split nodes take a single node and a list. When the list is null, its count 0 and the single node is
 *     there, the call is about that node; otherwise the list and its count count. preselect, select, prepare and make
 *     refuse a list in which an entry, its node or the node's name is null with OBZ_ERR_INVALID_ARG, and nothing of it
 *     is added to the session.
 */
#ifndef OBZ_ENTRY_POINTS_H
#define OBZ_ENTRY_POINTS_H

#include "framework/include/obz_records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Start-up and description ------------------------------------------------------------------------------------ */

/* Starts the provider. A null version gives OBZ_ERR_VERSION and touches nothing; else the version record is filled.
 * context and fim_name may be null. OBZ_ERR_INIT when the provider cannot start; its messages went to the callback. */
typedef int32_t obzx_fi_init_fn(obz_context* context, obz_version* version, const char* fim_name);
/* Ends the provider and frees its objects; the library may be unloaded or init called again. */
typedef void obzx_fi_fini_fn(void);
/* One record that describes the provider; also before init. */
typedef int32_t obzx_fi_get_provider_info_fn(obz_provider_list** provider);
/* One element for each snapshot method of each appliance. */
typedef int32_t obzx_fi_enumerate_fims_fn(obz_fim_list** fims);
/* Gated. Parameters that the provider reads from its configuration store; freed with obzx_free_confspec. The node and
 * the output must not be null; the method and the locale may be null. */
typedef int32_t obzx_fi_config_fn(obz_domain* node, const char* fim, const char* locale, obz_confspec** parameters);

/* ---- Errors ------------------------------------------------------------------------------------------------------ */

/* The text of a message code in the caller's locale; null and OBZ_OK when the code has none. */
typedef int32_t obzx_fi_errmsg_fn(int32_t code, char** text);
/* The newest message of the error stack, which keeps it; null when the stack is empty. */
typedef int32_t obzx_fi_get_last_error_fn(obz_msg_info** message);
/* Frees a record of get_last_error and takes its message off the stack. */
typedef int32_t obzx_fi_del_last_error_fn(obz_msg_info* message);
/* The message's text in a locale; a null or empty locale means the default. */
typedef int32_t obzx_fi_get_locale_message_fn(const obz_msg_info* message, const char* locale, char** text);
/* Frees a text of errmsg or get_locale_message. */
typedef int32_t obzx_fi_del_locale_message_fn(char* text);

/* ---- Claiming ---------------------------------------------------------------------------------------------------- */

/* Runs delayed initialisation and ignores its failure. Result 1: the provider puts a node of its own before the offered
 * one; its identity, the identities of the groups that hold it (an array for obzx_free_objid_array) and their count are
 * stored. Result 0: not interposed, and the outputs are null and 0. */
typedef int32_t obzx_fi_interpose_fn(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups,
                                     int32_t* group_count);
/* OBZ_CLAIM_SECONDARY or OBZ_CLAIM_NONE; any null gives OBZ_CLAIM_NONE. The outputs are null and 0 either way. */
typedef int32_t obzx_fi_claim_fn(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondary_count);
/* 1 when the node can be snapshot by the method ("any": by any), and its access value says where; else 0, and so is the
 * access value, also for a null method. */
typedef int32_t obzx_fi_supports_fitype_fn(obz_domain* node, const char* fim);
/* Gated. */
typedef int32_t obzx_fi_getattr_fn(obz_domain* node, obz_attributes** attributes);
/* Gated. Stores 1 when the provider stands above the other one in a node's chain. */
typedef int32_t obzx_fi_is_parent_pgn_fn(obz_domain* node, const char* provider, int32_t* is_parent);

/* ---- Nodes ------------------------------------------------------------------------------------------------------- */

/* Gated. Sets a group node or an interposed node up; OBZ_ERR_FAILED when no appliance serves it. The list, its count
 * and the identity are not used and may be null. The node's list of combinations is overwritten; only one that the
 * provider built itself is freed before. */
typedef int32_t obzx_fi_init_node_fn(obz_domain* node, obz_domain** list, int32_t count, obzx_objid* identity);
/* Undoes init_node, init_altnode or process_providerstate; no result. */
typedef void obzx_fi_deinit_node_fn(obz_domain* node);
/* Gated. Imports the primary's copy under the target node; a null primary gives OBZ_ERR_FAILED. A time image that the
 * primary's state names may have been made by another process. The second node is not used and may be null. A new
 * identity in the target comes from obzx_get_objid; the one it had stays the host's. */
typedef int32_t obzx_fi_init_altnode_fn(obz_domain* primary, obz_domain* second, obz_domain* target);
/* Gated. As init_altnode for a target on another host: only the provider's state is copied. */
typedef int32_t obzx_fi_init_remnode_fn(obz_domain* primary, obz_domain* second, obz_domain* target);
/* Gated. Brings a node's state in (OBZ_STATE_SET) or out (OBZ_STATE_GET). */
typedef int32_t obzx_fi_process_providerstate_fn(obz_domain* node, obz_blob* blob, obz_op_providerstate operation);
typedef int32_t obzx_fi_reaccess_tmpobj_fn(obz_domain* node, obzx_objid** identity);
/* Gated. */
typedef int32_t obzx_fi_reaccess_altnode_fn(obz_domain* node, obzx_objid** identity);
/* Gated. */
typedef int32_t obzx_fi_subobj_list_fn(obz_domain* node, obzx_objid*** subobjects, int32_t* count);
/* Gated. Stores 1 when the node's object is there. */
typedef int32_t obzx_fi_check_node_existence_fn(obz_domain* node, int32_t* exists);
/* Gated. */
typedef int32_t obzx_fi_refresh_tree_fn(obz_domain* node);
typedef int32_t obzx_fi_revisit_pgn_nodes_fn(obz_pgn_node_list* nodes);

/* ---- Enumerations ------------------------------------------------------------------------------------------------ */

typedef int32_t obzx_fi_enumerate_nodes_fn(obz_objid_list** nodes, const char* filter);
/* Gated. */
typedef int32_t obzx_fi_enumerate_group_nodes_fn(obz_objid_list** nodes, const char* filter);
/* Gated. */
typedef int32_t obzx_fi_enumerate_associations_fn(obz_association_list** associations);
/* Gated. Stores 1 when the two objects are associated. */
typedef int32_t obzx_fi_isvalid_node_association_fn(obzx_objid* first, obzx_objid* second, int32_t* valid);
/* Gated. */
typedef int32_t obzx_fi_get_associated_nodes_fn(obzx_objid* identity, obz_objid_list** nodes);
typedef int32_t obzx_fi_enumerate_enclosures_fn(obz_objid_list** enclosures);
typedef int32_t obzx_fi_enumerate_host_nodes_fn(obz_objid_list** hosts);
/* Gated. */
typedef int32_t obzx_fi_query_valid_secondaries_fn(obz_domain* node, obz_objid_list** secondaries);

/* ---- Taking a snapshot ------------------------------------------------------------------------------------------- */

/* Gated. Adds the nodes to the session and does nothing else. */
typedef int32_t obzx_fi_preselect_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count);
/* Gated. Adds the nodes to the session when the provider agrees. */
typedef int32_t obzx_fi_select_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count);
/* Gated. */
typedef int32_t obzx_fi_pre_prepare_fn(const char* session);
/* Gated. Marks the session's nodes prepared. */
typedef int32_t obzx_fi_prepare_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                                   int32_t flags);
/* Gated. */
typedef int32_t obzx_fi_quiesce_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count);
/* Gated. Takes the snapshot of the session's nodes. identities: an array for obzx_free_objid_array with one identity a
 * node that now has a copy, in name order; also filled when the snapshot failed half-way. */
typedef int32_t obzx_fi_make_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                                obzx_objid*** identities, int32_t* identity_count);
typedef void obzx_fi_unquiesce_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count);
/* Gated. Stores 1 when the nodes' copies can be used. */
typedef int32_t obzx_fi_isready_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count, int32_t* ready);
/* Gated. */
typedef int32_t obzx_fi_verify_qscombos_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count);
/* Gated. Fills the handle with every node of the session that is made and was not handed out before. */
typedef int32_t obzx_fi_update_snapshot_handle_fn(const char* session, obz_snaphandle* handle);
/* Gated. */
typedef int32_t obzx_fi_update_snapshot_id_fn(const char* session, const char* id);
/* Gated. */
typedef int32_t obzx_fi_getSnapshotSetId_fn(const char* session, char** id);
/* Gated. */
typedef int32_t obzx_fi_createSnapReplicaNode_fn(obz_domain* node, obz_snapreplica_ele** replica);
/* Gated. */
typedef int32_t obzx_fi_get_snapdiff_fn(const char* first, const char* second, obz_objid_list** differences);
/* Gated. */
typedef int32_t obzx_fi_cache_disable_fn(obz_domain* node);
typedef void obzx_fi_cache_enable_fn(obz_domain* node);

/* ---- Bringing a copy to a host ----------------------------------------------------------------------------------- */

/* Gated. As init_altnode for an identity. The output is null until a device path is known; it is the primary's own
 * identity, which stays the host's, when the primary has no private data. The list is not used and may be null. */
typedef int32_t obzx_fi_import_tree_fn(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t count,
                                       obzx_objid** list);
/* Gated. Accepted, does nothing; all may be null. */
typedef int32_t obzx_fi_deport_tree_fn(obz_domain* node, obz_domain* target, obz_accessnode* access);
/* Gated. */
typedef int32_t obzx_fi_build_alttree_fn(obz_domain* primary, obz_domain* target);
/* Gated. */
typedef int32_t obzx_fi_start_build_alttree_fn(obz_domain* primary);
/* Gated. */
typedef int32_t obzx_fi_set_import_options_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count,
                                              const char* options);
/* Gated. Maps the copy that the identity names to this host. */
typedef int32_t obzx_fi_import_resource_fn(obzx_objid* identity, int32_t transportable, int32_t flags);
/* Gated. Takes the mapping back. */
typedef int32_t obzx_fi_deport_resource_fn(obzx_objid* identity, int32_t transportable, int32_t flags);
/* Gated. */
typedef int32_t obzx_fi_pre_deport_resource_fn(obzx_objid* identity);
/* Gated. */
typedef int32_t obzx_fi_post_deport_fn(obz_domain* node);
/* Gated. */
typedef int32_t obzx_fi_online_fn(obz_domain* node, obz_domain* target, obz_disposition disposition);
/* Gated. */
typedef int32_t obzx_fi_online_resource_fn(obzx_objid* identity);
/* Gated. */
typedef int32_t obzx_fi_enable_access_fn(obz_domain* node, obz_host_infn* hosts);
/* Gated. */
typedef int32_t obzx_fi_disable_access_fn(obz_domain* node, obz_host_infn* hosts);
/* Gated. The count must be 0; a non-zero one gives OBZ_ERR_INVALID_ARG. */
typedef int32_t obzx_fi_translate_resource_names_fn(char** names, int32_t count, char*** translated);

/* ---- Disposal, restore, status ----------------------------------------------------------------------------------- */

/* Gated. With OBZ_DISP_REMOVE deletes the copy that the target's identity names; a null target, or one without a name,
 * gives OBZ_OK: nothing is to do. OBZ_OK also when the appliance refused a deletion: the trace tells. The split node is
 * not used and may be null. */
typedef int32_t obzx_fi_dispose_fn(obz_domain* node, obz_domain* target, obz_splitnode* split,
                                   obz_disposition disposition);
/* Gated. Accepted, does nothing; all may be null. */
typedef int32_t obzx_fi_restore_fn(obzx_objid** from, obzx_objid** to, long count, char* session, char* path,
                                   char*** files, long* file_count, long flags, long* status);
/* Gated. */
typedef int32_t obzx_fi_resync_fn(obz_domain* node, obz_domain* target);
/* Gated. */
typedef int32_t obzx_fi_get_backupset_fn(const char* session, obz_bkupset** set);
/* Gated. */
typedef int32_t obzx_fi_set_restorepaths_fn(const char* session, char** paths, int32_t count);
/* Gated. */
typedef int32_t obzx_fi_set_op_status_fn(const char* session, int32_t status);
/* Gated. */
typedef int32_t obzx_fi_set_comp_status_fn(const char* session, const char* component, int32_t status);
/* Gated. */
typedef int32_t obzx_fi_get_app_status_fn(const char* session, int32_t* status);
/* Gated. */
typedef int32_t obzx_fi_get_status_fn(obz_domain* node, int32_t* status);
/* Gated. */
typedef int32_t obzx_fi_res_status_fn(obz_domain* node, int32_t* status);
/* Gated. */
typedef int32_t obzx_fi_format_fn(obz_domain* node);
/* Gated. */
typedef int32_t obzx_fi_unformat_fn(obz_domain* node);

/* ---- Control ----------------------------------------------------------------------------------------------------- */

/* Gated. A free-form request about a named object. OBZ_OK when the request reached the provider: its own outcome is in
 * status, its reply in reply (free with free). Null outputs are not written. */
typedef int32_t obzx_fi_objctl_fn(const char* name, char* request, char** reply, int64_t* status);

/* ---- The list ---------------------------------------------------------------------------------------------------- */

/* clang-format off */
#define OBZX_FI_ENTRY_POINTS(X) \
    X(init) X(fini) X(get_provider_info) X(enumerate_fims) X(config) \
    X(errmsg) X(get_last_error) X(del_last_error) X(get_locale_message) X(del_locale_message) \
    X(interpose) X(claim) X(supports_fitype) X(getattr) X(is_parent_pgn) \
    X(init_node) X(deinit_node) X(init_altnode) X(init_remnode) X(process_providerstate) X(reaccess_tmpobj) \
    X(reaccess_altnode) X(subobj_list) X(check_node_existence) X(refresh_tree) X(revisit_pgn_nodes) \
    X(enumerate_nodes) X(enumerate_group_nodes) X(enumerate_associations) X(isvalid_node_association) \
    X(get_associated_nodes) X(enumerate_enclosures) X(enumerate_host_nodes) X(query_valid_secondaries) \
    X(preselect) X(select) X(pre_prepare) X(prepare) X(quiesce) X(make) X(unquiesce) X(isready) X(verify_qscombos) \
    X(update_snapshot_handle) X(update_snapshot_id) X(getSnapshotSetId) X(createSnapReplicaNode) X(get_snapdiff) \
    X(cache_disable) X(cache_enable) \
    X(import_tree) X(deport_tree) X(build_alttree) X(start_build_alttree) X(set_import_options) X(import_resource) \
    X(deport_resource) X(pre_deport_resource) X(post_deport) X(online) X(online_resource) X(enable_access) \
    X(disable_access) X(translate_resource_names) \
    X(dispose) X(restore) X(resync) X(get_backupset) X(set_restorepaths) X(set_op_status) X(set_comp_status) \
    X(get_app_status) X(get_status) X(res_status) X(format) X(unformat) \
    X(objctl)
/* clang-format on */

enum
{
    OBZX_FI_ENTRY_POINT_COUNT = 77
};

/* Declares <provider>_fi_pgn_<name> for one name; OBZX_FI_DECLARE_ALL takes a macro of one argument that calls it. */
#define OBZX_FI_DECLARE(provider, op) obzx_fi_##op##_fn provider##_fi_pgn_##op

#ifdef __cplusplus
}
#endif

#endif
