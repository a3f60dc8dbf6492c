#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>

#include "appliance/core/engines/daemon/qmp_client.h"

namespace lumora {

/// The qemu-storage-daemon of one appliance, and the folder where it is met: <appliance>/qsd/ with its sockets `qmp`
/// and `nbd`, its `pid`, the `log` of all that runs for the engine, `lock`, `keeper`, `ready` and `stopped`.
///
/// Whoever changes what the daemon has open holds the lock, takes the mark of readiness away before and sets it after.
/// So a daemon without the mark is one that somebody was killed over, and is started anew: that loses nothing, since
/// every write that was acknowledged is on stable storage.
class CStorageDaemon
{
  public:
    /// `folder` is the appliance's qsd folder.
    explicit CStorageDaemon(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    const std::filesystem::path& folder() const { return m_folder; }
    std::filesystem::path monitor() const { return m_folder / "qmp"; }
    std::filesystem::path exports() const { return m_folder / "nbd"; }
    std::filesystem::path log() const { return m_folder / "log"; }
    /// Makes the folder. Status unusable when the paths of its sockets are longer than the system takes.
    void prepare() const;
    /// Whether the folder is there.
    bool isThere() const;

    /// Waits to be alone with the daemon.
    base::CFileDescriptor lock() const;
    /// Whether it runs, and everything that it is to have open is.
    bool isReady() const;
    void markReady() const;
    void markUnready() const;
    /// Ends what runs and starts it anew, with nothing open yet.
    void start() const;
    /// Ends it; nothing is lost. Fine when none runs.
    void end() const;
    CQmpClient connect() const;
    /// Its number, while it runs; status storage else.
    pid_t process() const;
    /// Returns once it has ended, or there is none.
    void waitForEnd() const;

    /// It is to stay ended, so that a keeper does not start it again; the next start takes that back.
    void markStopped() const;
    void takeStopBack() const;
    bool isStopped() const;
    /// The lock of the one keeper that starts it again; none when another process has it.
    base::CFileDescriptor lockAsKeeper() const;
    bool isKept() const;
    /// Returns once no keeper is there: one that is ends by itself when the daemon has stopped. Gives up after seconds.
    void waitForKeeper() const;

  private:
    std::filesystem::path pidFile() const { return m_folder / "pid"; }
    std::filesystem::path ready() const { return m_folder / "ready"; }
    std::filesystem::path stopped() const { return m_folder / "stopped"; }
    std::optional<pid_t> findProcess() const;

    const std::filesystem::path m_folder;
};

}  // namespace lumora
