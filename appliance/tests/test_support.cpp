#include "appliance/tests/test_support.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "base/file_read.h"

namespace lumora::test {
namespace fs = std::filesystem;
namespace {

Lines linesOf(const fs::path& file)
{
    Lines lines;
    std::istringstream stream(readAll(file));
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

CProcess::CProcess(const std::vector<std::string>& command, const std::string& input, const std::string& hostRoot)
{
    writeAll(m_folder.path() / "in", input);
    std::vector<std::string> environment = {"LC_ALL=C"};
    if (!hostRoot.empty()) environment.push_back("OBZX_ROOT=" + hostRoot);
    std::vector<std::string> words = command;
    std::vector<char*> argv;
    std::vector<char*> envp;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    for (std::string& setting : environment) {
        envp.push_back(setting.data());
    }
    argv.push_back(nullptr);
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, (m_folder.path() / "in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (m_folder.path() / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, (m_folder.path() / "err").c_str(), O_WRONLY | O_CREAT, 0600);
    const int error = posix_spawn(&m_pid, words.front().c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + words.front());
}

CProcess::~CProcess()
{
    if (m_pid > 0) {
        kill();
        ::waitpid(m_pid, nullptr, 0);
    }
}

void CProcess::kill() const
{
    ::kill(m_pid, SIGKILL);
}

SResult CProcess::wait()
{
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), linesOf(m_folder.path() / "out"),
            linesOf(m_folder.path() / "err")};
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

CDemoStore::CDemoStore()
{
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"appliance", "create", "alpha"},
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

std::string readAll(const fs::path& file)
{
    constexpr size_t LARGEST = size_t{1} << 28U;
    return base::readFile(file.string(), LARGEST).text;
}

void writeAll(const fs::path& file, const std::string& text)
{
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
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
