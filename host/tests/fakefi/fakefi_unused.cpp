// Entry points that a host must find but fictl never calls.
#include <cstdint>

#include "framework/include/obz_records.h"
#include "framework/include/obzx_export.h"

#define FAKE_UNUSED(op)                               \
    extern "C" OBZX_API int32_t fakefi_fi_pgn_##op(); \
    int32_t fakefi_fi_pgn_##op()                      \
    {                                                 \
        return OBZ_ERR_UNSUPPORTED;                   \
    }
FAKE_UNUSED(errmsg)
FAKE_UNUSED(get_last_error)
FAKE_UNUSED(del_last_error)
FAKE_UNUSED(get_locale_message)
FAKE_UNUSED(del_locale_message)
FAKE_UNUSED(getattr)
FAKE_UNUSED(is_parent_pgn)
FAKE_UNUSED(init_remnode)
FAKE_UNUSED(reaccess_tmpobj)
FAKE_UNUSED(reaccess_altnode)
FAKE_UNUSED(subobj_list)
FAKE_UNUSED(check_node_existence)
FAKE_UNUSED(refresh_tree)
FAKE_UNUSED(revisit_pgn_nodes)
FAKE_UNUSED(enumerate_nodes)
FAKE_UNUSED(enumerate_group_nodes)
FAKE_UNUSED(enumerate_associations)
FAKE_UNUSED(isvalid_node_association)
FAKE_UNUSED(get_associated_nodes)
FAKE_UNUSED(enumerate_enclosures)
FAKE_UNUSED(enumerate_host_nodes)
FAKE_UNUSED(query_valid_secondaries)
FAKE_UNUSED(pre_prepare)
FAKE_UNUSED(isready)
FAKE_UNUSED(verify_qscombos)
FAKE_UNUSED(update_snapshot_id)
FAKE_UNUSED(getSnapshotSetId)
FAKE_UNUSED(createSnapReplicaNode)
FAKE_UNUSED(get_snapdiff)
FAKE_UNUSED(cache_disable)
FAKE_UNUSED(cache_enable)
FAKE_UNUSED(import_tree)
FAKE_UNUSED(deport_tree)
FAKE_UNUSED(build_alttree)
FAKE_UNUSED(start_build_alttree)
FAKE_UNUSED(set_import_options)
FAKE_UNUSED(import_resource)
FAKE_UNUSED(deport_resource)
FAKE_UNUSED(pre_deport_resource)
FAKE_UNUSED(post_deport)
FAKE_UNUSED(online)
FAKE_UNUSED(online_resource)
FAKE_UNUSED(enable_access)
FAKE_UNUSED(disable_access)
FAKE_UNUSED(translate_resource_names)
FAKE_UNUSED(restore)
FAKE_UNUSED(resync)
FAKE_UNUSED(get_backupset)
FAKE_UNUSED(set_restorepaths)
FAKE_UNUSED(set_op_status)
FAKE_UNUSED(set_comp_status)
FAKE_UNUSED(get_app_status)
FAKE_UNUSED(get_status)
FAKE_UNUSED(res_status)
FAKE_UNUSED(format)
FAKE_UNUSED(unformat)
#ifndef FAKEFI_WITHOUT_OBJCTL
FAKE_UNUSED(objctl)
#endif
