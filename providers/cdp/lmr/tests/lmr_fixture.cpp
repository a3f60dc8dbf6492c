#include "providers/cdp/lmr/tests/lmr_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfipluginname.h"

const ACE_String_Base<char> cfi_pgn_name_tstr("cdpfi");

namespace cdpfi {

namespace fs = std::filesystem;
using namespace obzx_pdk_4_4;

namespace {

void replaceAll(std::string& text, const std::string& what, const std::string& with)
{
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

/// "... [LINE, file.cpp]" for the trace of a function that stands at some line of its file.
void hideLineNumber(std::string& text)
{
    const size_t begin = text.rfind('[') + 1;
    const size_t end = text.find_first_not_of("0123456789", begin);
    if (end != begin) text.replace(begin, end - begin, "LINE");
}

std::string readWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

CLmrTest::CLmrTest()
{
    static const std::string base = ::testing::TempDir();  // as it is before a test sets TMPDIR
    std::string folder = base + "lmrXXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        ADD_FAILURE() << "no temporary directory";
    }
    m_root = folder;
    m_scenario = m_root + "/scenario";
    for (const char* name : {"/etc/qz", "/tools", "/tmp", "/var/log/qz"}) {
        fs::create_directories(m_root + name);
    }
    for (const char* name : {"/tools/lmsh", "/tools/kforutil"}) {
        fs::create_symlink(FAKE_TOOL, m_root + name);
    }
    ::unsetenv("OBZX_TRACE_LEVEL");
    ::setenv("OBZX_ROOT", m_root.c_str(), 1);
    ::setenv("TMPDIR", (m_root + "/tmp").c_str(), 1);
    ::setenv("FAKE_TOOL_SCENARIO", m_scenario.c_str(), 1);
    writeConfiguration("[LMR_CLI_CONFIG]\nLMR_LMSH_PATH=" + m_root + "/tools\nLMR_KFORUTIL_PATH=" + m_root +
                       "/tools\n");
    setScenario("");
    m_log.acquire(new CFiTraceLog());
    m_log->initialize("cdpfi", "", "", 1, false);
    observe(TRACE_DETAIL);
}

CLmrTest::~CLmrTest()
{
    obzx_set_trace_observer(nullptr, nullptr, 0);
    CLMRAppliance::setCLMRApplianceToolSingletonPtr({});
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr({});
    CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>::instance(true);
    CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>::instance(true);
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

void CLmrTest::setScenario(const std::string& text) const
{
    for (const auto& entry : fs::directory_iterator(m_root)) {
        if (entry.path().filename().string().starts_with("scenario.use")) fs::remove(entry.path());
    }
    writeFile(m_scenario, text);
}

std::string CLmrTest::answerTo(const std::string& request, const std::string& output, int exitStatus)
{
    return "when " + request + "\noutput\n" + output + ".\nexit " + std::to_string(exitStatus) + "\n";
}

std::string CLmrTest::answerWithBytes(const std::string& request, const std::string& bytes)
{
    const std::string path = m_root + "/answer" + std::to_string(++m_answerFiles);
    writeFile(path, bytes);
    return "when " + request + "\nfile " + path + "\nexit 0\n";
}

std::string CLmrTest::takeSent() const
{
    const std::string path = m_scenario + ".sent";
    const std::string sent = readWhole(path);
    fs::remove(path);
    return sent;
}

std::vector<std::string> CLmrTest::takeTrace()
{
    std::vector<std::string> lines;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        lines.swap(m_trace);
    }
    for (std::string& line : lines) {
        replaceAll(line, m_root, "<root>");
        if (line.find("ing Function ") != std::string::npos) hideLineNumber(line);
    }
    return lines;
}

CLMRApplianceToolPtr CLmrTest::setUpTool() const
{
    const CLMRApplianceToolPtr tool = CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>::instance(false);
    tool->registerTraceLog(m_log);
    tool->setShell({"lmsh", CString((m_root + "/tools/").c_str())});
    CLMRAppliance::setCLMRApplianceToolSingletonPtr(tool);
    return tool;
}

CLMRDeviceManagerPtr CLmrTest::setUpDevices() const
{
    const CLMRDeviceManagerPtr devices = CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>::instance(false);
    devices->registerTraceLog(m_log);
    devices->setUtility({"kforutil", CString((m_root + "/tools/").c_str())});
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr(devices);
    return devices;
}

CGroupPtr CLmrTest::makeGroup(const char* name) const
{
    CGroupPtr group(new CLMRConsistencyGroup());
    group->setName(name);
    group->setAppliance("alpha");
    group->registerTraceLog(m_log);
    return group;
}

CApplianceTestPtr CLmrTest::makeAppliance(const char* name) const
{
    CApplianceTestPtr appliance(new CLMRAppliance(name));
    appliance->registerTraceLog(m_log);
    return appliance;
}

void CLmrTest::observe(int level)
{
    obzx_set_trace_observer(level == 0 ? nullptr : &CLmrTest::onTrace, this, level);
}

void CLmrTest::writeConfiguration(const std::string& text) const
{
    writeFile(m_root + "/etc/qz/cdpfi.conf", text);
}

void CLmrTest::writeFile(const std::string& path, const std::string& bytes) const
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << bytes;
}

std::string CLmrTest::readFile(const std::string& path) const
{
    return readWhole(path);
}

size_t CLmrTest::countScripts() const
{
    const fs::directory_iterator files(m_root + "/tmp");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

void CLmrTest::expectCall(const std::string& part)
{
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + "/" + test.name() + (part.empty() ? "" : "." + part);
    expectFile(name + ".call", "sent:\n" + takeSent() + "traced:\n" + joined(takeTrace()));
}

void CLmrTest::expectFile(const std::string& name, const std::string& actual)
{
    const std::string path = std::string(EXPECTED_FOLDER) + "/" + name;
    if (::getenv("UPDATE_EXPECTED") != nullptr) {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << actual;
        return;
    }
    const std::string expected = readWhole(path);
    EXPECT_EQ(expected, actual) << name;
    if (expected == actual) return;
    const std::string copy = std::string(ACTUAL_FOLDER) + "/" + name;
    fs::create_directories(fs::path(copy).parent_path());
    std::ofstream(copy, std::ios::binary) << actual;
}

std::string CLmrTest::joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

void CLmrTest::onTrace(void* user, int32_t level, const char* /*component*/, const char* text)
{
    auto& self = *static_cast<CLmrTest*>(user);
    const std::lock_guard<std::mutex> lock(self.m_mutex);
    self.m_trace.push_back("L" + std::to_string(level) + " " + text);
}

}  // namespace cdpfi
