// Defects in what functions make of their arguments, and in what they store.
#include "framework/include/obzx_runtime.h"
#include "host/tests/kitfi/defect_actions.h"

namespace kitfi {

namespace {

void keepVersion(SCall& call)
{
    if (auto* const version = call.pointer<obz_version>(1)) version->version = OBZ_INTERFACE_VERSION - 1;
}

void leaveReserved(SCall& call)
{
    if (auto* const version = call.pointer<obz_version>(1)) version->reserved[5] = 1;
}

void failWithoutAWord(SCall& call)
{
    *call.pointer<obz_version>(1) = {OBZ_INTERFACE_VERSION, {}};
    call.answer(OBZ_ERR_INIT);
}

bool withAVersion(const SCall& call)
{
    return call.words[1] != 0;
}

void forgetName(SCall& call)
{
    if (auto** const list = call.pointer<obz_provider_list*>(0)) {
        obzx_free_buf((*list)->name, 0);
        (*list)->name = nullptr;
    }
}

void forgetProviderOfMethod(SCall& call)
{
    if (auto** const list = call.pointer<obz_fim_list*>(0)) {
        obzx_free_buf((*list)->provider, 0);
        (*list)->provider = nullptr;
    }
}

void addNamelessValue(SCall& call)
{
    if (call.words[3] != 0) {
        *call.pointer<void*>(3) = obzx_alloc_buf(sizeof(obz_confspec));
    }
}

void touchWithoutAVersion(SCall& call)
{
    auto* const context = call.pointer<obz_context>(0);
    if (context != nullptr && context->callback != nullptr) context->callback(context, "", "no version", OBZ_SEV_INFO);
}

bool withoutAVersion(const SCall& call)
{
    return call.words[1] == 0;
}

// The list is taken as it is.
void passGap(SCall& call)
{
    call.answer(OBZ_OK);
}

bool isGap(const obz_splitnode* node)
{
    return node == nullptr || node->node == nullptr || node->node->name == nullptr;
}

bool withAGapAtItsEnd(const SCall& call)
{
    auto* const* const nodes = call.pointer<obz_splitnode*>(2);
    return nodes != nullptr && call.words[3] == 2 && !isGap(nodes[0]) && isGap(nodes[1]);
}

bool withASingleGap(const SCall& call)
{
    return call.words[0] != 0 && call.words[2] == 0 && isGap(call.pointer<obz_splitnode>(0));
}

// What stands before the gap is added all the same.
void addTheRest(SCall& call)
{
    call.words[3] = 1;
}

bool withAnotherOperation(const SCall& call)
{
    return call.words[2] > OBZ_STATE_GET;
}

constexpr SDefect DEFECTS[] = {
    {"version-old", "version", "init", always, nullptr, keepVersion},
    {"version-rest", "version", "init", always, nullptr, leaveReserved},
    {"version-null-accepted", "version", "init", withoutAVersion, answer<OBZ_OK>, nullptr},
    {"version-null-told", "version", "init", withoutAVersion, touchWithoutAVersion, nullptr},
    {"init-fails-silently", "start", "init", withAVersion, failWithoutAWord, nullptr},
    {"description-nameless", "description", "get_provider_info", always, nullptr, forgetName},
    {"method-without-provider", "description", "enumerate_fims", always, nullptr, forgetProviderOfMethod},
    {"value-nameless", "description", "config", always, nullptr, addNamelessValue},
    {"null-node-accepted", "nulls", "refresh_tree", withANull, answer<OBZ_OK>, nullptr},
    {"null-node-fails", "nulls", "getattr", withANull, change<OBZ_ERR_FAILED>, change<OBZ_ERR_FAILED>},
    {"null-identity-crashes", "nulls", "online_resource", withANull, crash, nullptr},
    {"null-claim-owned", "nulls", "claim", withANull, nullptr, change<OBZ_CLAIM_SECONDARY>},
    {"null-deinit-crashes", "nulls", "deinit_node", withANull, crash, nullptr},
    {"null-optional-crashes", "nulls", "enumerate_nodes", [](const SCall& call) { return call.words[1] == 0; }, crash,
     nullptr},
    {"all-null-crashes", "all-nulls", "restore", withNothing, crash, nullptr},
    {"all-null-unquiesce-crashes", "all-nulls", "unquiesce", withNothing, crash, nullptr},
    {"output-left-on-refusal", "outputs", "subobj_list", withANull, answer<OBZ_ERR_INVALID_ARG>, nullptr},
    {"output-left-on-failure", "outputs", "get_snapdiff", always, answer<OBZ_ERR_UNSUPPORTED>, nullptr},
    {"output-not-stored", "outputs", "get_app_status", always, answer<OBZ_OK>, nullptr},
    {"output-with-failure", "outputs", "get_status", always, nullptr,
     [](SCall& call) {
         store<1, int32_t, 7>(call);
         call.status = OBZ_ERR_FAILED;
     }},
    {"access-left", "outputs", "supports_fitype", always, answer<0>, nullptr},
    {"status-4", "statuses", "prepare", always, nullptr, change<OBZ_USE_SESSION>},
    {"status-of-its-own", "statuses", "quiesce", always, nullptr, change<77>},
    {"status-negative", "statuses", "enumerate_enclosures", always, nullptr, change<-1>},
    {"status-30-outside-init", "statuses", "select", always, nullptr, change<OBZ_ERR_INIT>},
    {"count-without-list", "counts", "verify_qscombos",
     [](const SCall& call) { return call.words[1] == 0 && static_cast<int64_t>(call.words[2]) > 0; }, answer<OBZ_OK>,
     nullptr},
    {"count-huge-crashes", "counts", "set_restorepaths",
     [](const SCall& call) { return call.words[1] == 0 && call.words[2] == INT32_MAX; }, crash, nullptr},
    {"count-negative-refused", "counts", "isready", withANumberBelow0, nullptr, change<OBZ_ERR_INVALID_ARG>},
    {"count-of-names-accepted", "counts", "translate_resource_names",
     [](const SCall& call) { return call.words[1] != 0; }, answer<OBZ_OK>, nullptr},
    {"gap-accepted", "gaps", "preselect", withAGapAtItsEnd, passGap, nullptr},
    {"gap-rest-added", "gaps", "select", withAGapAtItsEnd, addTheRest, change<OBZ_ERR_INVALID_ARG>},
    {"gap-single-accepted", "gaps", "select", withASingleGap, passGap, nullptr},
    {"gap-crashes-make", "gaps", "make", withAGapAtItsEnd, crash, nullptr},
    {"operation-accepted", "numbers", "process_providerstate", withAnotherOperation, answer<OBZ_OK>, nullptr},
    {"number-negative-crashes", "numbers", "online", withANumberBelow0, crash, nullptr},
    {"number-code-crashes", "numbers", "errmsg", withANumberBelow0, crash, nullptr},
    {"throws", "exceptions", "enumerate_associations", always, fail, nullptr},
    {"throws-for-a-long-text", "exceptions", "update_snapshot_id", withALongText, fail, nullptr},
    {"throws-a-number", "exceptions", "post_deport", always, [](SCall&) { throw 7; }, nullptr},
    {"ends-the-process", "exceptions", "enumerate_host_nodes", always, [](SCall&) { _exit(0); }, nullptr},
    {"crashes-for-a-long-text", "exceptions", "set_comp_status", withALongText, crash, nullptr},
};

}  // namespace

std::span<const SDefect> argumentDefects()
{
    return DEFECTS;
}

}  // namespace kitfi
