#include "host/src/runs/run_log.h"

#include <new>
#include <utility>

namespace fictl {

namespace {

// Far more than one step of a sound provider takes.
constexpr size_t MOST_RUNS = 1000;
constexpr size_t MOST_BYTES = size_t{16} * 1024 * 1024;

// A provider that keeps failing must not fill the memory; the first messages tell most.
constexpr size_t MOST_MESSAGES = 1000;

SRunWatch g_watch;
std::vector<const CRunLog::CListening*> g_listeners;
// What this thread runs is kept here, when it is not null.
thread_local CRunLog::CApart* g_apart = nullptr;

std::string textOf(const char* text)
{
    return text == nullptr ? std::string() : std::string(text);
}

std::string textOf(const char* text, size_t size)
{
    return text == nullptr ? std::string() : std::string(text, size);
}

EStop stopOf(int32_t stopped)
{
    switch (stopped) {
        case OBZX_RUN_NOT_STOPPED:
            return EStop::NOT_STOPPED;
        case OBZX_RUN_STOPPED_BY_LIMIT:
            return EStop::LIMIT;
        case OBZX_RUN_STOPPED_BY_OUTPUT:
            return EStop::OUTPUT;
        case OBZX_RUN_UNUSED:
            return EStop::UNUSED;
        default:
            return EStop::CANCEL;
    }
}

size_t bytesOf(const SRunRecord& record)
{
    size_t bytes = sizeof record + record.input.size() + record.output.size();
    for (const std::string& argument : record.arguments) {
        bytes += argument.capacity() + sizeof(std::string);
    }
    return bytes;
}

// "server NAME", by which a script begins; a tool without a script has none, and is silent by itself alone.
std::string serverLine(const SRunRecord& run)
{
    return run.input.empty() ? run.program() : run.input.substr(0, run.input.find('\n'));
}

}  // namespace

std::string stopText(EStop stop)
{
    switch (stop) {
        case EStop::LIMIT:
            return "limit";
        case EStop::CANCEL:
            return "cancel";
        case EStop::OUTPUT:
            return "output";
        case EStop::UNUSED:
            return "unused";
        case EStop::NOT_STOPPED:
            break;
    }
    return {};
}

std::string SRunRecord::program() const
{
    if (arguments.empty()) return {};
    return arguments.front().substr(arguments.front().rfind('/') + 1);
}

SRunRecord runRecordOf(const obzx_run& run) noexcept
{
    SRunRecord record;
    record.number = run.number;
    record.inputSize = run.input_size;
    record.process = run.process;
    record.startSeconds = run.start_seconds;
    record.startNanoseconds = run.start_nanoseconds;
    record.limitSeconds = run.limit_seconds;
    record.result = run.result;
    record.exitStatus = run.exit_status;
    record.signal = run.signal;
    record.error = run.error;
    record.stopped = stopOf(run.stopped);
    record.duration = std::chrono::nanoseconds(run.duration_nanoseconds);
    record.outputSize = run.output_size;
    try {
        record.entryPoint = textOf(run.entry_point);
        for (int32_t i = 0; run.arguments != nullptr && i < run.argument_count; ++i) {
            record.arguments.push_back(textOf(run.arguments[i]));
        }
        record.input = textOf(run.input, run.input_kept);
        // Nobody judges by what a command said that succeeded, and listings are long.
        if (run.result != 0) record.output = textOf(run.output, run.output_kept);
    } catch (const std::bad_alloc&) {
        // Half a text must not be taken for a whole one.
        record.input.clear();
    }
    return record;
}

CRunLog::CRunLog()
{
    obzx_set_run_observer(&CRunLog::onRun, this);
}

CRunLog::~CRunLog()
{
    obzx_set_run_observer(nullptr, nullptr);
}

void CRunLog::setWatch(SRunWatch watch)
{
    g_watch = std::move(watch);
}

CRunLog::CListening::CListening(RunListener listener) : m_listener(std::move(listener))
{
    g_listeners.push_back(this);
}

CRunLog::CListening::~CListening()
{
    std::erase(g_listeners, this);
}

CRunLog::CApart::CApart(CRunLog& log) : m_log(log)
{
    const std::lock_guard guard(m_log.m_lock);
    m_log.m_aparts.push_back(this);
    g_apart = this;
}

CRunLog::CApart::~CApart()
{
    const std::lock_guard guard(m_log.m_lock);
    std::erase(m_log.m_aparts, this);
    g_apart = nullptr;
}

CRunLog::SKept& CRunLog::kept()
{
    if (g_apart != nullptr) return g_apart->m_kept;
    return m_aparts.size() == 1 ? m_aparts.front()->m_kept : m_kept;
}

void CRunLog::onRun(void* context, const obzx_run* run)
{
    auto* const self = static_cast<CRunLog*>(context);
    SRunRecord record = runRecordOf(*run);
    if (run->phase == OBZX_RUN_STARTED) {
        if (g_watch.onStarted) g_watch.onStarted(record);
        if (self->isUseless(record)) obzx_cancel_observed_run();
        return;
    }
    if (g_watch.onEnded) g_watch.onEnded(record);
    for (const CListening* const listening : g_listeners) {
        listening->m_listener(record, *run);
    }
    self->add(std::move(record));
}

CRunLog::CLooking::CLooking(CRunLog& log, std::function<bool()> isGivenUp) : m_log(log)
{
    m_log.setLooking(std::move(isGivenUp));
}

CRunLog::CLooking::~CLooking()
{
    m_log.setLooking({});
}

void CRunLog::setLooking(std::function<bool()> isGivenUp)
{
    const std::lock_guard guard(m_lock);
    m_isGivenUp = std::move(isGivenUp);
    m_silent.clear();
}

bool CRunLog::isUseless(const SRunRecord& run) const
{
    const std::lock_guard guard(m_lock);
    return m_isGivenUp && (m_isGivenUp() || m_silent.contains(serverLine(run)));
}

void CRunLog::add(SRunRecord record)
{
    const std::lock_guard guard(m_lock);
    ++m_count;
    if (record.stopped == EStop::UNUSED) return;
    if (m_isGivenUp && (record.stopped == EStop::CANCEL || record.stopped == EStop::LIMIT)) {
        const bool isKnown = m_silent.contains(serverLine(record));
        if (record.stopped == EStop::LIMIT) m_silent.insert(serverLine(record));
        if (isKnown) return;
    }
    SKept& all = kept();
    SRoom& room = record.result == 0 ? all.succeeded : all.failed;
    const size_t bytes = bytesOf(record);
    if (room.runs == MOST_RUNS || room.bytes + bytes > MOST_BYTES) {
        ++all.taken.lost;
        return;
    }
    try {
        all.taken.runs.push_back(std::move(record));
        ++room.runs;
        room.bytes += bytes;
    } catch (const std::bad_alloc&) {
        ++all.taken.lost;
    }
}

void CRunLog::say(std::string message)
{
    const std::lock_guard guard(m_lock);
    std::vector<std::string>& messages = kept().taken.messages;
    if (messages.size() < MOST_MESSAGES) messages.push_back(std::move(message));
}

SRuns CRunLog::take()
{
    const std::lock_guard guard(m_lock);
    SKept& all = g_apart == nullptr ? m_kept : g_apart->m_kept;
    return std::exchange(all, {}).taken;
}

void CRunLog::forget()
{
    take();
}

uint64_t CRunLog::count() const
{
    const std::lock_guard guard(m_lock);
    return m_count;
}

}  // namespace fictl
