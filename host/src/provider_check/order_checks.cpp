// Calls that come too early, too late or once more.
#include <algorithm>
#include <array>

#include "framework/include/obzx_runtime.h"
#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"
#include "host/src/provider_check/snapshot_life.h"

namespace fictl {

namespace {

// From init to fini, with a snapshot between.
CTranscript wholeLife(CSubject& subject, const SCheckSurroundings& surroundings)
{
    CTranscript transcript = {"init " + std::to_string(subject.start())};
    const CTranscript life = liveOnce(subject, {"fictl-check-session", surroundings.device});
    transcript.insert(transcript.end(), life.begin(), life.end());
    subject.end();
    return transcript;
}

void expectSame(const CTranscript& expected, const CTranscript& came)
{
    const std::string difference = differenceOf(expected, came);
    if (!difference.empty()) throw SViolation{"a snapshot's life", "what came before", difference};
}

CTranscript undisturbedLife(const SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    return wholeLife(subject, surroundings);
}

void checkBeforeInit(SCheckSurroundings& surroundings)
{
    const CTranscript expected = undisturbedLife(surroundings);
    CSubject subject(surroundings.library, surroundings.journal);
    subject.end();
    callEvery(subject);
    subject.end();
    expectSame(expected, wholeLife(subject, surroundings));
}

void checkAfterFini(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    const CTranscript expected = wholeLife(subject, surroundings);
    callEvery(subject);
    subject.end();
    expectSame(expected, wholeLife(subject, surroundings));
}

void checkDoubleCalls(SCheckSurroundings& surroundings)
{
    const CTranscript expected = undisturbedLife(surroundings);
    CSubject subject(surroundings.library, surroundings.journal);
    const int64_t first = subject.start();
    const int64_t second = subject.start();
    CSubject::expectStatus(second, first);
    CArguments arguments;
    obz_domain* const node = arguments.node(surroundings.device);
    const int64_t setUp = subject.call(&SEntryPoints::init_node, node, nullptr, 0, nullptr);
    const int64_t again = subject.call(&SEntryPoints::init_node, node, nullptr, 0, nullptr);
    CSubject::expect(again == setUp || setUp == OBZ_ERR_DELAYED_INIT, "the status of the first call",
                     std::to_string(again));
    subject.call(&SEntryPoints::deinit_node, node);
    subject.call(&SEntryPoints::deinit_node, node);
    subject.end();
    subject.end();
    subject.end();
    expectSame(expected, wholeLife(subject, surroundings));
}

void checkGate(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    size_t shut = 0;
    SEveryCall how;
    how.after = [&shut](const SFunction& function, const CWords&, int64_t status) {
        if (function.isGated && function.hasResult && status == OBZ_ERR_DELAYED_INIT) ++shut;
        CSubject::expect(shut < 2, "status 1 once in the provider's life", "once more");
    };
    // Those before the gate come first: status 1 is not theirs, whether the start-up was tried or not.
    callEvery(subject, how);
    callEvery(subject, how);
    subject.end();
}

// Every function by itself as the first one that is called.
void checkFirstCalls(SCheckSurroundings& surroundings)
{
    for (const SFunction& function : functions()) {
        if (function.name == "init" || function.name.starts_with("del_")) continue;
        CSubject subject(surroundings.library, surroundings.journal);
        CArguments arguments;
        const CWords words = arguments.of(function);
        const int64_t status = subject.call(function, words);
        const bool isShut = function.isGated && status == OBZ_ERR_DELAYED_INIT;
        if (!isShut) giveBack(subject, function, words);
        subject.end();
    }
}

void checkLivesAgain(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    const CTranscript expected = wholeLife(subject, surroundings);
    for (int i = 0; i < 10; ++i) {
        expectSame(expected, wholeLife(subject, surroundings));
    }
}

void checkSessionsAgain(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    liveOnce(subject, {"fictl-check-first", surroundings.device});  // a start-up that fails does so once
    const CTranscript expected = liveOnce(subject, {"fictl-check-second", surroundings.device});
    for (int i = 0; i < 10; ++i) {
        expectSame(expected, liveOnce(subject, {"fictl-check-" + std::to_string(i), surroundings.device}));
    }
    subject.end();
}

// One of the four phases of a session, with the node's list.
void callPhase(CSubject& subject, int phase, const std::string& session, obz_splitnode* node)
{
    const char* const name = session.c_str();
    obzx_objid** identities = nullptr;
    int32_t count = 0;
    obz_snaphandle handle{};
    switch (phase) {
        case 0:
            subject.call(&SEntryPoints::select, nullptr, name, &node, 1);
            break;
        case 1:
            subject.call(&SEntryPoints::prepare, nullptr, name, &node, 1, 0);
            break;
        case 2:
            subject.call(&SEntryPoints::make, nullptr, name, &node, 1, &identities, &count);
            CSubject::expect((count == 0) == (identities == nullptr), "identities and their count, or null and 0",
                             std::to_string(count));
            obzx_free_objid_array(identities, count);
            break;
        default:
            subject.call(&SEntryPoints::update_snapshot_handle, name, &handle);
            obzx_free_snaphandle(&handle);
    }
}

// Every order of the phases, also with the last one left out; the nodes are none that the provider serves.
void checkPhases(SCheckSurroundings& surroundings)
{
    const CTranscript expected = undisturbedLife(surroundings);
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    CArguments arguments;
    obz_splitnode* const node = arguments.splitNode("fictl-check-node");
    std::array<int, 4> phases = {0, 1, 2, 3};
    int number = 0;
    do {
        for (const size_t length : {phases.size(), phases.size() - 1}) {
            const std::string session = "fictl-check-" + std::to_string(number++);
            for (size_t i = 0; i < length; ++i) {
                callPhase(subject, phases[i], session, node);
            }
        }
    } while (std::next_permutation(phases.begin(), phases.end()));
    subject.end();
    expectSame(expected, wholeLife(subject, surroundings));
}

constexpr SProviderCheck CHECKS[] = {
    {"before-init", "Calls before init are no crash, and init works after them", "Conventions 12", checkBeforeInit},
    {"after-fini", "Calls after fini are no crash, and init works after them", "Conventions 12", checkAfterFini},
    {"first-calls", "Every function can be the first one that is called, and fini the next", "Conventions 12",
     checkFirstCalls},
    {"double-calls", "init, fini, init_node and deinit_node once more change nothing", "Conventions 12",
     checkDoubleCalls},
    {"phases", "The phases of a session in any order are no crash", "Conventions 12", checkPhases},
    {"gate", "A start-up that fails gives status 1 once, and to a gated call", "Conventions 2", checkGate},
    {"lives-again", "Ten lives from init to fini are like the first", "Conventions 13", checkLivesAgain},
    {"sessions-again", "Ten snapshots in sessions of their own are like the first", "Conventions 13",
     checkSessionsAgain},
};

}  // namespace

std::span<const SProviderCheck> orderChecks()
{
    return CHECKS;
}

}  // namespace fictl
