#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "appliance/core/engines/daemon/attach_way.h"
#include "appliance/core/engines/daemon/storage_daemon.h"
#include "appliance/core/engines/engine.h"

namespace lumora {

/**
 * An engine whose devices are served by a storage daemon, and presented on this host as the store's ATTACH says. While
 * the daemon is away, readers and writers of files wait; a keeper starts it again, and so does every tool that finds it
 * dead, or finds that somebody was killed while its open devices were changed, or gets no answer from it.
 */
class CBaseDaemonEngine : public CBaseStorageEngine
{
  public:
    void stop() override;
    bool keep(EKeep what) override;
    void attach(const std::vector<SDevice>& devices) override;
    bool isAttached(const SDevice& device) const override;

  protected:
    using CStep = std::function<void(CQmpClient& monitor)>;

    /// `store` is the root of the store, `home` the appliance's folder in it, where the daemon has a folder of the
    /// engine's name. `attach` is what the store says of exports.
    CBaseDaemonEngine(std::filesystem::path store, std::filesystem::path home, std::string name, EAttach attach,
                      const SHostKernel& kernel = {});

    const std::filesystem::path& home() const { return m_home; }
    const CStorageDaemon& daemon() const { return m_daemon; }

    // All of these in the hands of whoever has the daemon's lock.

    /// What is to be done before the daemon is started, while none runs.
    virtual void recover() = 0;
    /// Opens and exports everything that the daemon is to have open, just after its start. What is damaged, or gone,
    /// keeps nothing else from being used.
    virtual void openAll(CQmpClient& monitor) = 0;
    /// Opens and exports a device that it does not have open; one that is not there any more is left alone.
    virtual void openDevice(CQmpClient& monitor, const SDevice& device) = 0;
    virtual std::string exportName(const SDevice& device) const = 0;
    /// Closes everything, of which nothing is presented any more, before the daemon is ended.
    virtual void closeAll(CQmpClient& /*monitor*/) {}

    /// Makes the daemon's folder; not only of these. Status unusable when a program is missing, or the path too long.
    void prepareDaemon() const;
    void makeReady();
    CQmpClient connect();
    /// What the daemon has open is changed by `step`; whoever is killed in it leaves a daemon that is started anew.
    void change(const CStep& step);
    /// Takes back what is presented at a path, or nothing.
    virtual void takeBack(const std::filesystem::path& path) { m_attachments.detach(path); }
    /// Takes back the devices of a time image.
    void takeBackImage(const std::filesystem::path& image) { takeBackBelow(image / "dev"); }

    SHostDevice hostDevice(const SDevice& device) const;

  private:
    void takeAllBack();
    void takeBackBelow(const std::filesystem::path& folder);
    void startKeeper();

    const std::filesystem::path m_store;
    const std::filesystem::path m_home;
    const std::string m_name;
    const CStorageDaemon m_daemon;
    const CAttachments m_attachments;
};

/// What a storage daemon exports; the name of an export is its id as well.
std::set<std::string> exportsOf(CQmpClient& monitor);
/// Exports an open node. The export is write-through: what it acknowledged is on stable storage, or a daemon that is
/// killed would lose it.
void addExport(CQmpClient& monitor, const std::string& name, const std::string& node);
/// Closes an export and the node below it; fine when they are not open.
void closeExport(CQmpClient& monitor, const std::string& name, const std::string& node);

}  // namespace lumora
