#include "appliance/core/store/work_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <system_error>
#include <vector>

#include "appliance/core/conventions/error.h"
#include "appliance/core/files/range_lock.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

// A folder's name is a number, and its owner holds the lock on the byte of that number in the owners file. The lock is
// taken before the folder is made, so a collector never meets a folder whose living owner it cannot see, and no lock
// files have to be made or removed.
constexpr size_t ID_LENGTH = 15;
constexpr uint64_t LUNS_BYTE = uint64_t{1} << (4 * ID_LENGTH);  // behind those of all folders

base::CFileDescriptor openOwners(const fs::path& appliance)
{
    return openFile(appliance / "owners", O_RDWR | O_CREAT);
}

std::string toId(uint64_t number)
{
    std::string text(ID_LENGTH, '0');
    for (size_t i = ID_LENGTH; i-- > 0; number >>= 4U) {
        text[i] = "0123456789abcdef"[number & 0x0FU];
    }
    return text;
}

bool fromId(const std::string& id, uint64_t& number)
{
    const char* const end = id.data() + id.size();
    const auto [rest, error] = std::from_chars(id.data(), end, number, 16);
    return id.size() == ID_LENGTH && error == std::errc() && rest == end;
}

}  // namespace

fs::path areaFolder(const fs::path& appliance, EArea area)
{
    switch (area) {
        case EArea::ANNOTATIONS:
            return appliance / "annotations";
        case EArea::IMAGES:
            return appliance / "images";
        case EArea::WORK:
            break;
    }
    return appliance / "work";
}

void makeAreas(const fs::path& appliance)
{
    for (const EArea area : {EArea::ANNOTATIONS, EArea::IMAGES, EArea::WORK}) {
        makeFolder(areaFolder(appliance, area));
    }
    makeFolder(appliance / "dev");
    makeFolder(appliance / "gate");
}

CWorkFolder::CWorkFolder(const fs::path& appliance, EArea area, Drop drop)
    : m_drop(std::move(drop)), m_owners(openOwners(appliance))
{
    for (;;) {
        const uint64_t number = randomNumber() >> 4U;
        if (!tryLockRange(m_owners.get(), ERangeLock::EXCLUSIVE, number, 1, appliance / "owners")) continue;
        m_id = toId(number);
        m_path = areaFolder(appliance, area) / m_id;
        if (::mkdir(m_path.c_str(), 0700) == 0) return;
        if (errno != EEXIST) throwStorage("create folder", m_path.string(), errno);
        unlockRange(m_owners.get(), number, 1);
    }
}

CWorkFolder::~CWorkFolder()
{
    if (m_kept) return;
    try {
        m_drop(m_path);
    } catch (const std::exception&) {
        return;  // the collector meets it again
    }
}

void collectLeftovers(const fs::path& appliance, EArea area, const SCollector& collector)
{
    std::error_code error;
    std::vector<std::string> unlisted;
    for (fs::directory_iterator entry(areaFolder(appliance, area), error), end; !error && entry != end;
         entry.increment(error)) {
        std::string id = entry->path().filename().string();
        if (!collector.isListed(id)) unlisted.push_back(std::move(id));
    }
    if (unlisted.empty()) return;
    const base::CFileDescriptor owners = openOwners(appliance);
    std::vector<std::string> taken;
    for (const std::string& id : unlisted) {
        uint64_t number = 0;
        if (fromId(id, number) && tryLockRange(owners.get(), ERangeLock::EXCLUSIVE, number, 1, appliance / "owners")) {
            taken.push_back(id);
        }
    }
    if (taken.empty()) return;
    // An owner may have listed its folder and gone since the first look, or gone without knowing whether it had.
    collector.settle();
    for (const std::string& id : taken) {
        if (collector.isListed(id)) continue;
        try {
            collector.drop(areaFolder(appliance, area) / id);
        } catch (const EApplianceError&) {
            continue;  // not worth failing the command that met it
        }
    }
}

base::CFileDescriptor lockLuns(const fs::path& appliance)
{
    return lockByte(appliance / "owners", LUNS_BYTE);
}

}  // namespace lumora
