// What a provider may not do to the process that it is in, and what it has to bear there.
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string>

#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"
#include "host/src/provider_check/process_traits.h"
#include "host/src/provider_check/snapshot_life.h"

namespace fictl {

namespace {

// Compares what a function gives before and after each call, init and fini among them.
void watchEveryCall(SCheckSurroundings& surroundings, std::vector<STrait> (*traits)())
{
    CSubject subject(surroundings.library, surroundings.journal);
    const std::vector<STrait> before = traits();
    const auto look = [&] {
        const std::string change = changeOf(before, traits());
        CSubject::expect(change.empty(), "the process as it was", change);
    };
    subject.start();
    look();
    SEveryCall how;
    how.after = [&look](const SFunction&, const CWords&, int64_t) { look(); };
    callEvery(subject, how);
    liveOnce(subject, {"fictl-check-session", surroundings.device});
    look();
    subject.end();
    look();
}

void checkSignals(SCheckSurroundings& surroundings)
{
    watchEveryCall(surroundings, signalTraits);
}

void checkSurroundings(SCheckSurroundings& surroundings)
{
    watchEveryCall(surroundings, surroundingTraits);
}

// A check's standard output and standard error are files, which are empty before it.
std::vector<STrait> outputTraits()
{
    std::vector<STrait> traits;
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat status = {};
        const bool isOpen = fstat(descriptor, &status) == 0;
        traits.push_back({descriptor == STDOUT_FILENO ? "standard output" : "standard error",
                          isOpen ? std::to_string(status.st_size) + " bytes" : "closed"});
    }
    return traits;
}

void checkQuiet(SCheckSurroundings& surroundings)
{
    watchEveryCall(surroundings, outputTraits);
}

/// A thread that is cancelled in each of its calls.
struct SCancelledCalls
{
    CSubject& subject;
    std::optional<SViolation> violation{};
    bool isDone = false;

    static void* run(void* calls)
    {
        auto* const self = static_cast<SCancelledCalls*>(calls);
        pthread_cancel(pthread_self());
        try {
            callEvery(self->subject);
        } catch (const SViolation& found) {
            self->violation = found;
        }
        self->isDone = true;
#ifdef __SANITIZE_ADDRESS__  // it takes the stack of a thread that is cancelled for one that is in use
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        return PTHREAD_CANCELED;
#else
        pthread_testcancel();
        return nullptr;
#endif
    }
};

void checkCancelled(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    SCancelledCalls calls = {subject};
    pthread_t thread = {};
    void* result = nullptr;
    if (pthread_create(&thread, nullptr, SCancelledCalls::run, &calls) != 0) throw SNoOccasion{"no thread is left"};
    pthread_join(thread, &result);
    if (calls.violation) throw SViolation(*calls.violation);
    if (!calls.isDone) {
        throw SViolation{"a call in a cancelled thread", "the call is finished", "the thread ended in it"};
    }
    if (result != PTHREAD_CANCELED) {
        throw SViolation{"calls in a cancelled thread", "the thread ends at its next cancellation point",
                         "it was not cancelled any more"};
    }
    subject.end();
}

// The steps and their statuses: names may hold the id of the process that made an object.
CTranscript statusesOf(CTranscript transcript)
{
    for (std::string& line : transcript) {
        line.resize(std::min(line.size(), line.find(' ', line.find(' ') + 1)));
    }
    return transcript;
}

// Never returns; what is wrong stays in the journal, which is the parent's, too.
[[noreturn]] void liveInChild(CSubject& subject, SCheckSurroundings& surroundings, const CTranscript& expected)
{
    try {
        const SLife life = {"fictl-check-child", surroundings.device};
        const std::string difference = differenceOf(expected, statusesOf(liveOnce(subject, life)));
        if (difference.empty()) _exit(0);
        surroundings.journal.note(difference);
    } catch (const SViolation& violation) {
        surroundings.journal.note(violation.call + ": " + violation.came);
    }
    _exit(1);
}

void checkForked(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    liveOnce(subject, {"fictl-check-first", surroundings.device});
    const CTranscript expected = statusesOf(liveOnce(subject, {"fictl-check-parent", surroundings.device}));
    const pid_t child = fork();
    if (child < 0) throw SNoOccasion{"no process is left"};
    if (child == 0) liveInChild(subject, surroundings, expected);
    int status = 0;
    waitpid(child, &status, 0);
    const std::vector<std::string> told = surroundings.journal.underWay();
    surroundings.journal.note("");
    if (status != 0) {
        throw SViolation{"a snapshot's life in a forked child", "what came in the parent",
                         told.empty() ? "another end" : told.front()};
    }
    liveOnce(subject, {"fictl-check-last", surroundings.device});
    subject.end();
}

// The default action of SIGXFSZ ends the process. The journal is mapped, and the check's outcome goes to a pipe.
void checkFileLimit(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    const rlimit limit = {0, 0};
    setrlimit(RLIMIT_FSIZE, &limit);
    subject.start();
    liveOnce(subject, {"fictl-check-session", surroundings.device});
    callEvery(subject);
    subject.end();
}

constexpr SProviderCheck CHECKS[] = {
    {"signals", "No call changes the handling of a signal, or which ones are blocked", "Conventions 8", checkSignals},
    {"surroundings", "No call changes directory, mode mask, locale, environment or limits", "Conventions 14",
     checkSurroundings},
    {"quiet", "Nothing is written to standard output or standard error", "Conventions 14", checkQuiet},
    {"cancelled", "A thread that is cancelled in a call finishes it, and ends after it", "Conventions 9",
     checkCancelled},
    {"forked", "A forked child may call where no call was under way", "Conventions 10", checkForked},
    {"file-limit", "A limit on the size of files ends nothing", "Conventions 8", checkFileLimit},
};

}  // namespace

std::span<const SProviderCheck> processChecks()
{
    return CHECKS;
}

}  // namespace fictl
