// Lets one call of a whole workflow fail, each in turn: an allocation, or the start of a process.
//
//   failing_calls_host TOOL PROVIDER allocation|spawn [STEP [FIRST]]
//
// Every case is a process of its own, in which the provider runs for the first time (cold) or again (warm). After the
// workflow with the failure comes one without, which has to succeed; a warm case must then hold as many blocks of
// memory as before. Nothing that is sent to the appliance may differ from what an undisturbed workflow sends. STEP and
// FIRST choose every STEP-th call from the FIRST on; a negative FIRST counts from the end.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/failing_calls/failing_calls.h"
#include "tests/failing_calls/scratch_host.h"
#include "tests/failing_calls/workflow.h"

using failing_calls::EKind;

namespace {

constexpr unsigned CASE_SECONDS = 60;

struct SSweep
{
    const CScratchHost& host;
    const CProviderLibrary& provider;
    EKind kind;
    std::set<std::string> requests;  // what an undisturbed workflow sends
    int64_t blocks = 0;              // what the process holds after one
};

int complain(const std::string& what)
{
    std::fprintf(stderr, "  %s\n", what.c_str());
    return 1;
}

int report(const CWorkflow& workflow)
{
    int failed = 0;
    for (const std::string& complaint : workflow.complaints()) {
        failed = complain(complaint);
    }
    return failed;
}

int runUndisturbed(const SSweep& sweep)
{
    failing_calls::failAt(sweep.kind, 0);
    CWorkflow workflow(sweep.provider);
    workflow.run();
    if (!workflow.succeeded()) return complain("a workflow after the failure does not succeed");
    return report(workflow);
}

// The work of a case's process: exit status.
int runCase(const SSweep& sweep, uint64_t number, bool isWarm)
{
    alarm(CASE_SECONDS);
    int failed = 0;
    sweep.host.takeSent(getpid());
    {
        failing_calls::failAt(sweep.kind, number);
        CWorkflow workflow(sweep.provider);
        workflow.run();
        failed |= report(workflow);
    }
    for (const std::string& request : sweep.host.takeSent(getpid())) {
        // A shell that was given nothing does nothing.
        if (request != "=== lmsh\n" && !sweep.requests.contains(request)) failed |= complain("sent: " + request);
    }
    // An exception out of a run leaves its script for whoever looks into it.
    if (sweep.kind == EKind::SPAWN && !sweep.host.leftFiles().empty()) {
        failed |= complain("left over: " + sweep.host.leftFiles());
    }
    failed |= runUndisturbed(sweep);
    const int64_t more = failing_calls::liveBlocks() - sweep.blocks;
    if (isWarm && more > 0) failed |= complain(std::to_string(more) + " blocks of memory are lost");
    return failed;
}

bool passes(const SSweep& sweep, uint64_t number, bool isWarm)
{
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("cannot fork");
    if (child == 0) _exit(runCase(sweep, number, isWarm));
    int status = 0;
    waitpid(child, &status, 0);
    if (status == 0) return true;
    std::fprintf(stderr, "call %lu, %s: %s %d\n", static_cast<unsigned long>(number), isWarm ? "warm" : "cold",
                 WIFSIGNALED(status) ? "signal" : "exit", WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
    return false;
}

// How many calls a workflow makes in a process where the provider runs for the first time, and what it sends.
uint64_t countCold(SSweep& sweep)
{
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("cannot make a pipe");
    const pid_t child = fork();
    if (child == 0) {
        failing_calls::failAt(sweep.kind, 0);
        CWorkflow workflow(sweep.provider);
        workflow.run();
        const uint64_t calls = report(workflow) == 0 && workflow.succeeded() ? failing_calls::calls() : 0;
        _exit(write(ends[1], &calls, sizeof calls) == sizeof calls ? 0 : 1);
    }
    close(ends[1]);  // so that a child that ends early ends the reading
    uint64_t calls = 0;
    if (read(ends[0], &calls, sizeof calls) != sizeof calls || calls == 0) {
        throw std::runtime_error("an undisturbed workflow does not succeed");
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    for (std::string request : sweep.host.takeSent(child)) {
        sweep.requests.insert(request);
        // An import whose image could not be made looks once whether it is there.
        static const std::string SHOWN = "show  cgroup";
        const size_t at = request.find(SHOWN);
        if (at != std::string::npos) sweep.requests.insert(request.replace(at, SHOWN.size(), "list  timeimages"));
    }
    return calls;
}

void warmUp(SSweep& sweep)
{
    // What the libraries keep once for the life of the process is there after two rounds, of which one reports an
    // error.
    for (int round = 0; round < 3; ++round) {
        failing_calls::failAlways(EKind::SPAWN);
        CWorkflow(sweep.provider).run();
        if (runUndisturbed(sweep) != 0) throw std::runtime_error("an undisturbed workflow does not succeed");
    }
    sweep.blocks = failing_calls::liveBlocks();
}

int run(int argc, char** argv)
{
    const CScratchHost host(argv[1]);
    const CProviderLibrary provider(argv[2], "cdpfi");
    SSweep sweep{host, provider, std::strcmp(argv[3], "spawn") == 0 ? EKind::SPAWN : EKind::ALLOCATION, {}, 0};
    const uint64_t step = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 1;
    const int64_t first = argc > 5 ? std::strtol(argv[5], nullptr, 10) : 1;
    int cases = 0;
    int failed = 0;
    const auto sweepOver = [&](uint64_t calls, bool isWarm) {
        const int64_t from = first < 0 ? std::max<int64_t>(static_cast<int64_t>(calls) + first, 0) + 1 : first;
        for (auto number = static_cast<uint64_t>(from); number <= calls; number += step, ++cases) {
            failed += passes(sweep, number, isWarm) ? 0 : 1;
        }
    };
    const uint64_t cold = countCold(sweep);
    sweepOver(cold, false);
    warmUp(sweep);
    const uint64_t warm = failing_calls::calls();
    sweepOver(warm, true);
    std::printf("%lu calls in a first workflow, %lu in a later one, %d cases, %d failed\n",
                static_cast<unsigned long>(cold), static_cast<unsigned long>(warm), cases, failed);
    return failed == 0 && cases > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        if (argc < 4) throw std::runtime_error("arguments are missing");
        if (argc > 4 && std::strtoul(argv[4], nullptr, 10) == 0) throw std::runtime_error("STEP is no number above 0");
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
