#pragma once

#include "appliance/core/engines/daemon/attachment.h"

namespace lumora {

/// Presents exports of a storage daemon as files: mounts of nbdfuse, over nbdkit's filter that tries again, so that
/// readers and writers wait while the daemon is away. Below the mount lies an empty file without any rights, so that
/// nothing is written beside the mount; such a file is no disk.
class CFileAttachment : public CBaseAttachment
{
  public:
    explicit CFileAttachment(SExportPlace place) : m_place(std::move(place)) {}

    std::vector<std::string> programs() const override;
    void attachAll(const std::vector<SHostDevice>& devices) const override;
    /// A file with content is no mount's, and stays.
    void detach(const std::filesystem::path& path) const override;
    bool isAttached(const SHostDevice& device) const override;

  private:
    struct SStarted;

    SStarted startMount(const SHostDevice& device) const;
    void waitForMount(const SStarted& started) const;

    const SExportPlace m_place;
};

}  // namespace lumora
