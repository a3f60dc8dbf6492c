// The functions of a provider with one defect (defects.h): each hands on to the good provider, through its defect.
#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_export.h"
#include "host/tests/kitfi/defective_call.h"

extern "C" {

#define KITFI_DECLARE(op)        \
    OBZX_FI_DECLARE(goodfi, op); \
    OBZX_API OBZX_FI_DECLARE(kitfi, op);
OBZX_FI_ENTRY_POINTS(KITFI_DECLARE)
#undef KITFI_DECLARE

int32_t kitfi_fi_pgn_init(obz_context* context, obz_version* version, const char* fim_name)
{
    return kitfi::callWithDefect("init", goodfi_fi_pgn_init, context, version, fim_name);
}

void kitfi_fi_pgn_fini()
{
    return kitfi::callWithDefect("fini", goodfi_fi_pgn_fini);
}

int32_t kitfi_fi_pgn_get_provider_info(obz_provider_list** provider)
{
    return kitfi::callWithDefect("get_provider_info", goodfi_fi_pgn_get_provider_info, provider);
}

int32_t kitfi_fi_pgn_enumerate_fims(obz_fim_list** fims)
{
    return kitfi::callWithDefect("enumerate_fims", goodfi_fi_pgn_enumerate_fims, fims);
}

int32_t kitfi_fi_pgn_config(obz_domain* node, const char* fim, const char* locale, obz_confspec** parameters)
{
    return kitfi::callWithDefect("config", goodfi_fi_pgn_config, node, fim, locale, parameters);
}

int32_t kitfi_fi_pgn_errmsg(int32_t code, char** text)
{
    return kitfi::callWithDefect("errmsg", goodfi_fi_pgn_errmsg, code, text);
}

int32_t kitfi_fi_pgn_get_last_error(obz_msg_info** message)
{
    return kitfi::callWithDefect("get_last_error", goodfi_fi_pgn_get_last_error, message);
}

int32_t kitfi_fi_pgn_del_last_error(obz_msg_info* message)
{
    return kitfi::callWithDefect("del_last_error", goodfi_fi_pgn_del_last_error, message);
}

int32_t kitfi_fi_pgn_get_locale_message(const obz_msg_info* message, const char* locale, char** text)
{
    return kitfi::callWithDefect("get_locale_message", goodfi_fi_pgn_get_locale_message, message, locale, text);
}

int32_t kitfi_fi_pgn_del_locale_message(char* text)
{
    return kitfi::callWithDefect("del_locale_message", goodfi_fi_pgn_del_locale_message, text);
}

int32_t kitfi_fi_pgn_interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* group_count)
{
    return kitfi::callWithDefect("interpose", goodfi_fi_pgn_interpose, node, interposed, groups, group_count);
}

int32_t kitfi_fi_pgn_claim(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondary_count)
{
    return kitfi::callWithDefect("claim", goodfi_fi_pgn_claim, primary, secondaries, secondary_count);
}

int32_t kitfi_fi_pgn_supports_fitype(obz_domain* node, const char* fim)
{
    return kitfi::callWithDefect("supports_fitype", goodfi_fi_pgn_supports_fitype, node, fim);
}

int32_t kitfi_fi_pgn_getattr(obz_domain* node, obz_attributes** attributes)
{
    return kitfi::callWithDefect("getattr", goodfi_fi_pgn_getattr, node, attributes);
}

int32_t kitfi_fi_pgn_is_parent_pgn(obz_domain* node, const char* provider, int32_t* is_parent)
{
    return kitfi::callWithDefect("is_parent_pgn", goodfi_fi_pgn_is_parent_pgn, node, provider, is_parent);
}

int32_t kitfi_fi_pgn_init_node(obz_domain* node, obz_domain** list, int32_t count, obzx_objid* identity)
{
    return kitfi::callWithDefect("init_node", goodfi_fi_pgn_init_node, node, list, count, identity);
}

void kitfi_fi_pgn_deinit_node(obz_domain* node)
{
    return kitfi::callWithDefect("deinit_node", goodfi_fi_pgn_deinit_node, node);
}

int32_t kitfi_fi_pgn_init_altnode(obz_domain* primary, obz_domain* second, obz_domain* target)
{
    return kitfi::callWithDefect("init_altnode", goodfi_fi_pgn_init_altnode, primary, second, target);
}

int32_t kitfi_fi_pgn_init_remnode(obz_domain* primary, obz_domain* second, obz_domain* target)
{
    return kitfi::callWithDefect("init_remnode", goodfi_fi_pgn_init_remnode, primary, second, target);
}

int32_t kitfi_fi_pgn_process_providerstate(obz_domain* node, obz_blob* blob, obz_op_providerstate operation)
{
    return kitfi::callWithDefect("process_providerstate", goodfi_fi_pgn_process_providerstate, node, blob, operation);
}

int32_t kitfi_fi_pgn_reaccess_tmpobj(obz_domain* node, obzx_objid** identity)
{
    return kitfi::callWithDefect("reaccess_tmpobj", goodfi_fi_pgn_reaccess_tmpobj, node, identity);
}

int32_t kitfi_fi_pgn_reaccess_altnode(obz_domain* node, obzx_objid** identity)
{
    return kitfi::callWithDefect("reaccess_altnode", goodfi_fi_pgn_reaccess_altnode, node, identity);
}

int32_t kitfi_fi_pgn_subobj_list(obz_domain* node, obzx_objid*** subobjects, int32_t* count)
{
    return kitfi::callWithDefect("subobj_list", goodfi_fi_pgn_subobj_list, node, subobjects, count);
}

int32_t kitfi_fi_pgn_check_node_existence(obz_domain* node, int32_t* exists)
{
    return kitfi::callWithDefect("check_node_existence", goodfi_fi_pgn_check_node_existence, node, exists);
}

int32_t kitfi_fi_pgn_refresh_tree(obz_domain* node)
{
    return kitfi::callWithDefect("refresh_tree", goodfi_fi_pgn_refresh_tree, node);
}

int32_t kitfi_fi_pgn_revisit_pgn_nodes(obz_pgn_node_list* nodes)
{
    return kitfi::callWithDefect("revisit_pgn_nodes", goodfi_fi_pgn_revisit_pgn_nodes, nodes);
}

int32_t kitfi_fi_pgn_enumerate_nodes(obz_objid_list** nodes, const char* filter)
{
    return kitfi::callWithDefect("enumerate_nodes", goodfi_fi_pgn_enumerate_nodes, nodes, filter);
}

int32_t kitfi_fi_pgn_enumerate_group_nodes(obz_objid_list** nodes, const char* filter)
{
    return kitfi::callWithDefect("enumerate_group_nodes", goodfi_fi_pgn_enumerate_group_nodes, nodes, filter);
}

int32_t kitfi_fi_pgn_enumerate_associations(obz_association_list** associations)
{
    return kitfi::callWithDefect("enumerate_associations", goodfi_fi_pgn_enumerate_associations, associations);
}

int32_t kitfi_fi_pgn_isvalid_node_association(obzx_objid* first, obzx_objid* second, int32_t* valid)
{
    return kitfi::callWithDefect("isvalid_node_association", goodfi_fi_pgn_isvalid_node_association, first, second,
                                 valid);
}

int32_t kitfi_fi_pgn_get_associated_nodes(obzx_objid* identity, obz_objid_list** nodes)
{
    return kitfi::callWithDefect("get_associated_nodes", goodfi_fi_pgn_get_associated_nodes, identity, nodes);
}

int32_t kitfi_fi_pgn_enumerate_enclosures(obz_objid_list** enclosures)
{
    return kitfi::callWithDefect("enumerate_enclosures", goodfi_fi_pgn_enumerate_enclosures, enclosures);
}

int32_t kitfi_fi_pgn_enumerate_host_nodes(obz_objid_list** hosts)
{
    return kitfi::callWithDefect("enumerate_host_nodes", goodfi_fi_pgn_enumerate_host_nodes, hosts);
}

int32_t kitfi_fi_pgn_query_valid_secondaries(obz_domain* node, obz_objid_list** secondaries)
{
    return kitfi::callWithDefect("query_valid_secondaries", goodfi_fi_pgn_query_valid_secondaries, node, secondaries);
}

int32_t kitfi_fi_pgn_preselect(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count)
{
    return kitfi::callWithDefect("preselect", goodfi_fi_pgn_preselect, node, session, nodes, count);
}

int32_t kitfi_fi_pgn_select(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count)
{
    return kitfi::callWithDefect("select", goodfi_fi_pgn_select, node, session, nodes, count);
}

int32_t kitfi_fi_pgn_pre_prepare(const char* session)
{
    return kitfi::callWithDefect("pre_prepare", goodfi_fi_pgn_pre_prepare, session);
}

int32_t kitfi_fi_pgn_prepare(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                             int32_t flags)
{
    return kitfi::callWithDefect("prepare", goodfi_fi_pgn_prepare, node, session, nodes, count, flags);
}

int32_t kitfi_fi_pgn_quiesce(obz_splitnode* node, obz_splitnode** nodes, int32_t count)
{
    return kitfi::callWithDefect("quiesce", goodfi_fi_pgn_quiesce, node, nodes, count);
}

int32_t kitfi_fi_pgn_make(obz_splitnode* node, const char* session, obz_splitnode** nodes, int32_t count,
                          obzx_objid*** identities, int32_t* identity_count)
{
    return kitfi::callWithDefect("make", goodfi_fi_pgn_make, node, session, nodes, count, identities, identity_count);
}

void kitfi_fi_pgn_unquiesce(obz_splitnode* node, obz_splitnode** nodes, int32_t count)
{
    return kitfi::callWithDefect("unquiesce", goodfi_fi_pgn_unquiesce, node, nodes, count);
}

int32_t kitfi_fi_pgn_isready(obz_splitnode* node, obz_splitnode** nodes, int32_t count, int32_t* ready)
{
    return kitfi::callWithDefect("isready", goodfi_fi_pgn_isready, node, nodes, count, ready);
}

int32_t kitfi_fi_pgn_verify_qscombos(obz_splitnode* node, obz_splitnode** nodes, int32_t count)
{
    return kitfi::callWithDefect("verify_qscombos", goodfi_fi_pgn_verify_qscombos, node, nodes, count);
}

int32_t kitfi_fi_pgn_update_snapshot_handle(const char* session, obz_snaphandle* handle)
{
    return kitfi::callWithDefect("update_snapshot_handle", goodfi_fi_pgn_update_snapshot_handle, session, handle);
}

int32_t kitfi_fi_pgn_update_snapshot_id(const char* session, const char* id)
{
    return kitfi::callWithDefect("update_snapshot_id", goodfi_fi_pgn_update_snapshot_id, session, id);
}

int32_t kitfi_fi_pgn_getSnapshotSetId(const char* session, char** id)
{
    return kitfi::callWithDefect("getSnapshotSetId", goodfi_fi_pgn_getSnapshotSetId, session, id);
}

int32_t kitfi_fi_pgn_createSnapReplicaNode(obz_domain* node, obz_snapreplica_ele** replica)
{
    return kitfi::callWithDefect("createSnapReplicaNode", goodfi_fi_pgn_createSnapReplicaNode, node, replica);
}

int32_t kitfi_fi_pgn_get_snapdiff(const char* first, const char* second, obz_objid_list** differences)
{
    return kitfi::callWithDefect("get_snapdiff", goodfi_fi_pgn_get_snapdiff, first, second, differences);
}

int32_t kitfi_fi_pgn_cache_disable(obz_domain* node)
{
    return kitfi::callWithDefect("cache_disable", goodfi_fi_pgn_cache_disable, node);
}

void kitfi_fi_pgn_cache_enable(obz_domain* node)
{
    return kitfi::callWithDefect("cache_enable", goodfi_fi_pgn_cache_enable, node);
}

int32_t kitfi_fi_pgn_import_tree(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t count,
                                 obzx_objid** list)
{
    return kitfi::callWithDefect("import_tree", goodfi_fi_pgn_import_tree, primary, input, output, count, list);
}

int32_t kitfi_fi_pgn_deport_tree(obz_domain* node, obz_domain* target, obz_accessnode* access)
{
    return kitfi::callWithDefect("deport_tree", goodfi_fi_pgn_deport_tree, node, target, access);
}

int32_t kitfi_fi_pgn_build_alttree(obz_domain* primary, obz_domain* target)
{
    return kitfi::callWithDefect("build_alttree", goodfi_fi_pgn_build_alttree, primary, target);
}

int32_t kitfi_fi_pgn_start_build_alttree(obz_domain* primary)
{
    return kitfi::callWithDefect("start_build_alttree", goodfi_fi_pgn_start_build_alttree, primary);
}

int32_t kitfi_fi_pgn_set_import_options(obz_splitnode* node, obz_splitnode** nodes, int32_t count, const char* options)
{
    return kitfi::callWithDefect("set_import_options", goodfi_fi_pgn_set_import_options, node, nodes, count, options);
}

int32_t kitfi_fi_pgn_import_resource(obzx_objid* identity, int32_t transportable, int32_t flags)
{
    return kitfi::callWithDefect("import_resource", goodfi_fi_pgn_import_resource, identity, transportable, flags);
}

int32_t kitfi_fi_pgn_deport_resource(obzx_objid* identity, int32_t transportable, int32_t flags)
{
    return kitfi::callWithDefect("deport_resource", goodfi_fi_pgn_deport_resource, identity, transportable, flags);
}

int32_t kitfi_fi_pgn_pre_deport_resource(obzx_objid* identity)
{
    return kitfi::callWithDefect("pre_deport_resource", goodfi_fi_pgn_pre_deport_resource, identity);
}

int32_t kitfi_fi_pgn_post_deport(obz_domain* node)
{
    return kitfi::callWithDefect("post_deport", goodfi_fi_pgn_post_deport, node);
}

int32_t kitfi_fi_pgn_online(obz_domain* node, obz_domain* target, obz_disposition disposition)
{
    return kitfi::callWithDefect("online", goodfi_fi_pgn_online, node, target, disposition);
}

int32_t kitfi_fi_pgn_online_resource(obzx_objid* identity)
{
    return kitfi::callWithDefect("online_resource", goodfi_fi_pgn_online_resource, identity);
}

int32_t kitfi_fi_pgn_enable_access(obz_domain* node, obz_host_infn* hosts)
{
    return kitfi::callWithDefect("enable_access", goodfi_fi_pgn_enable_access, node, hosts);
}

int32_t kitfi_fi_pgn_disable_access(obz_domain* node, obz_host_infn* hosts)
{
    return kitfi::callWithDefect("disable_access", goodfi_fi_pgn_disable_access, node, hosts);
}

int32_t kitfi_fi_pgn_translate_resource_names(char** names, int32_t count, char*** translated)
{
    return kitfi::callWithDefect("translate_resource_names", goodfi_fi_pgn_translate_resource_names, names, count,
                                 translated);
}

int32_t kitfi_fi_pgn_dispose(obz_domain* node, obz_domain* target, obz_splitnode* split, obz_disposition disposition)
{
    return kitfi::callWithDefect("dispose", goodfi_fi_pgn_dispose, node, target, split, disposition);
}

int32_t kitfi_fi_pgn_restore(obzx_objid** from, obzx_objid** to, long count, char* session, char* path, char*** files,
                             long* file_count, long flags, long* status)
{
    return kitfi::callWithDefect("restore", goodfi_fi_pgn_restore, from, to, count, session, path, files, file_count,
                                 flags, status);
}

int32_t kitfi_fi_pgn_resync(obz_domain* node, obz_domain* target)
{
    return kitfi::callWithDefect("resync", goodfi_fi_pgn_resync, node, target);
}

int32_t kitfi_fi_pgn_get_backupset(const char* session, obz_bkupset** set)
{
    return kitfi::callWithDefect("get_backupset", goodfi_fi_pgn_get_backupset, session, set);
}

int32_t kitfi_fi_pgn_set_restorepaths(const char* session, char** paths, int32_t count)
{
    return kitfi::callWithDefect("set_restorepaths", goodfi_fi_pgn_set_restorepaths, session, paths, count);
}

int32_t kitfi_fi_pgn_set_op_status(const char* session, int32_t status)
{
    return kitfi::callWithDefect("set_op_status", goodfi_fi_pgn_set_op_status, session, status);
}

int32_t kitfi_fi_pgn_set_comp_status(const char* session, const char* component, int32_t status)
{
    return kitfi::callWithDefect("set_comp_status", goodfi_fi_pgn_set_comp_status, session, component, status);
}

int32_t kitfi_fi_pgn_get_app_status(const char* session, int32_t* status)
{
    return kitfi::callWithDefect("get_app_status", goodfi_fi_pgn_get_app_status, session, status);
}

int32_t kitfi_fi_pgn_get_status(obz_domain* node, int32_t* status)
{
    return kitfi::callWithDefect("get_status", goodfi_fi_pgn_get_status, node, status);
}

int32_t kitfi_fi_pgn_res_status(obz_domain* node, int32_t* status)
{
    return kitfi::callWithDefect("res_status", goodfi_fi_pgn_res_status, node, status);
}

int32_t kitfi_fi_pgn_format(obz_domain* node)
{
    return kitfi::callWithDefect("format", goodfi_fi_pgn_format, node);
}

int32_t kitfi_fi_pgn_unformat(obz_domain* node)
{
    return kitfi::callWithDefect("unformat", goodfi_fi_pgn_unformat, node);
}

int32_t kitfi_fi_pgn_objctl(const char* name, char* request, char** reply, int64_t* status)
{
    return kitfi::callWithDefect("objctl", goodfi_fi_pgn_objctl, name, request, reply, status);
}

}  // extern "C"
