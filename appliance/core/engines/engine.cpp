#include "appliance/core/engines/engine.h"

#include "appliance/core/files/file_io.h"

namespace lumora {

void CBaseStorageEngine::dropWork(const std::filesystem::path& work)
{
    dropFolder(work);
}

}  // namespace lumora
