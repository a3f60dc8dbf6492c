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

}  // namespace lumora
