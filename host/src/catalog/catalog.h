#pragma once

#include <chrono>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/sqlite.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/**
 * The catalog of this host's snapshots: the file that catalogPath names, SQLite in WAL mode, folder 0700,
 * file 0600. What changes a record enters it into the history of this process's command (command_history.h), too. Any
 * number of fictl processes may use it at once; one object is used by one thread. Every change is one transaction that
 * is on disk when the call returns. All calls throw EFictl (CATALOG) when the catalog cannot be read or written; those
 * that need a record throw EFictl (NOT_FOUND) when there is none.
 */
class CCatalog
{
  public:
    /// How long the lock of another fictl is waited for, which holds it for moments only.
    static constexpr std::chrono::seconds PATIENCE{20};

    /// Creates folder, file and tables where missing; refuses a file that is not a catalog of this version. Whoever
    /// only looks takes CCatalogReader.
    CCatalog();

    const std::string& path() const { return m_path; }

    SSnapshot get(const std::string& name);
    bool has(const std::string& name);
    /// Names of the checkpoints of all records, each once.
    std::vector<std::string> checkpoints();

    /// Enters a new record. Throws EFictl (EXISTS) when the name is taken, saying how.
    void insert(const SSnapshot& snapshot);
    /// Replaces a record, all but what is said of it once: who made it, its labels and its note.
    void update(const SSnapshot& snapshot);
    /// Replaces a record's head and one of its devices, or those of one group, at a cost that does not grow with the
    /// others.
    void updateDevice(const SSnapshot& snapshot, size_t position);
    void updateGroup(const SSnapshot& snapshot, const GroupKey& group);
    /// Remembers that another host may have the record; does not touch the rest of it.
    void markExported(const std::string& name);
    /// Changes labels and note, whatever is at work on the record. Throws EFictl (USAGE) for too many labels.
    SSnapshot annotate(const std::string& name, const SAnnotationChange& annotation);
    void remove(const std::string& name);
    /// Removes a record that no living process is at work on, in one of the states allowed, of which the appliances are
    /// asked for nothing; throws as take. Returns it.
    SSnapshot drop(const std::string& name, std::initializer_list<EState> allowed, const char* what);
    /// Enters this process's command into the history before it does anything.
    void beginHistory();

    /**
     * Makes this process the owner of a record and puts it into the given state, when it is in one of the states
     * allowed and no living process is at work on it; else throws EFictl (STATE) saying why. Returns the record as it
     * was before.
     */
    SSnapshot take(const std::string& name, EState into, std::initializer_list<EState> allowed, const char* what);

    /// Name of a record, other than the one named, that owns a group's checkpoint; nothing when there is none.
    std::optional<std::string> otherOwner(const std::string& name, const GroupKey& group,
                                          const std::string& checkpoint);
    /// Name of a record that carries a checkpoint's name at all; nothing when there is none.
    std::optional<std::string> carrierOf(const std::string& checkpoint);

  private:
    template <class Work>
    auto guarded(const char* doing, Work work);
    template <class Work>
    void change(const std::string& snapshot, Work work);
    void write(const SSnapshot& snapshot);
    SSnapshot requireFree(const std::string& name, std::initializer_list<EState> allowed, const char* what);
    void writeHead(const SSnapshot& snapshot);
    void writeDevice(const std::string& snapshot, size_t position, const SDevice& device);

    std::string m_path;
    COwnerLock m_lock;
    std::shared_ptr<base::CSqliteDatabase> m_database;  // shared with the command's history
};

}  // namespace fictl
