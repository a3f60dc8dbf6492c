#include "host/tests/fakefi/faults.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

using EAction = SFault::EAction;

constexpr useconds_t A_MOMENT = 2000;

std::string withNewlines(const std::string& text)
{
    std::string shown;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isNewline = text.compare(i, 2, "\\n") == 0;
        shown += isNewline ? '\n' : text[i];
        if (isNewline) ++i;
    }
    return shown;
}

EAction actionOf(const std::string& word)
{
    static const std::map<std::string, EAction> ACTIONS = {{"fail", EAction::FAIL},
                                                           {"lost", EAction::LOST},
                                                           {"lies", EAction::LIES},
                                                           {"killed", EAction::KILLED},
                                                           {"killed-after", EAction::KILLED_AFTER},
                                                           {"dies", EAction::DIES},
                                                           {"dies-after", EAction::DIES_AFTER},
                                                           {"hangs", EAction::HANGS},
                                                           {"hangs-after", EAction::HANGS_AFTER},
                                                           {"wait", EAction::WAIT},
                                                           {"wait-after", EAction::WAIT_AFTER},
                                                           {"meets", EAction::MEETS}};
    const auto found = ACTIONS.find(word);
    return found == ACTIONS.end() ? EAction::OTHER : found->second;
}

// Point, action and the rest of the line, which may hold blanks.
std::vector<std::string> partsOf(const std::string& line)
{
    const char separator = line.find('\t') == std::string::npos ? ' ' : '\t';
    std::vector<std::string> parts;
    size_t from = 0;
    while (parts.size() < 2) {
        const size_t to = line.find(separator, from);
        parts.push_back(line.substr(from, to - from));
        if (to == std::string::npos) return parts;
        from = to + 1;
    }
    parts.push_back(line.substr(from));
    return parts;
}

SFault faultOf(const std::vector<std::string>& parts)
{
    SFault fault;
    if (parts.size() < 2) return fault;
    const size_t equals = parts[1].find('=');
    fault.word = parts[1].substr(0, equals);
    fault.action = actionOf(fault.word);
    if (equals != std::string::npos) fault.status = std::stoi(parts[1].substr(equals + 1));
    if (parts.size() > 2) fault.text = withNewlines(parts[2]);
    return fault;
}

}  // namespace

SFault CFaults::find(std::initializer_list<std::string> points) const
{
    for (const std::string& point : points) {
        std::ifstream file(m_store.folder() + "faults");
        for (std::string line; std::getline(file, line);) {
            const std::vector<std::string> parts = partsOf(line);
            if (parts.front() == point) return faultOf(parts);
        }
    }
    return {};
}

bool CFaults::hostLives() const
{
    return kill(m_host, 0) == 0;
}

void CFaults::waitFor(const std::string& name) const
{
    std::ofstream(m_store.folder() + name + ".reached") << '\n';
    while (!std::filesystem::exists(m_store.folder() + name)) {
        if (!hostLives()) _exit(1);
        usleep(A_MOMENT);
    }
}

void CFaults::meet(const std::string& name, int count) const
{
    constexpr int PATIENCE = 30;  // seconds
    const std::filesystem::path folder = m_store.folder() + name;
    std::filesystem::create_directories(folder);
    std::ofstream(folder / std::to_string(getpid())) << '\n';
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(PATIENCE);
    while (std::distance(std::filesystem::directory_iterator(folder), {}) < count) {
        if (!hostLives() || std::chrono::steady_clock::now() > end) _exit(1);
        usleep(A_MOMENT);
    }
}

// Nothing is left behind when the host has died.
void CFaults::waitForTheEnd() const
{
    while (hostLives()) {
        usleep(A_MOMENT);
    }
    _exit(1);
}

void CFaults::killHost() const
{
    kill(m_host, SIGKILL);
    waitForTheEnd();
}

void CFaults::before(const SFault& fault) const
{
    if (fault.action == EAction::KILLED) killHost();
    if (fault.action == EAction::DIES) std::raise(SIGKILL);
    if (fault.action == EAction::HANGS) waitForTheEnd();
    if (fault.action == EAction::WAIT) waitFor(fault.text);
    if (fault.action == EAction::MEETS) meet(fault.text, fault.status);
}

void CFaults::after(const SFault& fault) const
{
    if (fault.action == EAction::KILLED_AFTER) killHost();
    if (fault.action == EAction::DIES_AFTER) std::raise(SIGKILL);
    if (fault.action == EAction::HANGS_AFTER) waitForTheEnd();
    if (fault.action == EAction::WAIT_AFTER) waitFor(fault.text);
}

bool CFaults::fails(const std::string& point, std::string& text) const
{
    const SFault fault = find({point});
    before(fault);
    after(fault);
    text = fault.text;
    return fault.action == EAction::FAIL || fault.action == EAction::LOST;
}

bool CFaults::fails(const std::string& point) const
{
    std::string ignored;
    return fails(point, ignored);
}
