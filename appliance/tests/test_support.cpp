#include "appliance/tests/test_support.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>

#include "appliance/core/files/file_io.h"
#include "base/child_start.h"
#include "base/poll_until.h"

namespace lumora::test {
namespace fs = std::filesystem;

CProcess::CProcess(const std::vector<std::string>& command, const std::string& input, const std::string& hostRoot)
    : m_process(start(command, input, hostRoot))
{
}

CProcess::~CProcess()
{
    kill();
    wait();
}

pid_t CProcess::start(const std::vector<std::string>& command, const std::string& input,
                      const std::string& hostRoot) const
{
    writeFile(m_folder / "in", input);
    const base::CFileDescriptor in = openFile(m_folder / "in", O_RDONLY);
    const base::CFileDescriptor out = openFile(m_folder / "out", O_WRONLY | O_CREAT);
    const base::CFileDescriptor err = openFile(m_folder / "err", O_WRONLY | O_CREAT);
    base::SChildStart start;
    start.programs = {command.front()};
    start.words = command;
    start.environment = {"LC_ALL=C"};
    if (!hostRoot.empty()) start.environment.push_back("OBZX_ROOT=" + hostRoot);
    start.input = in.get();
    start.output = out.get();
    start.errors = err.get();
    pid_t pid = -1;
    if (base::startChild(start, pid) != 0) throw std::runtime_error("cannot start " + command.front());
    return pid;
}

void CProcess::kill()
{
    m_process.kill();
}

SResult CProcess::wait()
{
    while (!m_process.hasEnded()) {
        pollfd ended[] = {{m_process.descriptor(), POLLIN, 0}};
        base::pollUntil(ended, m_process.lookAt());
    }
    const base::SExitStatus& status = m_process.exitStatus();
    return {status.signal != 0 ? 128 + status.signal : status.exit, linesOf(contentOf(m_folder / "out")),
            linesOf(contentOf(m_folder / "err"))};
}

std::vector<std::string> lmshCommand()
{
    return {LMSH_PATH};
}

std::vector<std::string> lmadmCommand()
{
    return {LMADM_PATH};
}

std::string script(const std::string& commands)
{
    return "server alpha\n" + commands + "\nexit\n";
}

CDemoStore::CDemoStore(const std::string& engine) : m_engine(engine)
{
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"appliance", "create", "alpha", "--engine", engine},
             {"host", "create", "prod"},
             {"host", "create", "backup"},
             {"group", "create", "cg1"},
             {"lun", "create", "lun1", "--group", "cg1", "--size", "256KiB"},
             {"lun", "create", "lun2", "--group", "cg1", "--size", "256KiB"},
             {"lun", "present", "lun1", "prod"},
             {"lun", "present", "lun2", "prod"},
             {"host", "setup", "--root", root("prod").string(), "--host", "prod"},
             {"host", "setup", "--root", root("backup").string(), "--host", "backup"}}) {
        const SResult result = lmadm(command);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
}

CDemoStore::~CDemoStore()
{
    if (m_engine == "files") return;
    EXPECT_EQ(lmadm({"appliance", "stop", "alpha"}).status, 0);
}

SResult CDemoStore::lmadm(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {LMADM_PATH, "--store", store().string()});
    return CProcess(arguments, "").wait();
}

nlohmann::json CDemoStore::document(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.end(), {"--output", "json"});
    std::string text;
    for (const std::string& line : lmadm(arguments).out) {
        text += line;
    }
    return nlohmann::json::parse(text);
}

void CDemoStore::expectRefusal(const std::vector<std::string>& arguments, int status, const std::string& text) const
{
    const SResult result = lmadm(arguments);
    EXPECT_EQ(result.status, status) << text;
    EXPECT_THAT(result.out, testing::IsEmpty());
    EXPECT_THAT(result.err, testing::ElementsAre("lmadm: " + text));
}

SResult CDemoStore::lmsh(const std::string& commands) const
{
    return rawLmsh(script(commands));
}

SResult CDemoStore::rawLmsh(const std::string& text) const
{
    return CProcess(lmshCommand(), text, root("prod").string()).wait();
}

SResult CDemoStore::kforutil(const std::string& host, const std::string& word) const
{
    return CProcess({KFORUTIL_PATH, word}, "", root(host).string()).wait();
}

void CDemoStore::createAnnotation(const std::string& name) const
{
    const SResult result = lmsh("create annotation \"" + name + "\" \"cg1\"\nset message M\ncommit");
    EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
}

void CDemoStore::createTimeImage(const std::string& name, const std::string& annotation, const std::string& host) const
{
    const SResult result = lmsh("create timeimage \"" + name + "\" \"cg1\"\nuse annotation \"" + annotation +
                                "\"\nadd permission \"" + host + "\"\ncommit");
    EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
}

Lines CDemoStore::showGroup() const
{
    return lmsh("show cgroup \"cg1\"").out;
}

size_t entriesIn(const fs::path& folder)
{
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

Lines normalised(Lines lines)
{
    static const std::regex serial("LM[0-9A-F]{14}");
    static const std::regex time("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z");
    static const std::regex folder("/[0-9a-f]{15}/");
    for (std::string& line : lines) {
        line = std::regex_replace(std::regex_replace(line, serial, "SERIAL"), time, "TIME");
        line = std::regex_replace(line, folder, "/ID/");
    }
    return lines;
}

void pauseBriefly()
{
    ::usleep(1000);
}

}  // namespace lumora::test
