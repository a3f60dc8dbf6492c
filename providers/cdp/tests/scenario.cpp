#include "providers/cdp/tests/scenario.h"

#include "providers/cdp/lmr/tests/answers.h"

namespace cdpfi {

namespace fs = std::filesystem;

namespace {

constexpr const char* TOOLS = "opt/QXPKlm/bin";

/// A file of the tools, below the root directory.
fs::path pathOf(const std::string& name)
{
    return fs::path(TOOLS) / "state" / name;
}

}  // namespace

CScenario::CScenario()
{
    fs::create_directories(m_root / TOOLS / "state");
    fs::copy_file(FAKE_APPLIANCE, m_root / TOOLS / "lmsh");
    fs::copy_file(FAKE_APPLIANCE, m_root / TOOLS / "kforutil");
    const std::string folder = (m_root / TOOLS).string();
    write("etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=\"" + folder + "\"\nLMR_KFORUTIL_PATH=\"" + folder +
                                   "\"\nMAX_PARALLEL=1\n[FI_NETWORK]\nLOCAL_NAME=\"" + LOCAL_HOST + "\"\n");
}

void CScenario::write(const std::string& path, const std::string& content) const
{
    m_root.write(path, content);
}

void CScenario::append(const std::string& path, const std::string& content) const
{
    write(path, m_root.read(path) + content);
}

void CScenario::writeState(const std::string& name, const std::string& content) const
{
    write(pathOf(name), content);
}

std::string CScenario::readState(const std::string& name) const
{
    return m_root.read(pathOf(name));
}

bool CScenario::hasState(const std::string& name) const
{
    return fs::exists(m_root / pathOf(name));
}

void CScenario::addAppliance(const std::string& name, const CGroups& groups, const std::vector<std::string>& hosts)
{
    std::string groupLines;
    for (const auto& [group, serials] : groups) {
        groupLines += answers::groupLine(group, serials.size());
        std::vector<answers::SLun> luns;
        for (const std::string& serial : serials) {
            luns.push_back({"lun" + serial, serial});
        }
        writeState(name + "/cg." + group, answers::group(group, luns));
    }
    writeState(name + "/cgroups", groupLines);
    writeState(name + "/hosts", answers::hosts(hosts));
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
    std::vector<answers::SImageLun> luns;
    std::string disks = readState("pending");
    for (const std::string& serial : serials) {
        luns.push_back({{"image" + serial, "T" + serial}, {"lun" + serial, serial}});
        disks += "/dev/image" + serial + " T" + serial + "\n";
    }
    writeState(server + "/ti." + group + "." + image, answers::timeImage(image, luns));
    writeState("pending", disks);
}

void CScenario::refuse(const std::string& pattern) const
{
    writeState("fail", readState("fail") + pattern + "\n");
}

void CScenario::refuseNothing() const
{
    fs::remove(m_root / pathOf("fail"));
}

std::vector<std::string> CScenario::takeCommands() const
{
    const std::string log = readState("log");
    fs::remove(m_root / pathOf("log"));
    return base_test::linesOf(log);
}

}  // namespace cdpfi
