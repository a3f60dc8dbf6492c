#include "host/tests/kitfi/defects.h"

#include <cstdlib>
#include <cstring>

namespace kitfi {

namespace {

SSoFar g_soFar;

const SDefect* findDefect(const char* name)
{
    if (name == nullptr) return nullptr;
    for (const auto defects :
         {argumentDefects(), orderDefects(), snapshotDefects(), memoryDefects(), processDefects()}) {
        for (const SDefect& defect : defects) {
            if (std::strcmp(defect.name, name) == 0) return &defect;
        }
    }
    return nullptr;
}

bool isInit(const SCall& call)
{
    return std::strcmp(call.function, "init") == 0;
}

}  // namespace

const SDefect* chosenDefect()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment does not change
    static const SDefect* const chosen = findDefect(std::getenv("KITFI_DEFECT"));
    return chosen;
}

const SSoFar& soFar()
{
    return g_soFar;
}

void enter(const SCall& call)
{
    if (isInit(call)) {
        ++g_soFar.inits;
        ++g_soFar.inside;
        if (!g_soFar.isLive) ++g_soFar.lives;
        g_soFar.isLive = true;
    }
    const SDefect* const defect = chosenDefect();
    if (defect != nullptr && std::strcmp(defect->function, call.function) == 0) ++g_soFar.calls;
}

void leave(const SCall& call)
{
    if (isInit(call)) --g_soFar.inside;
    if (std::strcmp(call.function, "fini") == 0) {
        ++g_soFar.finis;
        g_soFar.isLive = false;
    }
}

}  // namespace kitfi
