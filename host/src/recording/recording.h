#pragma once

#include <chrono>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/src/output/new_file.h"
#include "host/src/output/secrets.h"
#include "host/src/runs/run_log.h"

namespace fictl {

/// In a conversation, in place of a command that may hold a password.
constexpr const char* HARMLESS_COMMAND = "true";

/**
 * Writes what one command asks of the appliances' tools, and what they answer, to a file of JSON lines: the
 * conversation. lmadm replay makes tools of it that answer the same again (docs/fictl.md, Conversations).
 *
 *     {"format": "fictl-conversation", "version": 1, ...}     the head: what the command began with
 *     {"run": {...}}                                          one run of a tool, when it had ended
 *     {"trace": {"level": 2, "text": "..."}}                  one line that the provider traced
 *     {"input": {"file": "...", "text": "..."}}               what the command read beside that
 *     {"end": {"exit": 0, "output": "..."}}                   the last line
 *
 * Runs of the provider are known from the runtime's run records, those of its inspector from the inspector's raw
 * answers, in no order among themselves: as long as it looks, all of them count as begun when the look began. A tool
 * writes both its channels into one, as the runtime reads them.
 *
 * The file is new, for its owner only, and appears under its name whole and on disk, at the end; until then, and of a
 * command that was killed for good, its lines are in FILE.part. One at a time in a process, made before any provider.
 * What cannot be written is told on standard error, once, at the end. All but the constructor may be called from any
 * thread.
 */
class CRecording
{
  public:
    /// Throws EFictl (EXISTS) for a file that is there; nothing was done then.
    /// @param secrets what is hidden in what the command prints
    CRecording(const std::string& file, nlohmann::json head, std::vector<std::string> secrets);
    /// Hands the lines out in place of writing a file.
    CRecording(std::vector<nlohmann::json>& lines, nlohmann::json head, std::vector<std::string> secrets);
    ~CRecording();
    CRecording(const CRecording&) = delete;
    CRecording& operator=(const CRecording&) = delete;

    /// The one of this process; null when nothing is recorded.
    static CRecording* current();

    /// The commands that an inspector tells of under "raw", of a look that began then.
    void addInspection(const nlohmann::json& raw, std::chrono::steady_clock::time_point began);
    /// What the command has read from a file, or from standard input, which is "-".
    void addInput(const std::string& file, const std::string& text);
    /// What another process has recorded, which began then.
    void addPart(const std::string& text, std::chrono::steady_clock::time_point began);
    /// Such a part is missing.
    void missPart(const std::string& why);
    /// What the command ended with, without what is secret in it. Keeps the file.
    void end(int exit, const std::string& output);
    /// Another process goes on with the command, and makes the file.
    void leave();
    /// Why not everything is in it; empty when it is.
    std::string failure();

  private:
    void begin(nlohmann::json head);
    static void onTrace(void* user, int32_t level, const char* component, const char* text);
    void addRun(const SRunRecord& run, const obzx_run& whole);
    double offsetOf(std::chrono::steady_clock::time_point time) const;
    void write(const nlohmann::json& line);

    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::string m_name;
    CSecrets m_secrets;
    std::mutex m_lock;  // guards the three below
    std::string m_failure;
    std::optional<CNewFile> m_file;
    std::vector<nlohmann::json>* m_lines = nullptr;  // in place of the file
    CRunLog::CListening m_listening;
};

/// A text of any bytes as a value of a conversation: as it is, or {"hex": "..."} where it is not UTF-8.
nlohmann::json conversationText(const std::string& text);

}  // namespace fictl
