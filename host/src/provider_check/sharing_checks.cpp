// Several threads, several providers in one process, and many loads of one.
#include <dlfcn.h>

#include <exception>
#include <filesystem>
#include <thread>

#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"
#include "host/src/provider_check/process_traits.h"
#include "host/src/provider_check/snapshot_life.h"

namespace fictl {

namespace {

constexpr size_t THREADS = 8;
constexpr size_t LIVES_OF_A_THREAD = 10;

// Runs the work on a thread of its own, to its end; what it throws is thrown here.
template <class Work>
void onOtherThread(const Work& work)
{
    std::exception_ptr thrown;
    std::thread([&] {
        try {
            work();
        } catch (...) {
            thrown = std::current_exception();
        }
    }).join();
    if (thrown) std::rethrow_exception(thrown);
}

// A lock that one thread has left held stops the next one, and with it the check.
void checkLocks(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    const auto callAll = [&] {
        callEvery(subject);
        for (const SFunction& function : functions()) {
            if (function.name == "fini") continue;
            subject.call(function, CWords(function.arguments.size(), 0));
        }
    };
    onOtherThread(callAll);
    onOtherThread(callAll);
    subject.end();
}

void checkThreads(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    std::mutex nodeLock;
    const auto lifeOf = [&](size_t thread, size_t number) {
        SLife life = {"fictl-check-" + std::to_string(thread) + "-" + std::to_string(number),
                      "/dev/fictl-check-" + std::to_string(thread)};
        life.nodeLock = &nodeLock;
        return liveOnce(subject, life);
    };
    std::vector<CTranscript> expected;
    lifeOf(0, LIVES_OF_A_THREAD + 1);  // a start-up that fails does so once
    for (size_t thread = 0; thread < THREADS; ++thread) {
        expected.push_back(lifeOf(thread, LIVES_OF_A_THREAD));
    }
    std::vector<std::exception_ptr> thrown(THREADS);
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            try {
                for (size_t number = 0; number < LIVES_OF_A_THREAD; ++number) {
                    const std::string difference = differenceOf(expected[thread], lifeOf(thread, number));
                    if (difference.empty()) continue;
                    throw SViolation{"a snapshot's life beside others", "what came with one thread", difference};
                }
            } catch (...) {
                thrown[thread] = std::current_exception();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::exception_ptr& each : thrown) {
        if (each) std::rethrow_exception(each);
    }
    subject.end();
}

std::string secondProvider(const SCheckSurroundings& surroundings)
{
    if (!surroundings.second.empty()) return surroundings.second;
    const std::filesystem::path folder = surroundings.folder / "second";
    std::filesystem::create_directory(folder);
    const std::filesystem::path copy = folder / std::filesystem::path(surroundings.library).filename();
    std::filesystem::copy_file(surroundings.library, copy);
    return copy;
}

void expectLife(CSubject& subject, const SCheckSurroundings& surroundings, const std::string& session,
                const CTranscript& expected)
{
    const std::string difference = differenceOf(expected, liveOnce(subject, {session, surroundings.device}));
    if (difference.empty()) return;
    throw SViolation{"a snapshot's life beside another provider", "what came alone", difference};
}

void expectNoNodesOf(CSubject& subject, const char* session)
{
    obz_snaphandle handle{};
    subject.call(&SEntryPoints::update_snapshot_handle, session, &handle);
    CSubject::expect(handle.count == 0, "nothing of the other provider's session", std::to_string(handle.count));
    obzx_objid** identities = nullptr;
    int32_t count = 0;
    subject.call(&SEntryPoints::make, nullptr, session, nullptr, 0, &identities, &count);
    CSubject::expect(identities == nullptr && count == 0, "no node of the other provider's session",
                     std::to_string(count));
}

CTranscript lifeAlone(const std::string& library, const SCheckSurroundings& surroundings)
{
    CSubject subject(library, surroundings.journal);
    subject.start();
    liveOnce(subject, {"fictl-check-first", surroundings.device});
    CTranscript alone = liveOnce(subject, {"fictl-check-alone", surroundings.device});
    subject.end();
    return alone;
}

void checkSideBySide(SCheckSurroundings& surroundings)
{
    const std::string second = secondProvider(surroundings);
    const CTranscript firstAlone = lifeAlone(surroundings.library, surroundings);
    const CTranscript secondAlone = lifeAlone(second, surroundings);
    CSubject one(surroundings.library, surroundings.journal);
    CSubject other(second, surroundings.journal);
    one.start();
    liveOnce(one, {"fictl-check-start", surroundings.device});
    other.start();
    liveOnce(other, {"fictl-check-start", surroundings.device});
    CArguments arguments;
    obz_splitnode* nodes[] = {arguments.splitNode("fictl-check-node")};
    one.call(&SEntryPoints::preselect, nullptr, "fictl-check-shared", nodes, 1);
    one.call(&SEntryPoints::prepare, nullptr, "fictl-check-shared", nullptr, 0, 0);
    expectNoNodesOf(other, "fictl-check-shared");
    expectLife(one, surroundings, "fictl-check-beside", firstAlone);
    expectLife(other, surroundings, "fictl-check-beside", secondAlone);
    other.end();
    expectLife(one, surroundings, "fictl-check-after", firstAlone);
    other.start();
    liveOnce(other, {"fictl-check-start", surroundings.device});
    one.end();
    expectLife(other, surroundings, "fictl-check-after", secondAlone);
    other.end();
}

void expectGone(const std::string& library)
{
    void* const still = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (still != nullptr) throw SViolation{"dlclose(" + library + ")", "the library is gone", "it is still loaded"};
}

void loadOnce(SCheckSurroundings& surroundings, bool isLived)
{
    {
        CSubject subject(surroundings.library, surroundings.journal);
        subject.start();
        if (isLived) liveOnce(subject, {"fictl-check-session", surroundings.device});
        subject.end();
    }
    expectGone(surroundings.library);
}

void checkLoads(SCheckSurroundings& surroundings)
{
    constexpr size_t FIRST = 10;
    constexpr size_t LIFE = 10;  // so many loads have one snapshot
    for (size_t i = 0; i < FIRST; ++i) {
        loadOnce(surroundings, true);
    }
    const size_t loads = surroundings.rounds;
    const SHoldings before = SHoldings::now();
    for (size_t i = 0; i < loads; ++i) {
        loadOnce(surroundings, i % LIFE == 0);
    }
    const SHoldings after = SHoldings::now();
    const std::string call = std::to_string(loads) + " times dlopen, init, fini, dlclose";
    const bool isHeapKept = after.heap < before.heap + loads * sizeof(void*) * 2;
    if (!isHeapKept) throw SViolation{call, "no more memory", std::to_string(after.heap - before.heap) + " bytes more"};
    if (after.descriptors > before.descriptors || after.threads > before.threads) {
        throw SViolation{call, "no more descriptors and threads", "more of them"};
    }
    if (after.mappings > before.mappings + loads / LIFE) {
        throw SViolation{call, "no more mappings", std::to_string(after.mappings - before.mappings) + " more"};
    }
}

constexpr SProviderCheck CHECKS[] = {
    {"locks", "No call leaves a lock held", "Conventions 6", checkLocks},
    {"threads", "Snapshots on several threads come out as on one", "Conventions 6", checkThreads},
    {"side-by-side", "Two providers in one process share nothing", "Conventions 15", checkSideBySide},
    {"loads", "The library can be loaded and unloaded over and over, and is gone each time", "Conventions 15",
     checkLoads},
};

}  // namespace

std::span<const SProviderCheck> sharingChecks()
{
    return CHECKS;
}

}  // namespace fictl
