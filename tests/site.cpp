#include "tests/site.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace {

const std::string BIN = CDPFI_BIN_DIR;

// Runs a program with its outputs in files of their own, so that neither can fill up and block it.
SRun run(const std::filesystem::path& scratch, const std::filesystem::path& hostRoot,
         const std::vector<std::string>& words)
{
    static int counter = 0;
    const std::filesystem::path out = scratch / ("out." + std::to_string(++counter));
    const std::filesystem::path err = scratch / ("err." + std::to_string(counter));
    std::vector<std::string> environment{"OBZX_ROOT=" + hostRoot.string(), "PATH=" + BIN + ":/usr/bin:/bin",
                                         "RES_OPTIONS=timeout:1 attempts:1"};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text(*entry);
        if (text.rfind("OBZX_", 0) != 0 && text.rfind("PATH=", 0) != 0 && text.rfind("RES_OPTIONS=", 0) != 0) {
            environment.push_back(text);
        }
    }
    std::vector<char*> argv;
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& entry : environment) {
        envp.push_back(const_cast<char*>(entry.c_str()));
    }
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = -1;
    const int failed = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) throw std::runtime_error("cannot start " + words.front());
    int status = 0;
    waitpid(pid, &status, 0);
    SRun result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = contentOf(out);
    result.err = contentOf(err);
    return result;
}

}  // namespace

CSite::CSite()
{
    for (const char* folder : {"store", "production", "backup", "run"}) {
        std::filesystem::create_directory(m_folder / folder);
    }
}

SRun CSite::lmadm(const std::vector<std::string>& words) const
{
    std::vector<std::string> all{BIN + "/lmadm", "--store", (m_folder / "store").string()};
    all.insert(all.end(), words.begin(), words.end());
    return run(m_folder / "run", m_folder.path(), all);
}

SRun CSite::fictl(const std::string& host, const std::vector<std::string>& words) const
{
    std::vector<std::string> all{BIN + "/fictl"};
    all.insert(all.end(), words.begin(), words.end());
    return run(m_folder / "run", root(host), all);
}

SRun CSite::shell(const std::string& host, const std::string& commandLine) const
{
    return run(m_folder / "run", root(host), {"/bin/sh", "-c", commandLine});
}

SRun CSite::lmsh(const std::string& host, const std::string& appliance, const std::string& command) const
{
    return shell(host, "printf 'server " + appliance + "\\n" + command + "\\nexit\\n' | lmsh");
}

void CSite::addGroup(const std::string& appliance, const std::string& group, const std::vector<std::string>& luns)
{
    const auto need = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"--appliance", appliance});
        const SRun done = lmadm(words);
        if (done.status != 0) throw std::runtime_error(done.err);
    };
    if (std::find(m_appliances.begin(), m_appliances.end(), appliance) == m_appliances.end()) {
        const SRun done = lmadm({"appliance", "create", appliance});
        if (done.status != 0) throw std::runtime_error(done.err);
        m_appliances.push_back(appliance);
        need({"host", "create", "production"});
        need({"host", "create", "backup"});
    }
    need({"group", "create", group});
    for (const std::string& name : luns) {
        need({"lun", "create", name, "--group", group, "--size", "256KiB"});
        need({"lun", "present", name, "production"});
    }
}

void CSite::setUpHosts()
{
    for (const char* host : {"production", "backup"}) {
        const SRun done = lmadm({"host", "setup", "--root", root(host).string(), "--host", host});
        if (done.status != 0) throw std::runtime_error(done.err);
    }
}

void CSite::replaceShell(const std::string& host, const std::string& script) const
{
    namespace fs = std::filesystem;
    writeFile(root(host) / "site-shell", script);
    fs::permissions(root(host) / "site-shell", fs::perms::owner_all);
    const fs::path file = root(host) / "etc/qz/cdpfi.conf";
    std::string configuration = contentOf(file);
    const auto replace = [&](const std::string& value, const std::string& with) {
        configuration.replace(configuration.find(value), value.size(), with);
    };
    replace("LMR_LMSH_PATH=" + BIN + "/", "LMR_LMSH_PATH=" + root(host).string() + "/");
    replace("LMR_LMSH_NAME=lmsh", "LMR_LMSH_NAME=site-shell");
    writeFile(file, configuration);
}

nlohmann::json CSite::lun(const std::string& appliance, const std::string& name) const
{
    const nlohmann::json listed = lmadm({"--appliance", appliance, "--output", "json", "lun", "list"}).json();
    for (const nlohmann::json& entry : listed.at("luns")) {
        if (entry.at("name") == name) return entry;
    }
    throw std::runtime_error("no LUN " + name);
}

std::string CSite::device(const std::string& appliance, const std::string& name) const
{
    return lun(appliance, name).at("device");
}

std::string CSite::serial(const std::string& appliance, const std::string& name) const
{
    return lun(appliance, name).at("serial");
}

void CSite::write(const std::string& appliance, const std::string& lun, const std::string& pattern) const
{
    const SRun done = lmadm({"--appliance", appliance, "write", lun, "--offset", "0", "--pattern", pattern});
    if (done.status != 0) throw std::runtime_error(done.err);
}

std::vector<std::string> CSite::copiesOf(const std::string& appliance, const std::string& group) const
{
    std::istringstream lines(lmsh("production", appliance, "show cgroup \"" + group + "\"").out);
    std::vector<std::string> copies;
    bool inCopies = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == "Annotations:" || line == "Time images:") {
            inCopies = true;
        } else if (inCopies) {
            copies.push_back(line);
        }
    }
    return copies;
}
