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

    void prepare() override { m_engine.prepare(); }
    void remove() override { m_engine.remove(); }
    void stop() override { m_engine.stop(); }
    bool keep(EKeep what) override { return m_engine.keep(what); }
    void makeData(const SVolume& volume, const std::optional<std::filesystem::path>& file,
                  const std::filesystem::path& work) override
    {
        m_engine.makeData(volume, file, work);
    }
    void dropWork(const std::filesystem::path& work) override { m_engine.dropWork(work); }
    void publishData(const SVolume& volume, const std::filesystem::path& work) override
    {
        m_engine.publishData(volume, work);
    }
    void dropData(const SVolume& volume) override { m_engine.dropData(volume); }
    bool hasStrayData(const CListedVolumes& listed) override { return m_engine.hasStrayData(listed); }
    void dropStrayData(const CListedVolumes& listed) override { m_engine.dropStrayData(listed); }
    void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                    const std::filesystem::path& content) override;
    void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                   const std::filesystem::path& image) override
    {
        m_engine.makeImage(volumes, content, image);
    }
    void dropContent(const std::filesystem::path& content) override { m_engine.dropContent(content); }
    void dropImage(const std::filesystem::path& image) override { m_engine.dropImage(image); }
    void attach(const std::vector<SDevice>& devices) override { m_engine.attach(devices); }
    std::vector<SDevice> attached() override { return m_engine.attached(); }
    void detach(const std::vector<SDevice>& devices) override { m_engine.detach(devices); }
    bool isAttached(const SDevice& device) const override { return m_engine.isAttached(device); }

  private:
    CBaseStorageEngine& m_engine;
    std::chrono::milliseconds m_pause;
};

}  // namespace lumora
