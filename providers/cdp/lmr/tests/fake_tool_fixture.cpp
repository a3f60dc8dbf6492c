#include "providers/cdp/lmr/tests/fake_tool_fixture.h"

#include <cstdlib>
#include <filesystem>

#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfipluginname.h"
#include "providers/cdp/tests/support/expected_file.h"

const ACE_String_Base<char> cfi_pgn_name_tstr("cdpfi");

namespace cdpfi {

namespace fs = std::filesystem;
using namespace obzx_pdk_4_4;

CFakeToolTest::CFakeToolTest()
{
    for (const char* name : {"etc/qz", "tools", "tmp", "var/log/qz"}) {
        fs::create_directories(m_root / name);
    }
    for (const char* name : {"tools/lmsh", "tools/kforutil"}) {
        fs::create_symlink(FAKE_TOOL, m_root / name);
    }
    ::unsetenv("OBZX_TRACE_LEVEL");
    setParallel(1);
    setScenario("");
    m_log.acquire(new CFiTraceLog());
    m_log->initialize("cdpfi", "", "", 1, false);
}

CFakeToolTest::~CFakeToolTest()
{
    observe(0);
    CLMRAppliance::setCLMRApplianceToolSingletonPtr({});
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr({});
    CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>::instance(true);
    CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>::instance(true);
}

void CFakeToolTest::setScenario(const std::string& text) const
{
    for (const auto& entry : fs::directory_iterator(m_root.path())) {
        if (entry.path().filename().string().starts_with("scenario.use")) fs::remove(entry.path());
    }
    m_root.write("scenario", text);
}

std::string CFakeToolTest::answerTo(const std::string& request, const std::string& output, int exitStatus)
{
    return "when " + request + "\noutput\n" + output + ".\nexit " + std::to_string(exitStatus) + "\n";
}

std::string CFakeToolTest::answerWithBytes(const std::string& request, const std::string& bytes)
{
    const std::string name = "answer" + std::to_string(++m_answerFiles);
    m_root.write(name, bytes);
    return "when " + request + "\nfile " + (m_root / name).string() + "\nexit 0\n";
}

std::string CFakeToolTest::takeSent() const
{
    const std::string sent = m_root.read("scenario.sent");
    fs::remove(m_root / "scenario.sent");
    return sent;
}

CLMRApplianceToolPtr CFakeToolTest::setUpTool() const
{
    const CLMRApplianceToolPtr tool = CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>::instance(false);
    tool->registerTraceLog(m_log);
    tool->setShell({"lmsh", CString((m_root / "tools/").c_str())});
    CLMRAppliance::setCLMRApplianceToolSingletonPtr(tool);
    return tool;
}

CLMRDeviceManagerPtr CFakeToolTest::setUpDevices() const
{
    const CLMRDeviceManagerPtr devices = CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>::instance(false);
    devices->registerTraceLog(m_log);
    devices->setUtility({"kforutil", CString((m_root / "tools/").c_str())});
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr(devices);
    return devices;
}

CGroupPtr CFakeToolTest::makeGroup(const char* name) const
{
    CGroupPtr group(new CLMRConsistencyGroup());
    group->setName(name);
    group->setAppliance("alpha");
    group->registerTraceLog(m_log);
    return group;
}

CLMRAppliancePtr CFakeToolTest::makeAppliance(const char* name) const
{
    CLMRAppliancePtr appliance(new CLMRAppliance(name));
    appliance->registerTraceLog(m_log);
    return appliance;
}

void CFakeToolTest::setParallel(int count, const std::string& more) const
{
    const std::string tools = m_root / "tools";
    writeConfiguration("[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=" + tools + "\nLMR_KFORUTIL_PATH=" + tools +
                       "\nMAX_PARALLEL=" + std::to_string(count) + "\n" + more);
}

void CFakeToolTest::writeConfiguration(const std::string& text) const
{
    m_root.write("etc/qz/cdpfi.conf", text);
}

size_t CFakeToolTest::countScripts() const
{
    const fs::directory_iterator files(m_root / "tmp");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

std::vector<uint64_t> CFakeToolTest::limitsWithin(const std::function<void()>& call)
{
    std::vector<uint64_t> limits;
    const auto note = [](void* context, const obzx_run* run) {
        if (run->phase == OBZX_RUN_ENDED) static_cast<std::vector<uint64_t>*>(context)->push_back(run->limit_seconds);
    };
    obzx_set_run_observer(note, &limits);
    call();
    obzx_set_run_observer(nullptr, nullptr);
    return limits;
}

void CFakeToolTest::expectCall(const std::string& part)
{
    const std::string suffix = part.empty() ? ".call" : "." + part + ".call";
    expectFile(EXPECTED_FOLDER, suffix, "sent:\n" + takeSent() + "traced:\n" + base_test::joined(takeTrace()));
}

}  // namespace cdpfi
