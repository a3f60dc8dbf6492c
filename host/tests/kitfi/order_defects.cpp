// Defects that show when calls come too early, too late, once more, or from elsewhere.
#include <string>
#include <string_view>

#include "host/tests/kitfi/defect_actions.h"

namespace kitfi {

namespace {

bool onceMore(const SCall&)
{
    return soFar().calls > 1;
}

bool twiceOrMoreIn(const SCall&)
{
    return soFar().calls > 1 && soFar().isLive;
}

bool inACallback(const SCall&)
{
    return soFar().inside > 0;
}

bool finiAfterFini(const SCall&)
{
    return !soFar().isLive && soFar().finis > 0;
}

bool finiFirst(const SCall&)
{
    return soFar().inits == 0 && soFar().finis == 0;
}

// What is known of the newest session: which of its phases were called.
bool isMakeWithoutSelect(const SCall& call)
{
    static std::string selected;
    if (call.words[1] == 0) return false;
    const std::string session = call.pointer<const char>(1);
    if (std::strcmp(call.function, "select") == 0) selected = session;
    const bool isOneByItself = call.words[2] != 0 && session != "fictl-check";
    return std::strcmp(call.function, "make") == 0 && isOneByItself && selected != session;
}

bool isPhase(const SCall& call)
{
    const std::string_view function = call.function;
    return (function == "select" || function == "make") && isMakeWithoutSelect(call);
}

constexpr SDefect DEFECTS[] = {
    {"early-call-crashes", "before-init", "preselect", beforeInit, crash, nullptr},
    {"early-call-breaks-init", "before-init", "init", [](const SCall&) { return soFar().finis > 0; }, nullptr,
     change<OBZ_ERR_INIT>},
    {"early-call-of-status-30", "before-init", "getattr", beforeInit, answer<OBZ_ERR_INIT>, nullptr},
    {"late-call-crashes", "after-fini", "update_snapshot_handle", afterFini, crash, nullptr},
    {"late-call-throws", "after-fini", "enumerate_fims", afterFini, fail, nullptr},
    {"first-call-crashes", "first-calls", "errmsg", asTheFirstCall, crash, nullptr},
    {"first-fini-crashes", "before-init", "fini", finiFirst, crash, nullptr},
    {"second-fini-crashes", "double-calls", "fini", finiAfterFini, crash, nullptr},
    {"second-init-fails", "double-calls", "init", twiceOrMoreIn, nullptr, change<OBZ_ERR_INIT>},
    {"second-init-node-fails", "double-calls", "init_node", onceMore, nullptr, change<OBZ_ERR_FAILED>},
    {"second-deinit-node-crashes", "double-calls", "deinit_node",
     [](const SCall& call) { return call.words[0] != 0 && call.pointer<obz_domain>(0)->private_data == nullptr; },
     crash, nullptr},
    {"make-without-select-crashes", "phases", "", isPhase, crash, nullptr},
    {"gate-shut-twice", "gate", "pre_prepare", always, answer<OBZ_ERR_DELAYED_INIT>, nullptr},
    {"gate-shut-for-ungated", "gate", "revisit_pgn_nodes", always, answer<OBZ_ERR_DELAYED_INIT>, nullptr},
    {"gate-shut-for-long", "gate", "refresh_tree", always, answer<OBZ_ERR_DELAYED_INIT>, nullptr},
    {"second-life-fails", "lives-again", "init", inALaterLife, nullptr, change<OBZ_ERR_INIT>},
    {"second-life-not-interposed", "lives-again", "interpose", inALaterLife, answer<0>,
     [](SCall& call) {
         store<1, void*, nullptr>(call);
         store<2, void*, nullptr>(call);
         store<3, int32_t, 0>(call);
     }},
    {"sixth-prepare-fails", "sessions-again", "prepare", afterFiveCalls, nullptr, change<OBZ_ERR_FAILED>},
    {"sixth-make-fails", "sessions-again", "quiesce", afterFiveCalls, nullptr, change<OBZ_ERR_UNSUPPORTED>},
    {"callback-hangs", "callback", "enumerate_nodes", inACallback, hang, nullptr},
    {"callback-crashes", "callback", "get_last_error", inACallback, crash, nullptr},
    {"callback-throws", "callback", "claim", inACallback, fail, nullptr},
};

}  // namespace

std::span<const SDefect> orderDefects()
{
    return DEFECTS;
}

}  // namespace kitfi
