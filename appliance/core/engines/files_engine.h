#pragma once

#include "appliance/core/engines/engine.h"

namespace lumora {

/// Content as plain files: a clone that shares blocks where the file system can, else a copy that leaves holes out. A
/// LUN's data is the file that hosts see, <folder>/dev/<lun>.
///
/// The instant of fixed content comes from the group's gate: the files are copied while the gate is held. So it is an
/// instant for writers that go through the gate (lmadm write), and for nobody else.
class CFilesEngine : public CBaseStorageEngine
{
  public:
    /// `folder` is the appliance's.
    explicit CFilesEngine(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    void makeData(const SVolume& volume, const std::optional<std::filesystem::path>& file,
                  const std::filesystem::path& work) override;
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
    /// Its files are there as soon as they are listed.
    bool isAttached(const SDevice& /*device*/) const override { return true; }

  private:
    std::filesystem::path devices() const { return m_folder / "dev"; }
    std::vector<std::filesystem::path> strayData(const std::vector<SVolume>& listed) const;

    const std::filesystem::path m_folder;
};

}  // namespace lumora
