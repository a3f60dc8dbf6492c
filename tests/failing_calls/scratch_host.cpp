#include "tests/failing_calls/scratch_host.h"

#include <filesystem>

#include "providers/cdp/lmr/tests/answers.h"

namespace fs = std::filesystem;

namespace {

std::string answer(const std::string& request, const std::string& output)
{
    return "when " + request + "\noutput\n" + output + ".\nexit 0\n";
}

std::string scenario(const std::string& host)
{
    namespace answers = cdpfi::answers;
    const answers::SLun lun{"/dev/lun", "S1"};
    return answer("list  hosts", answers::hosts({host})) + answer("show  host", "Host\n") +
           answer("list  cgroups", answers::groups({"cg1"})) + answer("show  cgroup", answers::group("cg1", {lun})) +
           answer("list  timeimages", answers::timeImages({})) +
           answer("show  timeimage", answers::timeImage("ti", {{{"/dev/ti", "T1"}, lun}})) +
           answer("[listdisk]", answers::disks({{"/dev/sdb", "S1"}, {"/dev/image", "T1"}})) + answer("", "");
}

}  // namespace

CScratchHost::CScratchHost(const std::string& tool, const SHostNames& names)
{
    for (const char* link : {"opt/QXPKlm/bin/lmsh", "usr/sbin/kforutil"}) {
        fs::create_directories((m_root / link).parent_path());
        fs::create_symlink(tool, m_root / link);
    }
    m_root.write("etc/qz/hls.conf", "RSURL=server1:9000\n");
    m_root.write("etc/qz/cdpfi.conf", "[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=" + (m_root / "opt/QXPKlm/bin/").string() +
                                          "\nLMR_KFORUTIL_PATH=" + (m_root / "usr/sbin/").string() +
                                          "\n[FI_NETWORK]\nLOCAL_NAME=" + names.configured +
                                          "\n[FI_EXEC]\nMAX_TIMEOUT=60\n");
    m_root.write("scenario", scenario(names.listed));
    fs::create_directory(m_root / "tmp");
}

std::vector<std::string> CScratchHost::takeSent(pid_t process) const
{
    std::string text = m_root.read("scenario.sent");
    fs::remove(m_root / "scenario.sent");
    base_test::replaceAll(text, "_" + std::to_string(process), "_PID");
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
