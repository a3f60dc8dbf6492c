// Whose memory it is, and what is left behind.
#include <deque>

#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"
#include "host/src/provider_check/process_traits.h"
#include "host/src/provider_check/snapshot_life.h"

namespace fictl {

namespace {

// The smallest block of the heap: a leak in each round shows in the sum of many.
constexpr size_t SMALLEST_LEAK = 16;
constexpr size_t FIRST_ROUNDS = 10;  // what the process sets up once

void liveRound(CSubject& subject, const SCheckSurroundings& surroundings)
{
    subject.start();
    liveOnce(subject, {"fictl-check-session", surroundings.device});
    callEvery(subject);
    subject.end();
}

void checkOwnership(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    const CTranscript expected = liveOnce(subject, {"fictl-check-first", surroundings.device});
    SEveryCall how;
    how.scribble = EScribble::YES;
    for (size_t i = 0; i < surroundings.rounds; ++i) {
        SLife life = {"fictl-check-" + std::to_string(i), surroundings.device};
        life.scribble = EScribble::YES;
        const std::string difference = differenceOf(expected, liveOnce(subject, life));
        CSubject::expect(difference.empty(), "what was handed out before, though the host has written to that",
                         difference);
        callEvery(subject, how);
    }
    subject.end();
}

// Texts that cannot be written to, and cannot be read after the call.
void checkInputs(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    std::deque<CReadOnlyText> texts;
    obz_version version{};
    subject.call(&SEntryPoints::init, nullptr, &version, texts.emplace_back("any").get());
    texts.back().withdraw();
    SEveryCall how;
    how.before = [&texts](const SFunction& function, CWords& words) {
        const char* const text = texts.emplace_back("fictl-check-text").get();
        for (size_t i = 0; i < words.size(); ++i) {
            const bool isText = function.arguments[i].value == EValue::TEXT;
            if (isText) words[i] = toWord(text);
        }
    };
    how.after = [&texts](const SFunction&, const CWords&, int64_t) { texts.back().withdraw(); };
    callEvery(subject, how);
    callEvery(subject, how);
    liveOnce(subject, {"fictl-check-session", surroundings.device});
    subject.end();
}

void checkHeap(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    for (size_t i = 0; i < FIRST_ROUNDS; ++i) {
        liveRound(subject, surroundings);
    }
    const SHoldings before = SHoldings::now();
    for (size_t i = 0; i < surroundings.rounds; ++i) {
        liveRound(subject, surroundings);
    }
    const SHoldings after = SHoldings::now();
    if (after.heap < before.heap + surroundings.rounds * SMALLEST_LEAK) return;
    throw SViolation{std::to_string(surroundings.rounds) + " lives from init to fini", "no more memory than before",
                     std::to_string(after.heap - before.heap) + " bytes more"};
}

// A leak of each function by itself: called over and over in one life.
size_t growthOf(CSubject& subject, const SFunction& function, size_t rounds)
{
    const auto callOnce = [&] {
        CArguments arguments;
        const CWords words = arguments.of(function);
        if (callThroughGate(subject, function, words) != OBZ_ERR_DELAYED_INIT || !function.isGated) {
            giveBack(subject, function, words);
        }
    };
    for (size_t i = 0; i < FIRST_ROUNDS; ++i) {
        callOnce();
    }
    const size_t before = SHoldings::now().heap;
    for (size_t i = 0; i < rounds; ++i) {
        callOnce();
    }
    const size_t after = SHoldings::now().heap;
    return after > before ? after - before : 0;
}

void checkHeapOfCalls(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    for (const SFunction& function : functions()) {
        const bool isLife = function.name == "init" || function.name == "fini" || function.name.starts_with("del_");
        if (isLife) continue;
        const size_t growth = growthOf(subject, function, surroundings.rounds);
        CSubject::expect(
            growth < surroundings.rounds * SMALLEST_LEAK, "no more memory than before",
            std::to_string(growth) + " bytes more after " + std::to_string(surroundings.rounds) + " calls");
    }
    subject.end();
}

void expectNoMore(const char* what, size_t before, size_t after)
{
    if (after <= before) return;
    throw SViolation{"lives from init to fini, with dlclose after the last", std::string("no more ") + what,
                     std::to_string(after - before) + " more"};
}

void checkLeftBehind(SCheckSurroundings& surroundings)
{
    {
        CSubject subject(surroundings.library, surroundings.journal);
        liveRound(subject, surroundings);  // what the process opens once
    }
    const SHoldings before = SHoldings::now();
    {
        CSubject subject(surroundings.library, surroundings.journal);
        liveRound(subject, surroundings);
        liveRound(subject, surroundings);
    }
    const SHoldings after = SHoldings::now();
    expectNoMore("descriptors", before.descriptors, after.descriptors);
    expectNoMore("threads", before.threads, after.threads);
    expectNoMore("child processes", before.children, after.children);
}

constexpr SProviderCheck CHECKS[] = {
    {"ownership", "What comes out is the host's, to be written to, and freed as documented", "Ownership",
     checkOwnership},
    {"inputs", "What goes in is not written to, and not needed after the call", "Ownership", checkInputs},
    {"memory", "Lives from init to fini leave no memory behind", "Ownership", checkHeap},
    {"memory-of-calls", "Calls leave no memory behind when what they handed out is freed", "Ownership",
     checkHeapOfCalls},
    {"left-behind", "No descriptor, thread or child process stays after fini", "Conventions 13", checkLeftBehind},
};

}  // namespace

std::span<const SProviderCheck> memoryChecks()
{
    return CHECKS;
}

}  // namespace fictl
