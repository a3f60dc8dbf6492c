#include "tests/failing_calls/scratch_host.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

void write(const fs::path& file, const std::string& text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

std::string answer(const std::string& request, const std::string& output)
{
    return "when " + request + "\noutput\n" + output + ".\nexit 0\n";
}

std::string disk(const std::string& path, const std::string& serial)
{
    return path + " (0:0:1:0) LUMORA (disk) 10GB (online) (" + serial + ")\n";
}

std::string scenario(const std::string& host)
{
    return answer("list  hosts", host + "\n") + answer("show  host", "Host\n") +
           answer("list  cgroups", "cg1 luns=1\n") +
           answer("show  cgroup",
                  "Protected LUNS:\n/dev/lun [S1] 10GB\nMonitor LUNS:\nPermissions:\nStillmark LUNs:\n") +
           answer("list  timeimages", "There are none!\n") +
           answer("show  timeimage", "TimeImage LUNs:\n/dev/ti [T1] <- /dev/lun [S1]\n") +
           answer("[listdisk]",
                  "Disks\n" + std::string(122, '=') + "\n" + disk("/dev/sdb", "S1") + disk("/dev/image", "T1")) +
           answer("", "");
}

void replaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace

CScratchHost::CScratchHost(const std::string& tool, const SHostNames& names)
{
    std::string name = (fs::temp_directory_path() / "cdpfi-host.XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch folder");
    m_root = name;
    for (const char* link : {"opt/QXPKlm/bin/lmsh", "usr/sbin/kforutil"}) {
        fs::create_directories((m_root / link).parent_path());
        fs::create_symlink(tool, m_root / link);
    }
    write(m_root / "etc/qz/hls.conf", "RSURL=server1:9000\n");
    write(m_root / "etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=" + (m_root / "opt/QXPKlm/bin/").string() +
                                            "\nLMR_KFORUTIL_PATH=" + (m_root / "usr/sbin/").string() +
                                            "\n[FI_NETWORK]\nLOCAL_NAME=" + names.configured +
                                            "\n[FI_EXEC]\nMAX_TIMEOUT=60\n");
    write(m_root / "scenario", scenario(names.listed));
    fs::create_directory(m_root / "tmp");
    setenv("OBZX_ROOT", m_root.c_str(), 1);
    setenv("TMPDIR", (m_root / "tmp").c_str(), 1);
    setenv("FAKE_TOOL_SCENARIO", (m_root / "scenario").c_str(), 1);
}

CScratchHost::~CScratchHost()
{
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

std::vector<std::string> CScratchHost::takeSent(pid_t process) const
{
    const fs::path file = m_root / "scenario.sent";
    std::ifstream stream(file);
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    fs::remove(file);
    replaceAll(text, "_" + std::to_string(process), "_PID");
    std::vector<std::string> requests;
    while (!text.empty()) {
        const size_t end = text.find("=== ", 4);
        requests.push_back(text.substr(0, end));
        text.erase(0, end);
    }
    return requests;
}

std::string CScratchHost::leftFiles() const
{
    for (const fs::directory_entry& entry : fs::directory_iterator(m_root / "tmp")) {
        return entry.path().filename();
    }
    return {};
}
