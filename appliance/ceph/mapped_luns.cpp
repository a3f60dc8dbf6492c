// What the kernel itself has open of the engine ceph: LUNs, where the store says ATTACH=rbd.
#include "appliance/ceph/ceph_engine.h"
#include "appliance/core/conventions/error.h"

namespace lumora {
namespace fs = std::filesystem;

CRbdAttachment CCephEngine::rbd() const
{
    return CRbdAttachment({m_settings.pool, space(), m_settings.cluster.user, m_settings.cluster.configuration,
                           daemon().folder(), daemon().log(), home() / "dev"},
                          m_kernel);
}

// A LUN that is attached already stays as it is, whatever the setting says by now.
void CCephEngine::attach(const std::vector<SDevice>& devices)
{
    std::vector<SDevice> served;
    std::vector<SHostDevice> luns;
    for (const SDevice& device : devices) {
        const bool isServed = CBaseDaemonEngine::isAttached(device);
        if (!isServed && isAttached(device)) continue;
        if (isServed || m_settings.attach != EAttach::RBD || !device.image.empty()) {
            served.push_back(device);
        } else {
            luns.push_back(hostDevice(device));
        }
    }
    if (!luns.empty()) mapLuns(luns);
    if (!served.empty()) CBaseDaemonEngine::attach(served);
}

void CCephEngine::mapLuns(const std::vector<SHostDevice>& luns)
{
    if (!daemon().isThere()) prepareDaemon();  // the first device on a machine that joins others
    const base::CFileDescriptor alone = daemon().lock();
    for (const SHostDevice& lun : luns) {
        CBaseDaemonEngine::takeBack(lun.path);  // what is left of a mount
    }
    rbd().attachAll(luns);
}

bool CCephEngine::isAttached(const SDevice& device) const
{
    if (CBaseDaemonEngine::isAttached(device)) return true;
    std::error_code error;
    return device.image.empty() && fs::is_symlink(device.path, error) && rbd().isAttached(hostDevice(device));
}

void CCephEngine::takeBack(const fs::path& path)
{
    CBaseDaemonEngine::takeBack(path);
    std::error_code error;
    if (fs::is_symlink(path, error)) rbd().detach(path);
}

std::vector<std::string> CCephEngine::mappedImages() const
{
    if (!CRbdAttachment::isThere(m_kernel)) return {};
    try {
        return rbd().mapped();
    } catch (const EApplianceError& error) {
        if (error.status() != EStatus::MISSING) throw;
        return {};  // of an appliance whose namespace has gone
    }
}

void CCephEngine::unmapThose(const std::function<bool(const std::string& image)>& isMeant)
{
    if (!daemon().isThere()) return;
    const std::vector<std::string> images = mappedImages();
    if (images.empty()) return;
    const base::CFileDescriptor alone = daemon().lock();
    for (const std::string& image : images) {
        if (isMeant(image)) rbd().unmap(image);
    }
}

}  // namespace lumora
