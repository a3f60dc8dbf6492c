#pragma once

#include "appliance/core/engines/engine.h"

namespace lumora {

/// Content as plain files: a clone that shares blocks where the file system can, else a copy that leaves holes out.
///
/// The instant of fixed content comes from the group's gate: the files are copied while the gate is held. So it is an
/// instant for writers that go through the gate (lmadm write), and for nobody else.
class CFilesEngine : public CBaseStorageEngine
{
  public:
    void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                    const std::filesystem::path& content) override;
    void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                   const std::filesystem::path& image) override;
    void drop(const std::filesystem::path& folder) override;
    std::filesystem::path hostPath(const std::filesystem::path& image, const std::string& volume) const override;
};

}  // namespace lumora
