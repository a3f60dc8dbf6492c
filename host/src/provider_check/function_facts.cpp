#include "host/src/provider_check/function_facts.h"

#include <algorithm>
#include <string>

namespace fictl {

// clang-format off
const std::array<SFunctionFacts, OBZX_FI_ENTRY_POINT_COUNT> FUNCTION_FACTS = {{
    {"init", false, "?context !>version ?fim_name"},
    {"fini", false, ""},
    {"get_provider_info", false, "!>provider"},
    {"enumerate_fims", false, "!>fims"},
    {"config", true, "!node ?fim ?locale !>parameters"},
    {"errmsg", false, "#code !>text"},
    {"get_last_error", false, "!>message"},
    {"del_last_error", false, "!message"},
    {"get_locale_message", false, "!message ?locale !>text"},
    {"del_locale_message", false, "!text"},
    {"interpose", false, "!node !>interposed !>groups !>group_count"},
    {"claim", false, "!primary !>secondaries !>secondary_count"},
    {"supports_fitype", false, "!node !fim"},
    {"getattr", true, "!node !>attributes"},
    {"is_parent_pgn", true, "!node !provider !>is_parent"},
    {"init_node", true, "!node ?list #count ?identity"},
    {"deinit_node", false, "!node"},
    {"init_altnode", true, "!primary ?second !target"},
    {"init_remnode", true, "!primary ?second !target"},
    {"process_providerstate", true, "!node !>blob #operation"},
    {"reaccess_tmpobj", false, "!node !>identity"},
    {"reaccess_altnode", true, "!node !>identity"},
    {"subobj_list", true, "!node !>subobjects !>count"},
    {"check_node_existence", true, "!node !>exists"},
    {"refresh_tree", true, "!node"},
    {"revisit_pgn_nodes", false, "!nodes"},
    {"enumerate_nodes", false, "!>nodes ?filter"},
    {"enumerate_group_nodes", true, "!>nodes ?filter"},
    {"enumerate_associations", true, "!>associations"},
    {"isvalid_node_association", true, "!first !second !>valid"},
    {"get_associated_nodes", true, "!identity !>nodes"},
    {"enumerate_enclosures", false, "!>enclosures"},
    {"enumerate_host_nodes", false, "!>hosts"},
    {"query_valid_secondaries", true, "!node !>secondaries"},
    {"preselect", true, "?node !session *nodes #count"},
    {"select", true, "?node !session *nodes #count"},
    {"pre_prepare", true, "!session"},
    {"prepare", true, "?node !session *nodes #count #flags"},
    {"quiesce", true, "?node *nodes #count"},
    {"make", true, "?node !session *nodes #count !>identities !>identity_count"},
    {"unquiesce", false, "?node *nodes #count"},
    {"isready", true, "?node *nodes #count !>ready"},
    {"verify_qscombos", true, "?node *nodes #count"},
    {"update_snapshot_handle", true, "!session !>handle"},
    {"update_snapshot_id", true, "!session !id"},
    {"getSnapshotSetId", true, "!session !>id"},
    {"createSnapReplicaNode", true, "!node !>replica"},
    {"get_snapdiff", true, "!first !second !>differences"},
    {"cache_disable", true, "!node"},
    {"cache_enable", false, "!node"},
    {"import_tree", true, "!primary !input !>output #count ?list"},
    {"deport_tree", true, "?node ?target ?access"},
    {"build_alttree", true, "!primary !target"},
    {"start_build_alttree", true, "!primary"},
    {"set_import_options", true, "?node *nodes #count !options"},
    {"import_resource", true, "!identity #transportable #flags"},
    {"deport_resource", true, "!identity #transportable #flags"},
    {"pre_deport_resource", true, "!identity"},
    {"post_deport", true, "!node"},
    {"online", true, "!node !target #disposition"},
    {"online_resource", true, "!identity"},
    {"enable_access", true, "!node !hosts"},
    {"disable_access", true, "!node !hosts"},
    {"translate_resource_names", true, "!names 0count !>translated"},
    {"dispose", true, "!node !target ?split #disposition"},
    {"restore", true, "?from ?to #count ?session ?path ?>files ?>file_count #flags ?>status"},
    {"resync", true, "!node !target"},
    {"get_backupset", true, "!session !>set"},
    {"set_restorepaths", true, "!session *paths #count"},
    {"set_op_status", true, "!session #status"},
    {"set_comp_status", true, "!session !component #status"},
    {"get_app_status", true, "!session !>status"},
    {"get_status", true, "!node !>status"},
    {"res_status", true, "!node !>status"},
    {"format", true, "!node"},
    {"unformat", true, "!node"},
    {"objctl", true, "?name ?request ?>reply ?>status"},
}};
// clang-format on

namespace {

struct SStatuses
{
    std::string_view function;
    std::string_view words;
};

// The functions with statuses of their own; all others have those of the gated and of the ungated ones.
constexpr SStatuses OWN_STATUSES[] = {
    {"init", "0, 7 or 30"},
    {"interpose", "0 or 1"},
    {"claim", "0 or 2"},
    {"supports_fitype", "0 or 1"},
};
constexpr std::string_view GATED_STATUSES = "0, 1, 3, 5 or 6";
constexpr std::string_view UNGATED_STATUSES = "0, 3, 5 or 6";

struct SNullStatus
{
    std::string_view function;
    std::string_view argument;  // empty: each
    int32_t status;
};

// In place of OBZ_ERR_INVALID_ARG.
constexpr SNullStatus OWN_NULL_STATUSES[] = {
    {"init", "", OBZ_ERR_VERSION},
    {"interpose", "", 0},
    {"claim", "", OBZ_CLAIM_NONE},
    {"supports_fitype", "", 0},
};
// Beside OBZ_ERR_INVALID_ARG, of a provider that carries the action out.
constexpr SNullStatus OTHER_NULL_STATUSES[] = {
    {"init_altnode", "primary", OBZ_ERR_FAILED},
    {"init_remnode", "primary", OBZ_ERR_FAILED},
    {"dispose", "node", OBZ_ERR_FAILED},
    {"dispose", "target", OBZ_OK},
};

}  // namespace

bool isNullStatus(std::string_view function, std::string_view argument, int64_t status)
{
    for (const SNullStatus& own : OWN_NULL_STATUSES) {
        if (own.function == function) return status == own.status;
    }
    const bool isOther =
        std::any_of(std::begin(OTHER_NULL_STATUSES), std::end(OTHER_NULL_STATUSES), [&](const SNullStatus& other) {
            return other.function == function && other.argument == argument && other.status == status;
        });
    return status == OBZ_ERR_INVALID_ARG || isOther;
}

std::string_view statusesOf(std::string_view function, bool isGated)
{
    for (const SStatuses& own : OWN_STATUSES) {
        if (own.function == function) return own.words;
    }
    return isGated ? GATED_STATUSES : UNGATED_STATUSES;
}

bool isStatusOf(std::string_view function, bool isGated, int64_t status)
{
    const std::string words = " " + std::string(statusesOf(function, isGated)) + " ";
    const std::string number = " " + std::to_string(status);
    return words.find(number + ",") != std::string::npos || words.find(number + " ") != std::string::npos;
}

}  // namespace fictl
