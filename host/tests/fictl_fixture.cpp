#include "host/tests/fictl_fixture.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

void CFictlTest::SetUp()
{
    fs::create_directories(fake("objects"));
    fs::create_directories(fake("copies"));
    fs::create_directories(m_root + "/tmp");
    m_provider = FICTL_FAKE_PROVIDER;
    // Devices 1 and 2 share a group, 3 is in a second one, 4 on a second appliance. A group stays when its LUNs go.
    base_test::writeFile(fake("groups"), "ap1 g1\nap1 g2\nap2 g3\n");
    base_test::writeFile(fake("devices"),
                         "/dev/fake1 S1 ap1 g1\n/dev/fake2 S2 ap1 g1\n/dev/fake3 S3 ap1 g2\n/dev/fake4 S4 ap2 g3\n");
}

void CFictlTest::TearDown()
{
    if (m_held.pid > 0) {
        kill(m_held.pid, SIGKILL);
        release();
        finish();
    }
    // A test may have taken rights away.
    std::error_code ignored;
    for (const char* folder : {"/var", "/var/lib", "/var/lib/qz"}) {
        fs::permissions(m_root + folder, fs::perms::owner_all, ignored);
    }
}

CFictlTest::SChild CFictlTest::start(const std::string& program, const std::vector<std::string>& arguments,
                                     const std::string& input) const
{
    SChild child;
    const std::string base = m_root + "/tmp/run" + std::to_string(m_runs++);
    child.out = base + ".out";
    child.err = base + ".err";
    const std::string in = base + ".in";
    base_test::writeFile(in, input);
    int gate[2];
    if (pipe2(gate, O_CLOEXEC) != 0) return child;
    child.pid = fork();
    if (child.pid == 0) {
        dup2(open(in.c_str(), O_RDONLY), STDIN_FILENO);
        dup2(open(child.out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
        dup2(open(child.err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
        setenv("OBZX_ROOT", m_root.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
        close(gate[1]);
        char byte = 0;
        while (read(gate[0], &byte, 1) < 0) {
        }
        std::vector<char*> words = {const_cast<char*>(program.c_str())};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        execv(program.c_str(), words.data());
        _exit(127);
    }
    close(gate[0]);
    child.gate = gate[1];
    return child;
}

SRun CFictlTest::collect(SChild& child)
{
    if (child.gate >= 0) close(child.gate);
    int status = 0;
    waitpid(child.pid, &status, 0);
    SRun run;
    run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    run.out = base_test::contentOf(child.out);
    run.err = base_test::contentOf(child.err);
    child = {};
    return run;
}

SRun CFictlTest::run(const std::vector<std::string>& arguments, const std::string& input) const
{
    SChild child = start(FICTL_PROGRAM, arguments, input);
    return collect(child);
}

SRun CFictlTest::receive(const std::string& document) const
{
    return run({"--provider", provider(), "--output", "json", "snapshot", "receive", "-"}, document);
}

SRun CFictlTest::runProgram(const std::string& program, const std::vector<std::string>& arguments) const
{
    SChild child = start(program, arguments, {});
    return collect(child);
}

SRun CFictlTest::fictl(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> all = {"--provider", m_provider};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run(all);
}

SRun CFictlTest::fictlJson(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--output", "json"});
    return fictl(arguments);
}

pid_t CFictlTest::startHeld(const std::vector<std::string>& arguments)
{
    std::vector<std::string> all = {"--provider", m_provider};
    all.insert(all.end(), arguments.begin(), arguments.end());
    m_held = start(FICTL_PROGRAM, all, {});
    return m_held.pid;
}

void CFictlTest::release()
{
    if (m_held.gate >= 0) close(m_held.gate);
    m_held.gate = -1;
}

SRun CFictlTest::finish()
{
    return collect(m_held);
}

void CFictlTest::arm(const std::string& faults) const
{
    base_test::writeFile(fake("faults"), faults);
}

void CFictlTest::useTool(const std::string& path) const
{
    base_test::writeFile(fake("tool"), path + "\n");
}

void CFictlTest::limitTool(unsigned seconds) const
{
    base_test::writeFile(fake("limit"), std::to_string(seconds) + "\n");
}

void CFictlTest::allowAtOnce(unsigned groups) const
{
    base_test::writeFile(fake("parallel"), std::to_string(groups) + "\n");
}

void CFictlTest::becomeHost(const std::string& name) const
{
    base_test::writeFile(m_root + "/host", name + "\n");
}

void CFictlTest::leaveInspectorAway()
{
    const std::string folder = m_root + "/plain";
    fs::create_directories(folder);
    m_provider = folder + "/libfakefi.so";
    fs::copy_file(FICTL_FAKE_PROVIDER, m_provider);
}

void CFictlTest::putImage(const std::string& appliance, const std::string& group, const std::string& suffix,
                          const std::string& host) const
{
    base_test::writeFile(
        fake("objects/" + appliance + "." + group + ".KSV_Time_Image_" + suffix),
        "annotation KSV_Check_Point_" + suffix + "\ncreated 2026-01-31T12:00:00Z\npermission " + host + "\n");
}

nlohmann::json CFictlTest::inspection(const std::vector<std::string>& arguments) const
{
    const SRun run = runProgram(FICTL_FAKE_INSPECTOR, arguments);
    EXPECT_EQ(run.exit, 0) << run.err;
    return nlohmann::json::parse(run.out);
}

std::string CFictlTest::withoutTimes(const std::string& text)
{
    static const std::regex TIME("after [0-9]+[.][0-9][0-9] s");
    return std::regex_replace(text, TIME, "after N s");
}

void CFictlTest::waitForFile(const std::string& name) const
{
    constexpr useconds_t A_MOMENT = 2000;
    // The test's own time limit ends a wait for something that never comes.
    while (!fs::exists(fake(name))) {
        usleep(A_MOMENT);
    }
}

void CFictlTest::touch(const std::string& name) const
{
    base_test::writeFile(fake(name), "\n");
}

std::vector<std::string> CFictlTest::calls() const
{
    std::ifstream file(fake("calls"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> CFictlTest::objects() const
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(fake("objects"))) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string CFictlTest::state(const std::string& name) const
{
    const SRun show = fictlJson({"snapshot", "show", name});
    return show.exit == 0 ? show.document()["snapshot"]["state"].get<std::string>() : std::string();
}

void CFictlTest::expectClean() const
{
    for (const std::string& call : calls()) {
        if (call.starts_with("fini")) {
            EXPECT_EQ(call, "fini nodes=0");
        }
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(m_root + "/tmp")) {
        EXPECT_TRUE(entry.path().filename().string().starts_with("run")) << entry.path();
    }
    if (!fs::exists(fake("scripts"))) return;
    for (const fs::directory_entry& entry : fs::directory_iterator(fake("scripts"))) {
        ADD_FAILURE() << entry.path() << " is left over";
    }
}
