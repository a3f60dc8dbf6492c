#include "providers/cdp/tests/scenario.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cdpfi {

namespace fs = std::filesystem;

namespace {

constexpr const char* TOOLS = "opt/QXPKlm/bin";

std::string readText(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

CScenario::CScenario()
{
    std::string name = (fs::temp_directory_path() / "cdp_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    m_root = name;
    fs::create_directories(m_root / TOOLS / "state");
    fs::copy_file(FAKE_APPLIANCE, m_root / TOOLS / "lmsh");
    fs::copy_file(FAKE_APPLIANCE, m_root / TOOLS / "kforutil");
    const std::string folder = (m_root / TOOLS).string();
    write("etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=\"" + folder + "\"\nLMR_KFORUTIL_PATH=\"" + folder +
                                   "\"\n[FI_NETWORK]\nLOCAL_NAME=\"" + LOCAL_HOST + "\"\n");
    setenv("OBZX_ROOT", m_root.c_str(), 1);
}

CScenario::~CScenario()
{
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

void CScenario::write(const std::string& path, const std::string& content) const
{
    const fs::path file = m_root / path;
    fs::create_directories(file.parent_path());
    std::ofstream(file) << content;
}

void CScenario::append(const std::string& path, const std::string& content) const
{
    write(path, readText(m_root / path) + content);
}

void CScenario::writeState(const std::string& name, const std::string& content) const
{
    write(std::string(TOOLS) + "/state/" + name, content);
}

std::string CScenario::readState(const std::string& name) const
{
    return readText(m_root / TOOLS / "state" / name);
}

bool CScenario::hasState(const std::string& name) const
{
    return fs::exists(m_root / TOOLS / "state" / name);
}

void CScenario::addAppliance(const std::string& name, const CGroups& groups, const std::vector<std::string>& hosts)
{
    std::string groupLines;
    for (const auto& [group, serials] : groups) {
        groupLines += group + " luns=" + std::to_string(serials.size()) + "\n";
        std::string listing = "Group " + group + "\nProtected LUNS:\n";
        for (const std::string& serial : serials) {
            listing += "lun" + serial + " [" + serial + "] 10GB\n";
        }
        writeState(name + "/cg." + group, listing + "Permissions:\nStillmark LUNs:\n");
    }
    writeState(name + "/cgroups", groupLines);
    std::string hostLines;
    for (const std::string& host : hosts) {
        hostLines += host + "\n";
    }
    writeState(name + "/hosts", hosts.empty() ? std::string("192.0.2.1\n") + LOCAL_HOST + "\n" : hostLines);
    m_configuration += "RSURL=" + name + ":1\n";
    write("etc/qz/hls.conf", m_configuration);
}

void CScenario::addDisk(const std::string& path, const std::string& serial) const
{
    writeState("disks", readState("disks") + path + " " + serial + "\n");
}

void CScenario::addTimeImage(const std::string& server, const std::string& group, const std::string& image,
                             const std::vector<std::string>& serials) const
{
    std::string listing = "TimeImage LUNs:\n";
    std::string disks = readState("pending");
    for (const std::string& serial : serials) {
        listing += "image" + serial + " [T" + serial + "] <- lun" + serial + " [" + serial + "]\n";
        disks += "/dev/image" + serial + " T" + serial + "\n";
    }
    writeState(server + "/ti." + group + "." + image, listing);
    writeState("pending", disks);
}

void CScenario::refuse(const std::string& pattern) const
{
    writeState("fail", readState("fail") + pattern + "\n");
}

void CScenario::refuseNothing() const
{
    fs::remove(m_root / TOOLS / "state" / "fail");
}

std::vector<std::string> CScenario::takeCommands() const
{
    std::ifstream file(m_root / TOOLS / "state" / "log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    file.close();
    fs::remove(m_root / TOOLS / "state" / "log");
    return lines;
}

}  // namespace cdpfi
