#pragma once

#include <chrono>

#include "appliance/core/engines/engine.h"

namespace lumora {

/// An engine that fixes the LUNs of a group one by one, with the gate open in between: what an appliance does whose
/// consistency groups are broken. Everything else is left to the engine that it stands before.
class CTornEngine : public CBaseStorageEngine
{
  public:
    /// Writers get `pause` between two LUNs.
    CTornEngine(CBaseStorageEngine& engine, std::chrono::milliseconds pause) : m_engine(engine), m_pause(pause) {}

    void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                    const std::filesystem::path& content) override;
    void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                   const std::filesystem::path& image) override;
    void drop(const std::filesystem::path& folder) override;
    std::filesystem::path hostPath(const std::filesystem::path& image, const std::string& volume) const override;

  private:
    CBaseStorageEngine& m_engine;
    std::chrono::milliseconds m_pause;
};

}  // namespace lumora
