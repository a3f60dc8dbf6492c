#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "appliance/ceph/ceph_groups.h"
#include "appliance/ceph/ceph_images.h"
#include "appliance/ceph/ceph_imports.h"
#include "appliance/ceph/ceph_settings.h"
#include "appliance/ceph/content_notes.h"
#include "appliance/ceph/open_devices.h"
#include "appliance/core/engines/daemon/daemon_engine.h"
#include "appliance/core/engines/daemon/rbd_attachment.h"

namespace lumora {

/**
 * Content as images of a cluster, which fixes all LUNs of a group at one instant for any writer on any machine. What a
 * host sees is an export of a storage daemon, which has the image open, or with ATTACH=rbd, for LUNs, a device of the
 * kernel, which has it open itself.
 *
 * An appliance has a namespace of its own in the pool, whose name stands in the catalog:
 *
 *   v<number>                     a LUN; member of the group g<number of its group>
 *   w-<work folder>               data of a LUN that is being made
 *   x-<number>                    data of a LUN that is no more, which could not be removed yet
 *   <content>-<part>.<id>.v<n>    the LUN of a time image of this id
 *
 * Nothing is removed that anybody has attached, on whatever machine, or that something else stands on: it is left to a
 * later command, on the machine that made it, or for LUNs on any. For one thread.
 */
class CCephEngine : public CBaseDaemonEngine
{
  public:
    /// Connects when the cluster is first needed. Status unusable for settings that cannot be any.
    CCephEngine(const SEngineSetup& setup, const std::filesystem::path& home, SHostKernel kernel = {});
    ~CCephEngine() override;

    void prepare() override;
    void remove() override;
    void makeData(const SVolume& volume, const std::optional<std::filesystem::path>& file,
                  const std::filesystem::path& work) override;
    void dropWork(const std::filesystem::path& work) override;
    void publishData(const SVolume& volume, const std::filesystem::path& work) override;
    void dropData(const SVolume& volume) override;
    bool hasStrayData(const CListedVolumes& listed) override;
    void dropStrayData(const CListedVolumes& listed) override;
    void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                    const std::filesystem::path& content) override;
    void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                   const std::filesystem::path& image) override;
    void dropContent(const std::filesystem::path& content) override;
    void dropImage(const std::filesystem::path& image) override;
    void attach(const std::vector<SDevice>& devices) override;
    bool isAttached(const SDevice& device) const override;
    std::vector<SDevice> attached() override;
    void detach(const std::vector<SDevice>& devices) override;
    void stop() override;

  private:
    struct SConnection;

    void recover() override;
    void openAll(CQmpClient& monitor) override;
    void openDevice(CQmpClient& monitor, const SDevice& device) override;
    std::string exportName(const SDevice& device) const override;
    void closeAll(CQmpClient& monitor) override;
    void takeBack(const std::filesystem::path& path) override;

    SConnection& connection();
    std::string space() const;
    CRbdAttachment rbd() const;
    void mapLuns(const std::vector<SHostDevice>& luns);
    std::vector<std::string> mappedImages() const;
    void unmapThose(const std::function<bool(const std::string& image)>& isMeant);
    std::string workName(const std::filesystem::path& work) const;
    std::string imageOf(const SDevice& device);
    void open(CQmpClient& monitor, SOpenDevice device);
    void addImage(CQmpClient& monitor, const SOpenDevice& device);
    void close(CQmpClient& monitor, const SOpenDevice& device) const;
    void detachThose(const std::function<bool(const SOpenDevice& device)>& isMeant);
    void removeVolume(const std::string& image);
    std::vector<std::string> strayImages(const std::vector<SVolume>& listed);

    const SHostKernel m_kernel;
    const SCephSettings m_settings;
    base::CSqliteDatabase& m_catalog;
    const std::string m_appliance;
    mutable std::string m_space;  // once it is known
    const COpenDevices m_open;
    std::unique_ptr<SConnection> m_connection;
};

}  // namespace lumora
