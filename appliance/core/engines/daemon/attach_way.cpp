#include "appliance/core/engines/daemon/attach_way.h"

#include <algorithm>
#include <array>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/file_attachment.h"
#include "appliance/core/engines/daemon/nbd_attachment.h"
#include "appliance/core/engines/daemon/programs.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr const char* KEY = "ATTACH";
constexpr std::array<std::pair<const char*, EAttach>, 4> WORDS = {
    {{"auto", EAttach::AUTO}, {"file", EAttach::FILE}, {"nbd", EAttach::NBD}, {"rbd", EAttach::RBD}}};

}  // namespace

EAttach readAttach(const fs::path& store, const std::map<std::string, std::string>& settings)
{
    const auto found = settings.find(KEY);
    if (found == settings.end() || found->second.empty()) return EAttach::AUTO;
    for (const auto& [word, attach] : WORDS) {
        if (found->second == word) return attach;
    }
    throw EApplianceError(EStatus::UNUSABLE, "configuration of store " + store.string() + ": " + KEY + " " +
                                                 inQuotes(found->second) + " is none of auto, file, nbd, rbd");
}

void refuseRbd(const std::string& engine, EAttach attach)
{
    if (attach != EAttach::RBD) return;
    throw EApplianceError(EStatus::UNUSABLE, "engine " + inQuotes(engine) + " cannot do " + KEY + " " +
                                                 inQuotes("rbd") + ", which is for images of a cluster");
}

EAttach attachOf(EAttach asked, const SHostKernel& kernel, bool isRoot)
{
    if (asked != EAttach::AUTO) return asked;
    return isRoot && CNbdAttachment::isThere(kernel) && isOnSearchPath("nbd-client") ? EAttach::NBD : EAttach::FILE;
}

CAttachments::CAttachments(EAttach asked, const SExportPlace& place, const SHostKernel& kernel)
{
    m_ways.push_back(std::make_unique<CFileAttachment>(place));
    m_ways.push_back(std::make_unique<CNbdAttachment>(place, kernel));
    m_chosen = m_ways[asked == EAttach::NBD ? 1 : 0].get();
}

// A path of which nothing can be used may still hold what is left of another way.
void CAttachments::attachAll(const std::vector<SHostDevice>& devices) const
{
    for (const SHostDevice& device : devices) {
        for (const auto& way : m_ways) {
            if (way.get() != m_chosen) way->detach(device.path);
        }
    }
    m_chosen->attachAll(devices);
}

void CAttachments::detach(const fs::path& path) const
{
    for (const auto& way : m_ways) {
        way->detach(path);
    }
}

std::vector<fs::path> CAttachments::writtenDown() const
{
    std::vector<fs::path> paths;
    for (const auto& way : m_ways) {
        const std::vector<fs::path> more = way->writtenDown();
        paths.insert(paths.end(), more.begin(), more.end());
    }
    return paths;
}

bool CAttachments::isAttached(const SHostDevice& device) const
{
    return std::any_of(m_ways.begin(), m_ways.end(), [&](const auto& way) { return way->isAttached(device); });
}

}  // namespace lumora
