#include "host/src/recording/recording.h"

#include <sys/stat.h>

#include <csignal>

#include <nlohmann/json.hpp>
#include <sstream>

#include "framework/include/obzx_runtime.h"
#include "host/src/output/error.h"
#include "host/src/output/progress.h"
#include "host/src/output/result.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

// What a provider traces where nobody asks for more: at a higher level it may do more than it would otherwise.
constexpr int32_t TRACE_LEVEL = 2;
constexpr size_t LONGEST_ANSWER = size_t{1024} * 1024;  // of which the inspector shows no more

CRecording* g_current = nullptr;

std::optional<CNewFile> newFile(const std::string& name, std::string& failure)
{
    struct stat status = {};
    if (lstat(name.c_str(), &status) == 0) {
        throw EFictl(EExit::EXISTS, "file " + printable(name) + " exists already; nothing was done",
                     "give another file to --record");
    }
    try {
        return std::optional<CNewFile>(std::in_place, name, CNewFile::EBusy::REFUSE);
    } catch (const EFictl& error) {
        failure = error.what();
        return std::nullopt;
    }
}

// Of a command that the inspector tells of, whether it was stopped is told by the want of an exit status.
json inspectedRun(const json& run, double offset)
{
    const bool ended = run.at("exit").is_number() || (run.at("signal").is_number() && run.at("signal") != SIGTERM);
    const std::string output = run.at("output");
    return {{"source", "inspector"},
            {"offset", offset},
            {"seconds", run.at("seconds")},
            {"appliance", run.at("appliance")},
            {"command", run.at("command")},
            {"answer", conversationText(output)},
            {"whole", output.size() < LONGEST_ANSWER},
            {"exit", run.at("exit")},
            {"signal", run.at("signal")},
            {"stopped", ended ? json() : json("limit")}};
}

}  // namespace

json conversationText(const std::string& text)
{
    if (isUtf8(text)) return text;
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string hex;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        hex += {DIGITS[byte >> 4U], DIGITS[byte & 0x0fU]};
    }
    return {{"hex", hex}};
}

CRecording::CRecording(const std::string& file, json head, std::vector<std::string> secrets)
    : m_name(file),
      m_secrets(std::move(secrets), HARMLESS_COMMAND),
      m_file(newFile(file, m_failure)),
      m_listening([this](const SRunRecord& run, const obzx_run& whole) { addRun(run, whole); })
{
    begin(std::move(head));
}

CRecording::CRecording(std::vector<json>& lines, json head, std::vector<std::string> secrets)
    : m_secrets(std::move(secrets), HARMLESS_COMMAND),
      m_lines(&lines),
      m_listening([this](const SRunRecord& run, const obzx_run& whole) { addRun(run, whole); })
{
    begin(std::move(head));
}

void CRecording::begin(json head)
{
    head["format"] = "fictl-conversation";
    head["version"] = 1;
    write(head);
    g_current = this;
    obzx_set_trace_observer(&CRecording::onTrace, this, TRACE_LEVEL);
}

CRecording::~CRecording()
{
    obzx_set_trace_observer(nullptr, nullptr, 0);
    g_current = nullptr;
}

CRecording* CRecording::current()
{
    return g_current;
}

double CRecording::offsetOf(Clock::time_point time) const
{
    return std::chrono::duration<double>(time - m_start).count();
}

void CRecording::write(const json& line)
{
    const std::lock_guard guard(m_lock);
    if (m_lines != nullptr) m_lines->push_back(line);
    if (!m_file) return;
    try {
        m_file->write(line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n");
    } catch (const std::exception& error) {
        m_failure = error.what();
        m_file.reset();
    }
}

void CRecording::onTrace(void* user, int32_t level, const char* component, const char* text)
{
    static_cast<CRecording*>(user)->write(
        {{"trace", {{"level", level}, {"component", component}, {"text", conversationText(text)}}}});
}

void CRecording::addRun(const SRunRecord& run, const obzx_run& whole)
{
    json arguments = json::array();
    for (const std::string& argument : run.arguments) {
        arguments.push_back(conversationText(argument));
    }
    const double offset = offsetOf(Clock::now() - std::chrono::duration_cast<Clock::duration>(run.duration));
    const std::string answer(whole.output, whole.output_kept);
    write({{"run",
            {{"source", "provider"},
             {"offset", offset},
             {"seconds", run.seconds()},
             {"arguments", std::move(arguments)},
             {"input", conversationText(run.input)},
             {"answer", conversationText(answer)},
             {"whole", run.isInputWhole() && whole.output_kept == whole.output_size},
             {"exit", run.endedByItself() ? json(run.exitStatus) : json()},
             {"signal", run.signal != 0 ? json(run.signal) : json()},
             {"error", run.error},
             {"stopped", textOrNull(stopText(run.stopped))},
             {"limit", run.limitSeconds}}}});
}

void CRecording::addInspection(const json& raw, Clock::time_point began)
{
    if (!raw.is_array()) return;
    const double offset = offsetOf(began);
    for (const json& run : raw) {
        try {
            write({{"run", inspectedRun(run, offset)}});
        } catch (const json::exception& error) {
            const std::lock_guard guard(m_lock);
            m_failure = std::string("what the inspector tells of its commands is not understood: ") + error.what();
        }
    }
}

void CRecording::addInput(const std::string& file, const std::string& text)
{
    write({{"input", {{"file", conversationText(file)}, {"text", conversationText(text)}}}});
}

void CRecording::addPart(const std::string& text, Clock::time_point began)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        json entry = json::parse(line, nullptr, false);
        if (!entry.is_object() || !(entry.contains("run") || entry.contains("trace"))) continue;
        if (entry.contains("run")) entry["run"]["offset"] = entry["run"].value("offset", 0.0) + offsetOf(began);
        write(entry);
    }
}

void CRecording::missPart(const std::string& why)
{
    const std::lock_guard guard(m_lock);
    m_failure = why;
}

std::string CRecording::failure()
{
    const std::lock_guard guard(m_lock);
    return m_failure;
}

void CRecording::end(int exit, const std::string& output)
{
    write({{"end", {{"exit", exit}, {"output", conversationText(m_secrets.hiddenOutput(output))}}}});
    const std::lock_guard guard(m_lock);
    try {
        if (m_file && !m_file->keep(false)) m_failure = "a file of that name has appeared meanwhile";
    } catch (const EFictl& error) {
        m_failure = error.what();
    }
    m_file.reset();
    if (m_lines == nullptr && !m_failure.empty())
        CProgress::warn("conversation " + printable(m_name) + " is not whole: " + m_failure);
}

void CRecording::leave()
{
    const std::lock_guard guard(m_lock);
    m_file.reset();
}

}  // namespace fictl
