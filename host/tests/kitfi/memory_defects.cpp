// Defects in whose memory it is, and in what is left behind.
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <thread>

#include "framework/include/obzx_runtime.h"
#include "host/tests/kitfi/defect_actions.h"

namespace kitfi {

namespace {

bool isGet(const SCall& call)
{
    return call.words[0] != 0 && call.words[1] != 0 && call.words[2] == OBZ_STATE_GET;
}

// A text of the provider's own in the place of one for the host.
void giveStaticState(SCall& call)
{
    static char text[] = "<State>static</State>";
    auto* const blob = call.pointer<obz_blob>(1);
    *blob = {sizeof text, text, OBZ_ENCODING_STRING};
    call.answer(OBZ_OK);
}

// The same buffer each time.
void giveSameState(SCall& call)
{
    constexpr size_t SIZE = 16;
    static void* const buffer = obzx_alloc_buf(SIZE);
    auto* const blob = call.pointer<obz_blob>(1);
    std::strcpy(static_cast<char*>(buffer), "<State>");
    *blob = {sizeof "<State>", buffer, OBZ_ENCODING_STRING};
    call.answer(OBZ_OK);
}

// The name that is handed out is the provider's own, which the host may write to.
void giveStaticName(SCall& call)
{
    static char name[] = "Good";
    auto* const method = call.words[0] == 0 ? nullptr : *call.pointer<obz_fim_list*>(0);
    if (method == nullptr) return;
    obzx_free_buf(method->name, 0);
    method->name = name;
}

void giveIdentityOfNode(SCall& call)
{
    if (call.status != 1) return;
    obzx_free_objid(*call.pointer<obzx_objid*>(1));
    *call.pointer<obzx_objid*>(1) = call.pointer<obz_domain>(0)->identity;
}

void giveReplyOfRuntime(SCall& call)
{
    static char reply[] = "<OBJCTL_ARG_LIST> </OBJCTL_ARG_LIST> ";
    if (call.words[2] == 0) return;
    std::free(*call.pointer<char*>(2));
    *call.pointer<char*>(2) = reply;
}

void writeToFirstText(SCall& call)
{
    for (size_t i = 0; i < call.count; ++i) {
        if (call.isText(i) && call.words[i] != 0) {
            *call.pointer<char>(i) = '!';
            return;
        }
    }
}

// Looks at the text of the call before.
void lookAtKeptText(SCall& call)
{
    static const char* volatile kept = nullptr;
    if (kept != nullptr && *kept == '\0') raise(SIGUSR1);
    kept = call.pointer<const char>(0);
}

void openFile(SCall&)
{
    static volatile int kept = -1;
    kept = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (kept < 0) std::abort();
}

void startThread(SCall&)
{
    std::thread([] { pause(); }).detach();
}

// A child that ends with the thread that made it.
void startChild(SCall&)
{
    const pid_t parent = getpid();
    if (fork() != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (getppid() == parent) {
        pause();
    }
    _exit(0);
}

void doNotFree(SCall& call)
{
    call.answer(OBZ_OK);
}

void freeTwice(SCall& call)
{
    if (call.words[0] == 0) return;
    obzx_free_buf(call.pointer<void>(0), 0);
}

constexpr SDefect DEFECTS[] = {
    {"state-static", "ownership", "process_providerstate", isGet, giveStaticState, nullptr},
    {"state-shared", "ownership", "process_providerstate", isGet, giveSameState, nullptr},
    {"method-name-static", "ownership", "enumerate_fims", always, nullptr, giveStaticName},
    {"interposed-is-the-hosts", "ownership", "interpose", always, nullptr, giveIdentityOfNode},
    {"reply-not-for-free", "ownership", "objctl", always, nullptr, giveReplyOfRuntime},
    {"text-freed-twice", "ownership", "del_locale_message", always, freeTwice, nullptr},
    {"input-written", "inputs", "set_op_status", always, writeToFirstText, nullptr},
    {"request-written", "inputs", "objctl", [](const SCall& call) { return call.words[1] != 0; },
     [](SCall& call) { *call.pointer<char>(1) = '!'; }, nullptr},
    {"input-kept", "inputs", "pre_prepare", always, lookAtKeptText, nullptr},
    {"leaks-in-init", "memory", "init", always, leak, nullptr},
    {"leaks-in-fini", "memory", "fini", always, leak, nullptr},
    {"leaks-in-deinit-node", "memory", "deinit_node", always, leak, nullptr},
    {"leaks-in-a-query", "memory-of-calls", "query_valid_secondaries", always, leak, nullptr},
    {"leaks-in-a-refusal", "memory-of-calls", "resync", always, leak, nullptr},
    {"text-not-freed", "memory-of-calls", "del_locale_message", always, doNotFree, nullptr},
    {"descriptor-left", "left-behind", "enumerate_group_nodes", always, openFile, nullptr},
    {"thread-left", "left-behind", "init", always, startThread, nullptr},
    {"child-left", "left-behind", "build_alttree", always, startChild, nullptr},
};

}  // namespace

std::span<const SDefect> memoryDefects()
{
    return DEFECTS;
}

}  // namespace kitfi
