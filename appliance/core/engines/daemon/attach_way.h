#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "appliance/core/engines/daemon/attachment.h"
#include "appliance/core/engines/daemon/host_kernel.h"

namespace lumora {

/// The setting ATTACH of a store: how its devices are presented on a host.
enum class EAttach
{
    AUTO,  ///< as NBD where the host can do that, else as FILE
    FILE,  ///< as files
    NBD,   ///< as block devices of the kernel's driver nbd
    RBD,   ///< as block devices of the kernel's driver rbd, which only an engine of a cluster can
};

/// AUTO when the settings do not say. Status unusable, with key and value, for one that there is not.
EAttach readAttach(const std::filesystem::path& store, const std::map<std::string, std::string>& settings);

/// Status unusable for RBD, which the engine of this name cannot do.
void refuseRbd(const std::string& engine, EAttach attach);

/// What AUTO comes to on this host: NBD where the kernel has the driver, nbd-client is installed and the caller is
/// root.
EAttach attachOf(EAttach asked, const SHostKernel& kernel, bool isRoot);

/// The ways in which exports of a daemon are presented on this host. New ones are presented in the one that is asked
/// for; those that are attached already stay as they are, in whatever way, until they are taken back.
class CAttachments
{
  public:
    /// `asked` is NBD, or FILE.
    CAttachments(EAttach asked, const SExportPlace& place, const SHostKernel& kernel = {});

    /// Of those that are attached from now on.
    std::vector<std::string> programs() const { return m_chosen->programs(); }
    /// As CBaseAttachment has them.
    void attachAll(const std::vector<SHostDevice>& devices) const;
    void detach(const std::filesystem::path& path) const;
    std::vector<std::filesystem::path> writtenDown() const;
    bool isAttached(const SHostDevice& device) const;

  private:
    std::vector<std::unique_ptr<CBaseAttachment>> m_ways;
    CBaseAttachment* m_chosen = nullptr;  // one of them
};

}  // namespace lumora
