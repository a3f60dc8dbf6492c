// Defects in what a provider does about nodes, states, sessions, requests and messages.
#include <string>
#include <utility>

#include "framework/include/obzx_runtime.h"
#include "host/tests/kitfi/defect_actions.h"

namespace kitfi {

namespace {

void forgetInterposed(SCall& call)
{
    if (call.status != 1) return;
    obzx_free_objid(*call.pointer<obzx_objid*>(1));
    store<1, void*, nullptr>(call);
}

void shortenGroups(SCall& call)
{
    if (call.status == 1) store<3, int32_t, 0>(call);
}

// A combination that names no method.
void addEmptyCombo(SCall& call)
{
    if (call.status != OBZ_OK || call.words[0] == 0) return;
    std::free(call.pointer<obz_domain>(0)->combos->split->name);
    call.pointer<obz_domain>(0)->combos->split->name = nullptr;
}

void nameOtherwise(SCall& call)
{
    static char name[] = "another";
    if (call.status == OBZ_OK && call.words[0] != 0) call.pointer<obz_domain>(0)->name = name;
}

void keepDataOfFailure(SCall& call)
{
    if (call.status == OBZ_ERR_FAILED) call.pointer<obz_domain>(0)->private_data = new std::string("left");
}

bool isGet(const SCall& call)
{
    return call.words[0] != 0 && call.words[1] != 0 && call.words[2] == OBZ_STATE_GET;
}

bool isSet(const SCall& call)
{
    return call.words[0] != 0 && call.words[1] != 0 && call.words[2] == OBZ_STATE_SET;
}

void shortenState(SCall& call)
{
    if (call.status == OBZ_OK) --call.pointer<obz_blob>(1)->size;
}

void encodeOtherwise(SCall& call)
{
    call.pointer<obz_blob>(1)->encoding = 2;
}

void changeState(SCall& call)
{
    static char digit = '0';
    if (call.status == OBZ_OK) *static_cast<char*>(call.pointer<obz_blob>(1)->data) = digit++;
}

// Reads to a NUL, wherever that is.
void readPastState(SCall& call)
{
    auto* const blob = call.pointer<obz_blob>(1);
    if (blob->data != nullptr) blob->size = std::strlen(static_cast<const char*>(blob->data)) + 1;
}

bool isEmptySet(const SCall& call)
{
    return isSet(call) && call.pointer<obz_blob>(1)->size == 0;
}

void dropState(SCall& call)
{
    call.answer(OBZ_OK);
}

// The last identity of what was made, again in the place of the first.
void turnIdentitiesRound(SCall& call)
{
    if (call.words[5] == 0 || *call.pointer<int32_t>(5) < 2) return;
    auto** const identities = *call.pointer<obzx_objid**>(4);
    std::swap(identities[0], identities[1]);
}

void loseIdentity(SCall& call)
{
    if (call.words[5] == 0 || *call.pointer<int32_t>(5) < 2) return;
    obzx_free_objid((*call.pointer<obzx_objid**>(4))[1]);
    *call.pointer<int32_t>(5) = 1;
}

// Every session is the same one.
void shareSession(SCall& call)
{
    static char one[] = "fictl-check-one";
    if (call.words[0] != 0) call.words[0] = reinterpret_cast<uint64_t>(one);
}

void inventEntry(SCall& call)
{
    auto* const handle = call.pointer<obz_snaphandle>(1);
    if (call.status != OBZ_OK || handle == nullptr || handle->count != 0) return;
    obzx_free_snaphandle(handle);
    handle->entries = static_cast<obz_snaphandle_entry*>(obzx_alloc_buf(sizeof(obz_snaphandle_entry)));
    handle->count = 1;
    handle->entries[0].node = obzx_place_path("/invented");
    handle->entries[0].target = obzx_place_path("/invented");
}

void replyOtherwise(SCall& call)
{
    if (call.words[2] == 0) return;
    std::free(*call.pointer<char*>(2));
    *call.pointer<char*>(2) = strdup("done\n");
}

void failRequest(SCall& call)
{
    call.status = OBZ_ERR_FAILED;
}

void leaveStatus(SCall& call)
{
    call.words[3] = 0;
}

void forgetKey(SCall& call)
{
    auto* const message = call.words[0] == 0 ? nullptr : *call.pointer<obz_msg_info*>(0);
    if (message == nullptr) return;
    obzx_free_buf(message->id, 0);
    message->id = nullptr;
}

bool inALocale(const SCall& call)
{
    return call.words[0] != 0 && call.words[1] != 0 && *call.pointer<char>(1) != '\0';
}

bool withAMessage(const SCall& call)
{
    return call.words[0] != 0;
}

constexpr SDefect DEFECTS[] = {
    {"interposed-without-identity", "claiming", "interpose", always, nullptr, forgetInterposed},
    {"groups-without-count", "claiming", "interpose", always, nullptr, shortenGroups},
    {"claims-everything", "claiming", "claim", always, nullptr, change<OBZ_CLAIM_SECONDARY>},
    {"claims-nothing", "claiming", "claim", always, nullptr, change<OBZ_CLAIM_NONE>},
    {"supports-everything", "claiming", "supports_fitype", always, nullptr,
     [](SCall& call) {
         if (call.words[0] != 0) *call.pointer<obz_domain>(0)->access = OBZ_ACCESS_LOCAL;
         call.status = 1;
     }},
    {"combination-nameless", "nodes", "init_node", always, nullptr, addEmptyCombo},
    {"node-named-otherwise", "nodes", "init_node", always, nullptr, nameOtherwise},
    {"node-data-after-failure", "nodes", "init_node", always, nullptr, keepDataOfFailure},
    {"node-not-taken-down", "nodes", "deinit_node", always, answer<OBZ_OK>, nullptr},
    {"node-nameless-crashes", "nodes", "init_node",
     [](const SCall& call) { return call.words[0] != 0 && call.pointer<obz_domain>(0)->identity == nullptr; }, crash,
     nullptr},
    {"state-without-nul", "state", "process_providerstate", isGet, nullptr, shortenState},
    {"state-encoded-otherwise", "state", "process_providerstate", isGet, nullptr, encodeOtherwise},
    {"state-changes", "state", "process_providerstate", isGet, nullptr, changeState},
    {"state-read-past-its-end", "state", "process_providerstate", isSet, readPastState, nullptr},
    {"state-empty-refused", "state", "process_providerstate", isEmptySet, answer<OBZ_ERR_INVALID_ARG>, nullptr},
    {"state-not-taken", "state", "process_providerstate", isSet, dropState, nullptr},
    {"made-in-another-order", "sessions", "make", always, nullptr, turnIdentitiesRound},
    {"made-and-not-told", "sessions", "make", always, nullptr, loseIdentity},
    {"handle-of-another-session", "sessions", "update_snapshot_handle", always, shareSession, nullptr},
    {"handle-invented", "sessions", "update_snapshot_handle", always, nullptr, inventEntry},
    {"preselect-refuses", "sessions", "preselect", always, answer<OBZ_ERR_UNSUPPORTED>, nullptr},
    {"reply-of-another-form", "objctl", "objctl", always, nullptr, replyOtherwise},
    {"request-failed", "objctl", "objctl", always, nullptr, failRequest},
    {"outcome-not-stored", "objctl", "objctl", always, leaveStatus, nullptr},
    {"message-without-key", "messages", "get_last_error", always, nullptr, forgetKey},
    {"message-stays", "messages", "del_last_error", withAMessage, answer<OBZ_OK>, nullptr},
    {"text-only-in-english", "messages", "get_locale_message", inALocale, answer<OBZ_ERR_UNSUPPORTED>, nullptr},
    {"text-of-code-fails", "messages", "errmsg", always, answer<OBZ_ERR_UNSUPPORTED>, nullptr},
};

}  // namespace

std::span<const SDefect> snapshotDefects()
{
    return DEFECTS;
}

}  // namespace kitfi
