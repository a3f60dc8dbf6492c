#include "host/tests/fakefi/store.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

CStore::CStore()
{
    const char* const root = std::getenv("OBZX_ROOT");  // NOLINT(concurrency-mt-unsafe)
    m_folder = std::string(root == nullptr ? "/nonexistent" : root) + "/fake/";
}

std::vector<SLun> CStore::luns() const
{
    std::ifstream file(m_folder + "devices");
    std::vector<SLun> all;
    SLun lun;
    while (file >> lun.path >> lun.serial >> lun.appliance >> lun.group) {
        all.push_back(lun);
    }
    return all;
}

const SLun* CStore::find(const std::string& pathOrSerial)
{
    for (const SLun& lun : luns()) {
        if (lun.path != pathOrSerial && lun.serial != pathOrSerial) continue;
        m_found = lun;
        return &m_found;
    }
    return nullptr;
}

bool CStore::isGroup(const std::string& name) const
{
    for (const SLun& lun : luns()) {
        if (lun.group == name) return true;
    }
    return false;
}

void CStore::logCall(const std::string& line) const
{
    std::ofstream(m_folder + "calls", std::ios::app) << line << '\n';
}

std::string CStore::objectPath(const SLun& lun, const std::string& object) const
{
    return m_folder + "objects/" + lun.appliance + "." + lun.group + "." + object;
}

bool CStore::has(const SLun& lun, const std::string& object) const
{
    return fs::exists(objectPath(lun, object));
}

void CStore::create(const SLun& lun, const std::string& object) const
{
    std::ofstream(objectPath(lun, object)) << '\n';
}

bool CStore::remove(const SLun& lun, const std::string& object) const
{
    return fs::remove(objectPath(lun, object));
}

std::string CStore::copyPath(const std::string& serial) const
{
    std::string path = m_folder + "copies/" + serial;
    std::ofstream(path) << '\n';
    return path;
}

CStore::EFault CStore::fault(const std::string& point, std::string& text) const
{
    std::ifstream file(m_folder + "faults");
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string armed;
        std::string action;
        words >> armed >> action >> std::ws;
        if (armed != point) continue;
        std::getline(words, text);
        if (action == "fail") return EFault::FAIL;
        if (action == "lost") return EFault::LOST;
        if (action == "killed-after") return EFault::KILL_AFTER;
        if (action == "killed") std::raise(SIGKILL);
        if (action == "wait") {
            std::ofstream(m_folder + text + ".reached") << '\n';
            constexpr useconds_t A_MOMENT = 2000;
            while (!fs::exists(m_folder + text)) {
                usleep(A_MOMENT);
            }
        }
    }
    return EFault::NONE;
}

void CStore::afterEffect(EFault fault)
{
    if (fault == EFault::KILL_AFTER) std::raise(SIGKILL);
}
