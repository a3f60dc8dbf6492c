#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/sqlite.h"
#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/snapshot_record.h"
#include "host/src/runs/run_log.h"

namespace fictl {

/**
 * What this command enters into the catalog's history. An entry is begun within the change of the catalog that says
 * what the command is about to ask an appliance for, and so costs nothing of its own; it gets its end when the command
 * has ended, which is one change more. So a command that was killed leaves an entry without an end, with the objects
 * that it may have made. A command that changed nothing in the catalog is entered as a whole at its end, provided that
 * it came as far as opening it.
 *
 * A history that cannot be written is told on standard error, once, and keeps no command from its work. A part of a
 * command may be entered for itself: the part's one is made while that of the command is there, and whatever happens
 * until it is gone is the part's alone. The first is made before any run log; addRun may be called from any thread, all
 * else by one at a time.
 */
class CCommandHistory
{
  public:
    /// @param command the command line, without what may be secret
    explicit CCommandHistory(const std::string& command);
    ~CCommandHistory();
    CCommandHistory(const CCommandHistory&) = delete;
    CCommandHistory& operator=(const CCommandHistory&) = delete;

    /// The one of what this process does now; null when that is not entered.
    static CCommandHistory* current();

    /// The catalog that was opened; kept open until the end, so that it is opened and closed once.
    void attach(const std::string& path, std::shared_ptr<base::CSqliteDatabase> database);
    /// The snapshot that the command is about.
    void concern(const std::string& snapshot) { m_entry.snapshot = snapshot; }
    /// Another process goes on with the command and makes the entry: this one leaves the catalog alone from now on.
    void leave();

    /// Within a change of the catalog: begins the entry unless that was done, with what is about to be asked for.
    /// Throws EHistory when that cannot be entered: the change is then to be undone, and made again after giveUp().
    void enter(const std::vector<SHistoryObject>& asked);
    void entered();  ///< the change is on disk
    void giveUp(const std::string& why);

    /// What became of one object; an answer of the appliance itself counts more.
    void settle(const SHistoryObject& object);
    /// What the record knows of its checkpoints now.
    void settleCheckpoints(const SSnapshot& snapshot);
    /// @param creationTime of the image that the run has shown; empty for any other run
    void addRun(const SRunRecord& run, const std::string& creationTime);

    /// Enters the end. Later calls do nothing.
    void end(const SHistoryEnd& end);

  private:
    void enterCreationTime(const SRunRecord& run, const std::string& time);
    void resolve(bool isSuccess);
    void writeEnd();

    CCommandHistory* const m_whole;  // the command that this one is a part of; null for a command
    SHistoryEntry m_entry;
    std::string m_path;
    std::shared_ptr<base::CSqliteDatabase> m_database;  // null: nothing is to be entered, or no more
    std::optional<COwnerLock> m_lock;                   // as long as it is held the entry's process lives
    bool m_isBegun = false;
    std::vector<SHistoryObject> m_settled;
    std::mutex m_runLock;  // guards the members below, and runs, looks and lost of the entry
    std::vector<SHistoryObject> m_answered;
    CRunLog::CListening m_listening;
};

/// The history cannot be written.
class EHistory : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
    ~EHistory() override;
    EHistory(const EHistory&) = default;
    EHistory& operator=(const EHistory&) = default;
};

/// What a change of a record says that is about to be asked of the appliances: of a creation its checkpoints, of a
/// release its images, of a deletion both.
std::vector<SHistoryObject> aboutToBeAsked(const SSnapshot& snapshot);
/// The same of the image of one group, before an import asks for it; nothing for any other change of a group.
std::vector<SHistoryObject> imageAboutToBeAsked(const SSnapshot& snapshot, const GroupKey& group);

}  // namespace fictl
