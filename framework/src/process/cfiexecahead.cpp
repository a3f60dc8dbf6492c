#include "framework/include/cfiexecahead.h"

#include <map>
#include <new>
#include <vector>

#include "framework/src/process/exec_limit.h"
#include "framework/src/process/program_run.h"

namespace obzx_pdk_4_4 {

namespace {

// Listings are shorter by far.
constexpr size_t MOST_READ_AHEAD = size_t{16} * 1024 * 1024;

}  // namespace

struct CFiExecAhead::SState
{
    std::map<size_t, std::unique_ptr<CProgramRun>> runs;  // those that were not taken
    size_t begun = 0;

    std::vector<CProgramRun*> running() const
    {
        std::vector<CProgramRun*> found;
        for (const auto& [number, run] : runs) {
            if (!run->isOver()) found.push_back(run.get());
        }
        return found;
    }
};

CFiExecAhead::CFiExecAhead() : m_state(std::make_unique<SState>()) {}

CFiExecAhead::~CFiExecAhead()
{
    for (const auto& [number, run] : m_state->runs) {
        run->drop();
    }
    try {
        // All at once: each has 5 s to end.
        for (auto running = m_state->running(); !running.empty(); running = m_state->running()) {
            CProgramRun::waitForAny(running);
        }
    } catch (const std::bad_alloc&) {
        // Then they are killed one by one, with their objects.
    }
}

std::optional<size_t> CFiExecAhead::begin(const std::string& commandLine, const std::string& inputFile,
                                          unsigned long timeout)
{
    std::unique_ptr<CProgramRun> run;
    try {
        run = std::make_unique<CProgramRun>(commandLine, limitOf(m_traceLog, timeout), m_bounds);
        std::unique_ptr<CProgramRun>& place = m_state->runs[m_state->begun];
        // One that was given up before its program ran, by its time limit or a cancellation, is not begun again.
        if (run->start(inputFile, "", "", "") || run->wasStopped()) {
            place = std::move(run);
            return m_state->begun++;
        }
    } catch (const std::bad_alloc&) {
        // Was thrown before there was a program.
    }
    if (run) run->forget();
    m_state->runs.erase(m_state->begun);
    return std::nullopt;
}

size_t CFiExecAhead::countRunning() const
{
    size_t count = 0;
    for (const auto& [number, run] : m_state->runs) {
        if (!run->isOver()) ++count;
    }
    return count;
}

size_t CFiExecAhead::countBytes() const
{
    size_t bytes = 0;
    for (const auto& [number, run] : m_state->runs) {
        bytes += run->output().size();
    }
    return bytes;
}

bool CFiExecAhead::hasEnded(size_t run) const
{
    return m_state->runs.at(run)->isOver();
}

bool CFiExecAhead::hasSucceeded(size_t run) const
{
    return m_state->runs.at(run)->hasSucceeded();
}

void CFiExecAhead::drop(size_t run)
{
    const auto dropped = m_state->runs.find(run);
    dropped->second->drop();
    if (dropped->second->isOver()) m_state->runs.erase(dropped);
}

const CFiOutputText& CFiExecAhead::output(size_t run) const
{
    return m_state->runs.at(run)->output();
}

void CFiExecAhead::waitForOne(std::optional<size_t> wanted)
{
    const std::vector<CProgramRun*> running = m_state->running();
    const CProgramRun* const first = wanted ? m_state->runs.at(*wanted).get() : nullptr;
    for (size_t before = running.size(); before > 0 && countRunning() == before;) {
        for (CProgramRun* const run : running) {
            run->setReading(first == nullptr || run == first || run->output().size() < MOST_READ_AHEAD);
        }
        CProgramRun::waitForAny(running);
    }
    std::erase_if(m_state->runs, [](const auto& run) { return run.second->isDropped() && run.second->isOver(); });
}

std::unique_ptr<CProgramRun> CFiExecAhead::take(size_t run)
{
    while (!hasEnded(run)) {
        waitForOne(run);
    }
    return std::move(m_state->runs.extract(run).mapped());
}

}  // namespace obzx_pdk_4_4
