#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "appliance/lmadm/replay/conversation.h"

namespace lumora {

/**
 * A conversation that is held again. Its folder has the tools lmsh and kforutil, the conversation (conversation.jsonl)
 * and what was asked by now (asked), of which each answer holds the lock while it looks for its run:
 *
 *     answered NUMBER      the run of that number, from 0 in the order in which they began
 *     name CHECKPOINT      the checkpoint of the process that asks now, in place of the recorded one
 *     refused TEXT         what was not asked then
 *
 * Each run answers once. A command is answered as the first run with the same text was that has not answered yet; but
 * none out of its turn: after a command has changed something, what is about the same group is not answered before that
 * command was asked for. What the recording process called by its own number is called by that of the process that asks
 * now.
 */
class CReplay
{
  public:
    /// Makes a folder for it, which must not be there yet. @param program this program, which the tools run
    static void prepare(const std::filesystem::path& conversation, const std::filesystem::path& folder,
                        const std::filesystem::path& program);

    explicit CReplay(const std::filesystem::path& folder);

    /// Answers as the tool did then, and returns its exit status; ends as it did where a signal ended it, and does not
    /// return where it gave no answer. Throws with status unexpected, and says the difference, when it was not asked.
    int answer(const std::string& script);

  private:
    size_t find(const std::string& command);
    std::optional<size_t> nextOf(const std::string& command) const;
    const SToolRun* blocking(size_t number) const;
    [[noreturn]] void refuse(const std::string& command) const;
    std::string asRecorded(const std::string& command) const;
    std::string asAskedNow(std::string text) const;
    void note(const std::string& line) const;
    void readAsked();

    std::filesystem::path m_folder;
    SConversation m_conversation;
    std::vector<bool> m_answered;
    std::string m_name;  // of the checkpoint of the process that asks; empty while it is not known
};

}  // namespace lumora
