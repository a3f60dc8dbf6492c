#include "appliance/core/faults/torn_engine.h"

#include <thread>

namespace lumora {

void CTornEngine::fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                             const std::filesystem::path& content)
{
    bool first = true;
    for (const SVolume& volume : volumes) {
        if (!first) std::this_thread::sleep_for(m_pause);
        first = false;
        m_engine.fixContent({volume}, gate, content);
    }
}

void CTornEngine::makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                            const std::filesystem::path& image)
{
    m_engine.makeImage(volumes, content, image);
}

void CTornEngine::drop(const std::filesystem::path& folder)
{
    m_engine.drop(folder);
}

std::filesystem::path CTornEngine::hostPath(const std::filesystem::path& image, const std::string& volume) const
{
    return m_engine.hostPath(image, volume);
}

}  // namespace lumora
