/*
 * The 77 entry points of a provider. Plain C; a host loads a provider's library and looks each one up as
 * "<provider>_fi_pgn_<name>", for example cdpfi_fi_pgn_init.
 *
 * Conventions
 *  1. Every entry point has its function type here: obzx_fi_<name>_fn. OBZX_FI_ENTRY_POINTS lists all names in the
 *     order of this header; OBZX_FI_DECLARE(provider, name) declares one function of one provider.
 *  2. The result is a status (enum obz_status) unless the line says otherwise; OBZ_ERR_FAILED when there is no memory.
 *  3. Delayed initialisation: entry points marked "Gated." first run the provider's delayed initialisation, once in
 *     the life of the provider; the call that meets its failure returns OBZ_ERR_DELAYED_INIT before it looks at an
 *     argument.
 *  4. Not every provider has an answer to everything. A "Query" that the provider does not answer itself gives null, 0
 *     or an empty list with OBZ_OK; a "Notice" that it need not act on gives OBZ_OK; an "Action" that it does not know
 *     gives OBZ_ERR_UNSUPPORTED. Where a line names cdpfi, it tells what this system's own provider makes of the call.
 *  5. Nulls: a null where an object is needed gives OBZ_ERR_INVALID_ARG and never a crash; where a line says
 *     otherwise, the line holds. Marked "may be null" where nothing is needed. A list may be null when its count is 0
 *     or less.
 *  6. Outputs are set to null or 0 before anything else, and they stay so on failure. Only a call that meets a failed
 *     delayed initialisation leaves them as they are.
 *  7. Ownership: what comes out belongs to the host. Buffers, texts and arrays are freed with obzx_free_buf, identities
 *     with obzx_free_objid, lists with their own function (obzx_runtime.h). Lists without one (obz_objid_list,
 *     obz_association_list, obz_attributes) are freed record by record: identities and texts first, then the record, a
 *     buffer. Where a line says what an output is "for" (for obzx_free_objid_array), that call frees all of it. What
 *     goes in stays the host's and need not outlive the call, except the context of init and the nodes between
 *     init_node and deinit_node.
 *  8. Threads: any entry point may be called from any thread. init comes first and alone, fini last and alone;
 *     init_node and deinit_node are called one at a time; calls on one node are called one at a time.
 *  9. No exception leaves an entry point of a provider whose operations keep to their contract.
 * 10. Calls on split nodes take a single node and a list. When the list is null, its count 0 and the single node is
 *     there, the call is about that node; otherwise it is about the list. preselect, select, prepare and make
 *     refuse a list in which an entry, its node or the node's name is null with OBZ_ERR_INVALID_ARG, and nothing of it
 *     is added to the session.
 * 11. A session is named by the host, made by the first call that names it and there until fini. A null name gives
 *     OBZ_ERR_INVALID_ARG.
 */
#ifndef OBZ_ENTRY_POINTS_H
#define OBZ_ENTRY_POINTS_H

#include "framework/include/obz_records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Start-up and description ------------------------------------------------------------------------------------ */

/* Starts the provider. version is filled first; null gives OBZ_ERR_VERSION and touches nothing. context receives the
 * messages and is looked at until fini; it may be null, as may fim_name. OBZ_ERR_INIT: the provider cannot start; why
 * was told to the callback, and stands on the error stack once the texts are known. */
typedef int32_t obzx_fi_init_fn(obz_context* context, obz_version* version, const char* fim_name);
/* Ends the provider and frees its objects, its sessions with them. The library may be unloaded then, or init called
 * again. What the host was given stays valid, but what the provider's own calls free (see Errors) is freed before. */
typedef void obzx_fi_fini_fn(void);
/* Query, also before init. One record that describes the provider, for obzx_free_provider_list; null when there is no
 * memory for it. */
typedef int32_t obzx_fi_get_provider_info_fn(obz_provider_list** provider);
/* Query. The snapshot methods that the provider offers, one element for each method of each appliance, for
 * obzx_free_fim_list. What there is no memory for is left out. */
typedef int32_t obzx_fi_enumerate_fims_fn(obz_fim_list** fims);
/* Gated. Query. The parameters that the provider reads from its configuration store, with their defaults, in the order
 * of its description; for obzx_free_confspec. fim and locale may be null: every method and locale has the same ones. */
typedef int32_t obzx_fi_config_fn(obz_domain* node, const char* fim, const char* locale, obz_confspec** parameters);

/* ---- Errors ------------------------------------------------------------------------------------------------------ */

/* Query. The text of a message code in the locale of the context record; null when the code has none. For
 * del_locale_message. */
typedef int32_t obzx_fi_errmsg_fn(int32_t code, char** text);
/* Query. A record of the newest message of the error stack, which keeps it; null when the stack is empty. For
 * del_last_error. */
typedef int32_t obzx_fi_get_last_error_fn(obz_msg_info** message);
/* Frees a record of get_last_error and takes its message off the stack, unless another caller has taken it already. */
typedef int32_t obzx_fi_del_last_error_fn(obz_msg_info* message);
/* Query. The message's text in a locale, for del_locale_message; a null or empty locale means the default one. A
 * message of no known catalog reads as its key followed by its arguments. */
typedef int32_t obzx_fi_get_locale_message_fn(const obz_msg_info* message, const char* locale, char** text);
/* Frees a text of errmsg or get_locale_message. */
typedef int32_t obzx_fi_del_locale_message_fn(char* text);

/* ---- Claiming ---------------------------------------------------------------------------------------------------- */

/* Runs delayed initialisation and ignores its failure; one call at a time, others wait. Result 1: the provider puts a
 * node of its own before the offered one; its identity, the identities of the groups that hold it (an array for
 * obzx_free_objid_array, null when there is no memory) and their count are stored. Result 0: not interposed, also for
 * any null, and the outputs are null and 0. */
typedef int32_t obzx_fi_interpose_fn(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups,
                                     int32_t* group_count);
/* OBZ_CLAIM_SECONDARY when the object is one of the provider's own nodes, by its name; else OBZ_CLAIM_NONE, also for
 * any null. The outputs are null and 0 either way: the provider names no secondaries. */
typedef int32_t obzx_fi_claim_fn(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondary_count);
/* 1 when the node can be snapshot by the method ("any": by any). The node's access value, where it has one, then says
 * where the copy can be used (OBZ_ACCESS_*). Else 0, also for a null node or method, and the access value is 0. */
typedef int32_t obzx_fi_supports_fitype_fn(obz_domain* node, const char* fim);
/* Gated. Query. What the provider tells about the node, as a list of names and values. */
typedef int32_t obzx_fi_getattr_fn(obz_domain* node, obz_attributes** attributes);
/* Gated. Query. Stores 1 when the provider stands above the one that is named in the chain of providers of the node. */
typedef int32_t obzx_fi_is_parent_pgn_fn(obz_domain* node, const char* provider, int32_t* is_parent);

/* ---- Nodes ------------------------------------------------------------------------------------------------------- */

/* Gated. Sets up a node of the provider or a group node for snapshots: its name, value, private data and combinations;
 * a list of combinations that the provider did not build is overwritten, not freed. OBZ_ERR_FAILED when the node has no
 * name or no appliance serves it; a fresh node then keeps no private data. list, count and identity are not used and
 * may be null. */
typedef int32_t obzx_fi_init_node_fn(obz_domain* node, obz_domain** list, int32_t count, obzx_objid* identity);
/* Undoes init_node, init_altnode, init_remnode or process_providerstate; the host may free the node then. Nothing for a
 * null. */
typedef void obzx_fi_deinit_node_fn(obz_domain* node);
/* Gated. Action. Brings the primary's copy to this host under the target, which gets the primary's state. With
 * a time image in the state, also another process's, the copy's device path goes into the target's identity (made by
 * obzx_get_objid; the one it had stays the host's). Without one, the copy that the target's identity names is made and
 * granted, no more. cdpfi gives OBZ_ERR_FAILED for a null primary. second is not used and may be null. */
typedef int32_t obzx_fi_init_altnode_fn(obz_domain* primary, obz_domain* second, obz_domain* target);
/* Gated. Action. As init_altnode for a target on another host: only the primary's state is copied to the target. */
typedef int32_t obzx_fi_init_remnode_fn(obz_domain* primary, obz_domain* second, obz_domain* target);
/* Gated. OBZ_STATE_GET stores the node's state in the blob, with data from obzx_alloc_buf; OBZ_ERR_INVALID_ARG when the
 * node was not set up. OBZ_STATE_SET gives the node, also a fresh one, the state in the blob, of which no more than its
 * size is read; a blob that holds no text is accepted and changes nothing. Another operation: OBZ_ERR_INVALID_ARG. */
typedef int32_t obzx_fi_process_providerstate_fn(obz_domain* node, obz_blob* blob, obz_op_providerstate operation);
/* Query. A new identity by which the node's temporary object is reached from now on; null: by the one it has. */
typedef int32_t obzx_fi_reaccess_tmpobj_fn(obz_domain* node, obzx_objid** identity);
/* Gated. Query. The same for the object of an alternate node, the target of an import. */
typedef int32_t obzx_fi_reaccess_altnode_fn(obz_domain* node, obzx_objid** identity);
/* Gated. Query. The identities of the objects that the node consists of, an array for obzx_free_objid_array, and their
 * count. */
typedef int32_t obzx_fi_subobj_list_fn(obz_domain* node, obzx_objid*** subobjects, int32_t* count);
/* Gated. Query. Stores 1 when the node's object is there. An interposing provider that does not override the call
 * stores 1 for every node that was set up. */
typedef int32_t obzx_fi_check_node_existence_fn(obz_domain* node, int32_t* exists);
/* Gated. Notice: the host reads the tree below the node anew; what the provider remembers of it may be out of date. */
typedef int32_t obzx_fi_refresh_tree_fn(obz_domain* node);
/* Notice: the host visits these nodes of the provider once more. */
typedef int32_t obzx_fi_revisit_pgn_nodes_fn(obz_pgn_node_list* nodes);

/* ---- Enumerations ------------------------------------------------------------------------------------------------ */

/* Query. Identities of the nodes that the provider can name without being offered one. filter narrows them down in the
 * provider's own terms and may be null. */
typedef int32_t obzx_fi_enumerate_nodes_fn(obz_objid_list** nodes, const char* filter);
/* Gated. Query. The same for group nodes, which stand for several nodes that are snapshot together. */
typedef int32_t obzx_fi_enumerate_group_nodes_fn(obz_objid_list** nodes, const char* filter);
/* Gated. Query. Pairs of objects that belong together, such as a node and its group. */
typedef int32_t obzx_fi_enumerate_associations_fn(obz_association_list** associations);
/* Gated. Query. Stores 1 when the two objects are such a pair. */
typedef int32_t obzx_fi_isvalid_node_association_fn(obzx_objid* first, obzx_objid* second, int32_t* valid);
/* Gated. Query. Identities of the objects that make a pair with this one. */
typedef int32_t obzx_fi_get_associated_nodes_fn(obzx_objid* identity, obz_objid_list** nodes);
/* Query. Identities of the enclosures (storage systems) that the provider works with. */
typedef int32_t obzx_fi_enumerate_enclosures_fn(obz_objid_list** enclosures);
/* Query. Identities of the hosts that the provider's storage systems know. */
typedef int32_t obzx_fi_enumerate_host_nodes_fn(obz_objid_list** hosts);
/* Gated. Query. Identities of the objects that can hold a copy of the node. */
typedef int32_t obzx_fi_query_valid_secondaries_fn(obz_domain* node, obz_objid_list** secondaries);

/* ---- Taking a snapshot ------------------------------------------------------------------------------------------- */

/* Gated. Adds the nodes to the session without asking the provider. A node that is in it already keeps its progress. */
typedef int32_t obzx_fi_preselect_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count);
/* Gated. Asks the provider whether the nodes can be snapshot together, and adds them to the session when it agrees. A
 * refusal is the provider's status, and nothing is added. */
typedef int32_t obzx_fi_select_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count);
/* Gated. Notice: the session is complete and is prepared next. */
typedef int32_t obzx_fi_pre_prepare_fn(const char* session);
/* Gated. Marks the session's nodes prepared: those of select and preselect. The nodes that are given here are checked
 * and otherwise not used. flags are the provider's own. */
typedef int32_t obzx_fi_prepare_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                                   int32_t flags);
/* Gated. Notice: the snapshot is taken next, so the provider may hold back writes to these nodes until unquiesce. */
typedef int32_t obzx_fi_quiesce_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count);
/* Gated. Action. Takes the snapshot of the session's nodes that have no copy yet; the nodes that are given here are
 * checked and otherwise not used. identities: an array for obzx_free_objid_array, one identity for each node that now
 * has a copy, in name order; also when the snapshot failed half-way. Null and 0 for no node, and when there is no
 * memory for them, which gives OBZ_ERR_FAILED. When an output is missing, no snapshot is taken. */
typedef int32_t obzx_fi_make_fn(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                                obzx_objid*** identities, int32_t* identity_count);
/* Notice, without a result: the snapshot is over, however it ended. Not gated, so that writes go on in any case. */
typedef void obzx_fi_unquiesce_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count);
/* Gated. Query. Stores 1 when the nodes' copies can be used. An interposing provider that does not override the call
 * stores 1: a copy can be used from the moment it is made. */
typedef int32_t obzx_fi_isready_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count, int32_t* ready);
/* Gated. Notice: these nodes are to be snapshot by the combinations that the host chose; a provider may refuse them. */
typedef int32_t obzx_fi_verify_qscombos_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count);
/* Gated. Fills the handle with every node of the session that is made and was not handed out before: its name and the
 * target-device name of its copy. For obzx_free_snaphandle; what the handle held is overwritten, not freed.
 * OBZ_ERR_FAILED when there is no memory: nothing counts as handed out then. */
typedef int32_t obzx_fi_update_snapshot_handle_fn(const char* session, obz_snaphandle* handle);
/* Gated. Notice: the name under which the host keeps the session's snapshot. */
typedef int32_t obzx_fi_update_snapshot_id_fn(const char* session, const char* id);
/* Gated. Query. The name under which the provider keeps the session's copies as one set. */
typedef int32_t obzx_fi_getSnapshotSetId_fn(const char* session, char** id);
/* Gated. Action. Describes a replica of the node's copy in a record of the provider's own form. */
typedef int32_t obzx_fi_createSnapReplicaNode_fn(obz_domain* node, obz_snapreplica_ele** replica);
/* Gated. Action. Identities of the objects in which two snapshots, named by their ids, differ. */
typedef int32_t obzx_fi_get_snapdiff_fn(const char* first, const char* second, obz_objid_list** differences);
/* Gated. Notice: what is written to the node is not to stay in a cache of this host, until cache_enable. */
typedef int32_t obzx_fi_cache_disable_fn(obz_domain* node);
/* Notice, without a result: the node may be cached again. */
typedef void obzx_fi_cache_enable_fn(obz_domain* node);

/* ---- Bringing a copy to a host ----------------------------------------------------------------------------------- */

/* Gated. Action. As init_altnode, for the copy that *input names and without a target node. *output is null until a
 * device path is known, then a new identity of it, for obzx_free_objid; but a primary without private data gives its
 * own identity out, which stays the host's. A null *input, or one without a name, gives OBZ_ERR_INVALID_ARG. count and
 * list are not used, list may be null. */
typedef int32_t obzx_fi_import_tree_fn(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t count,
                                       obzx_objid** list);
/* Gated. Action. Takes an import of the node back. Which arguments are needed is the provider's affair; cdpfi accepts
 * any, also null ones, and does nothing. */
typedef int32_t obzx_fi_deport_tree_fn(obz_domain* node, obz_domain* target, obz_accessnode* access);
/* Gated. Notice: the target gets the tree of nodes that the primary has. */
typedef int32_t obzx_fi_build_alttree_fn(obz_domain* primary, obz_domain* target);
/* Gated. Notice: such trees are built from the primary next. */
typedef int32_t obzx_fi_start_build_alttree_fn(obz_domain* primary);
/* Gated. Notice: how the nodes' copies are to be imported, in the provider's own words. */
typedef int32_t obzx_fi_set_import_options_fn(obz_splitnode* node, obz_splitnode** nodes, int32_t count,
                                              const char* options);
/* Gated. Action. Maps the copy that the identity names to this host: a target-device name stands for one copy, which is
 * made when it is not there, a device path for the whole group of the device. An identity without a name gives
 * OBZ_ERR_INVALID_ARG. transportable (0 or 1) and flags go to the provider as they are; cdpfi does not look at them. */
typedef int32_t obzx_fi_import_resource_fn(obzx_objid* identity, int32_t transportable, int32_t flags);
/* Gated. Action. Takes such a mapping back; OBZ_OK also when the copy is not there. Arguments as of import_resource. */
typedef int32_t obzx_fi_deport_resource_fn(obzx_objid* identity, int32_t transportable, int32_t flags);
/* Gated. Notice: deport_resource comes next for the copy that the identity names. */
typedef int32_t obzx_fi_pre_deport_resource_fn(obzx_objid* identity);
/* Gated. Notice: what was imported under the node has been taken back. */
typedef int32_t obzx_fi_post_deport_fn(obz_domain* node);
/* Gated. Notice: the target, the copy of the node, is put to use. OBZ_DISP_REMOVE: it is to go afterwards. */
typedef int32_t obzx_fi_online_fn(obz_domain* node, obz_domain* target, obz_disposition disposition);
/* Gated. Notice: the copy that the identity names is put to use. */
typedef int32_t obzx_fi_online_resource_fn(obzx_objid* identity);
/* Gated. Action. Lets the hosts of the list use the node's copy. */
typedef int32_t obzx_fi_enable_access_fn(obz_domain* node, obz_host_infn* hosts);
/* Gated. Action. Takes that leave back. */
typedef int32_t obzx_fi_disable_access_fn(obz_domain* node, obz_host_infn* hosts);
/* Gated. Query. What the named resources are called on this host. Defined for an empty list only: a count other than
 * 0 gives OBZ_ERR_INVALID_ARG, and so does a null list. */
typedef int32_t obzx_fi_translate_resource_names_fn(char** names, int32_t count, char*** translated);

/* ---- Disposal, restore, status ----------------------------------------------------------------------------------- */

/* Gated. Action. With OBZ_DISP_REMOVE deletes the copy that the target's identity names; another disposition, a null
 * target, or one without a name gives OBZ_OK: nothing is to do. A target-device name is enough by itself; a device path
 * needs private data of node and target. OBZ_OK also when the appliance refused a deletion: the trace tells. split is
 * not used and may be null. */
typedef int32_t obzx_fi_dispose_fn(obz_domain* node, obz_domain* target, obz_splitnode* split,
                                   obz_disposition disposition);
/* Gated. Action. Restores the files, or all of them, of count pairs of copy and original, and stores which, how many
 * and with what outcome. cdpfi accepts the call, also with nulls, does nothing and leaves all outputs as they are. */
typedef int32_t obzx_fi_restore_fn(obzx_objid** from, obzx_objid** to, long count, char* session, char* path,
                                   char*** files, long* file_count, long flags, long* status);
/* Gated. Action. Makes the target, an earlier copy of the node, a copy of what the node holds now. */
typedef int32_t obzx_fi_resync_fn(obz_domain* node, obz_domain* target);
/* Gated. Query. The set of backups that the session belongs to, a record of the provider's own form. */
typedef int32_t obzx_fi_get_backupset_fn(const char* session, obz_bkupset** set);
/* Gated. Notice: the paths that the session restores; none: a null list with a count of 0 or less. */
typedef int32_t obzx_fi_set_restorepaths_fn(const char* session, char** paths, int32_t count);
/* Gated. Notice: how the host's operation of the session ended, 0 for success. */
typedef int32_t obzx_fi_set_op_status_fn(const char* session, int32_t status);
/* Gated. Notice: the same for one component of what is backed up. */
typedef int32_t obzx_fi_set_comp_status_fn(const char* session, const char* component, int32_t status);
/* Gated. Query. How the application of the session is doing, in the provider's own numbers; 0: nothing to tell. */
typedef int32_t obzx_fi_get_app_status_fn(const char* session, int32_t* status);
/* Gated. Query. The same for the node's copy. */
typedef int32_t obzx_fi_get_status_fn(obz_domain* node, int32_t* status);
/* Gated. Query. The same for the resource that the node lies on. */
typedef int32_t obzx_fi_res_status_fn(obz_domain* node, int32_t* status);
/* Gated. Action. Makes the node's object fit to hold copies. */
typedef int32_t obzx_fi_format_fn(obz_domain* node);
/* Gated. Action. Undoes format: the object is an ordinary one again. */
typedef int32_t obzx_fi_unformat_fn(obz_domain* node);

/* ---- Control ----------------------------------------------------------------------------------------------------- */

/* Gated. A free-form request about a named object, in the words of docs/host-interface.md (Object control). OBZ_OK when
 * it reached the provider: its outcome is in status (OBZ_ERR_UNSUPPORTED by default), its reply, one line, in reply,
 * which the C function free frees. All may be null: no name, no inputs, an output that is not wanted. The request stays
 * as it is. */
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

/* Declares <provider>_fi_pgn_<name> for one name. */
#define OBZX_FI_DECLARE(provider, op) obzx_fi_##op##_fn provider##_fi_pgn_##op

#ifdef __cplusplus
}
#endif

#endif
