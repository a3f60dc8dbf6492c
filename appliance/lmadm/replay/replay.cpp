#include "appliance/lmadm/replay/replay.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <sstream>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/range_lock.h"

namespace lumora {

namespace fs = std::filesystem;

namespace {

constexpr const char* CONVERSATION = "conversation.jsonl";
constexpr const char* ASKED = "asked";
constexpr size_t LONGEST_ASKED = size_t{64} * 1024 * 1024;
constexpr size_t LONGEST_CONVERSATION = size_t{256} * 1024 * 1024;

std::string quotedForShell(const std::string& text)
{
    std::string quoted = "'";
    for (const char character : text) {
        quoted += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return quoted + "'";
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos;) {
        const size_t end = at + from.size();
        const bool isWhole = end == text.size() || text[end] < '0' || text[end] > '9';
        if (isWhole) text.replace(at, from.size(), to);
        at += isWhole ? to.size() : from.size();
    }
    return text;
}

// What stands before the number at a name's end.
std::string stemOf(const std::string& name)
{
    return name.substr(0, name.find_last_not_of("0123456789") + 1);
}

// A name of the same form in a text; empty where there is none.
std::string nameLike(const std::string& stem, const std::string& text)
{
    const size_t begin = text.find(stem);
    if (stem.empty() || begin == std::string::npos) return {};
    const size_t end = std::min(text.find_first_not_of("0123456789", begin + stem.size()), text.size());
    return end == begin + stem.size() ? std::string() : text.substr(begin, end - begin);
}

[[noreturn]] void waitForTheEnd()
{
    while (true) {
        ::pause();
    }
}

}  // namespace

void CReplay::prepare(const fs::path& conversation, const fs::path& folder, const fs::path& program)
{
    SConversation::read(conversation);  // refuses what is none
    if (isThere(folder)) {
        throw EApplianceError(EStatus::EXISTS, "folder " + inQuotes(folder.string()) + " exists already");
    }
    constexpr mode_t OWNER_ONLY = 0700;
    makeFolder(folder, OWNER_ONLY);
    const fs::path whole = fs::canonical(folder);
    replaceFile(whole / CONVERSATION, readSmallFile(conversation, LONGEST_CONVERSATION), 0600);
    const std::string command =
        "#!/bin/sh\nexec " + quotedForShell(program.string()) + " answer " + quotedForShell(whole.string()) + " ";
    replaceFile(whole / "lmsh", command + "\n", OWNER_ONLY);
    replaceFile(whole / "kforutil", command + "-- \"$@\"\n", OWNER_ONLY);
}

CReplay::CReplay(const fs::path& folder)
    : m_folder(folder),
      m_conversation(SConversation::read(folder / CONVERSATION)),
      m_answered(m_conversation.runs.size())
{
}

void CReplay::readAsked()
{
    std::istringstream lines(readSmallFile(m_folder / ASKED, LONGEST_ASKED));
    for (std::string line; std::getline(lines, line);) {
        const std::string text = line.substr(std::min(line.find(' ') + 1, line.size()));
        if (line.starts_with("answered ")) m_answered.at(std::stoul(text)) = true;
        if (line.starts_with("name ")) m_name = text;
    }
}

void CReplay::note(const std::string& line) const
{
    const base::CFileDescriptor file = openFile(m_folder / ASKED, O_WRONLY | O_APPEND);
    const std::string text = line + "\n";
    if (::write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throwStorage("write", (m_folder / ASKED).string(), errno);
    }
}

std::string CReplay::asRecorded(const std::string& command) const
{
    return m_name.empty() ? command : replaced(command, m_name, m_conversation.checkpoint);
}

std::string CReplay::asAskedNow(std::string text) const
{
    return m_name.empty() ? text : replaced(std::move(text), m_conversation.checkpoint, m_name);
}

std::optional<size_t> CReplay::nextOf(const std::string& command) const
{
    // What nobody needed then has no answer to give, as long as there is another.
    std::optional<size_t> unused;
    for (size_t i = 0; i < m_conversation.runs.size(); ++i) {
        const SToolRun& run = m_conversation.runs[i];
        if (m_answered[i] || run.command != command) continue;
        if (run.stopped != EStopped::UNUSED) return i;
        if (!unused) unused = i;
    }
    return unused;
}

const SToolRun* CReplay::blocking(size_t number) const
{
    const SToolRun& run = m_conversation.runs[number];
    for (size_t i = 0; i < number; ++i) {
        const SToolRun& earlier = m_conversation.runs[i];
        const bool isBefore = !m_answered[i] && earlier.isChange() && earlier.ended <= run.began;
        const std::string target = earlier.target();
        if (isBefore && !target.empty() && target == run.target()) return &earlier;
    }
    return nullptr;
}

void CReplay::refuse(const std::string& command) const
{
    const auto count = std::ranges::count(m_conversation.runs, command, &SToolRun::command);
    std::string why = "not asked then";
    if (count > 0) why = "asked " + std::to_string(count) + " times then, and once more now";
    std::string expected = "nothing";
    for (size_t i = m_conversation.runs.size(); i-- > 0;) {
        if (!m_answered[i]) expected = shownCommand(m_conversation.runs[i].command);
    }
    note("refused " + shownCommand(command));
    throw EApplianceError(EStatus::UNEXPECTED, "replay: " + why + ": " + shownCommand(command) +
                                                   "; the first that was asked then and not by now: " + expected);
}

size_t CReplay::find(const std::string& command)
{
    if (const std::optional<size_t> found = nextOf(asRecorded(command))) return *found;
    const std::string name = nameLike(stemOf(m_conversation.checkpoint), command);
    if (!m_name.empty() || name.empty()) refuse(command);
    // The first command that makes something under the name of the process that asks.
    m_name = name;
    const std::optional<size_t> found = nextOf(asRecorded(command));
    if (!found || !m_conversation.runs[*found].isChange()) refuse(command);
    note("name " + name);
    return *found;
}

int CReplay::answer(const std::string& script)
{
    const std::string command = commandOf(script);
    size_t number = 0;
    {
        const base::CFileDescriptor lock = lockByte(m_folder / ASKED, 0);
        readAsked();
        number = find(command);
        if (const SToolRun* const earlier = blocking(number)) {
            note("refused " + shownCommand(command));
            throw EApplianceError(EStatus::UNEXPECTED, "replay: asked out of turn: " + shownCommand(command) +
                                                           "; then " + shownCommand(earlier->command) + " came first");
        }
        note("answered " + std::to_string(number));
    }
    const SToolRun& run = m_conversation.runs[number];
    if (!run.isWhole) {
        throw EApplianceError(EStatus::UNEXPECTED,
                              "replay: the conversation has only a part of the answer to " + shownCommand(command));
    }
    printBytes(asAskedNow(run.answer));
    if (run.stopped == EStopped::STOPPED) waitForTheEnd();
    if (run.signal != 0) {
        std::signal(run.signal, SIG_DFL);
        ::raise(run.signal);
    }
    return run.exit;
}

}  // namespace lumora
