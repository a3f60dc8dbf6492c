#include "host/src/hook.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

extern "C" {
#include <sys/pidfd.h>  // the C library's header of this age does not say so itself
}

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace fictl {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Between SIGTERM and SIGKILL for a command that took too long, and between SIGKILL and giving up a process that the
// kernel itself holds.
constexpr seconds GRACE{5};
// How often is looked for the end of a process without a descriptor of its own.
constexpr milliseconds LOOK_INTERVAL{50};

class CSpawnAttributes
{
  public:
    CSpawnAttributes()
    {
        m_error = posix_spawnattr_init(&m_attributes);
        if (m_error != 0) return;
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
    }
    ~CSpawnAttributes()
    {
        if (m_error == 0) posix_spawnattr_destroy(&m_attributes);
    }
    CSpawnAttributes(const CSpawnAttributes&) = delete;
    CSpawnAttributes& operator=(const CSpawnAttributes&) = delete;
    int error() const { return m_error; }
    const posix_spawnattr_t* get() const { return &m_attributes; }

  private:
    posix_spawnattr_t m_attributes{};
    int m_error = 0;
};

class CSpawnFiles
{
  public:
    CSpawnFiles()
    {
        m_error = posix_spawn_file_actions_init(&m_files);
        m_isThere = m_error == 0;
        if (m_error == 0) m_error = posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (m_error == 0) m_error = posix_spawn_file_actions_adddup2(&m_files, STDERR_FILENO, STDOUT_FILENO);
    }
    ~CSpawnFiles()
    {
        if (m_isThere) posix_spawn_file_actions_destroy(&m_files);
    }
    CSpawnFiles(const CSpawnFiles&) = delete;
    CSpawnFiles& operator=(const CSpawnFiles&) = delete;
    int error() const { return m_error; }
    const posix_spawn_file_actions_t* get() const { return &m_files; }

  private:
    posix_spawn_file_actions_t m_files{};
    int m_error = 0;
    bool m_isThere = false;
};

bool isReplaced(std::string_view variable, const std::vector<std::string>& added)
{
    return std::any_of(added.begin(), added.end(), [variable](const std::string& line) {
        return variable.starts_with(std::string_view(line).substr(0, line.find('=') + 1));
    });
}

// The environment of this process with the added lines; refers to the texts of both.
std::vector<char*> environmentWith(const std::vector<std::string>& added)
{
    std::vector<char*> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (!isReplaced(*variable, added)) variables.push_back(*variable);
    }
    for (const std::string& line : added) {
        variables.push_back(const_cast<char*>(line.c_str()));
    }
    variables.push_back(nullptr);
    return variables;
}

int spawnShell(const std::string& command, const std::vector<std::string>& added, pid_t& pid)
{
    const CSpawnAttributes attributes;
    if (attributes.error() != 0) return attributes.error();
    const CSpawnFiles files;
    if (files.error() != 0) return files.error();
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    pid_t started = -1;
    const int error =
        posix_spawn(&started, "/bin/sh", files.get(), attributes.get(), arguments, environmentWith(added).data());
    if (error == 0) pid = started;
    return error;
}

SHookResult resultOf(const siginfo_t& info)
{
    const std::string status = std::to_string(info.si_status);
    if (info.si_code != CLD_EXITED) return {false, "killed by signal " + status};
    if (info.si_status != 0) return {false, "exit status " + status};
    return {true, {}};
}

}  // namespace

CHookRun::CHookRun(const std::string& command, seconds timeout, const std::vector<std::string>& added)
    : m_timeout(timeout), m_limit(Clock::now() + timeout)
{
    const int error = spawnShell(command, added, m_pid);
    if (error == 0) {
        m_process = CDescriptor(pidfd_open(m_pid, 0));
        return;
    }
    m_ended = true;
    m_result.reason = "cannot start: " + std::error_code(error, std::generic_category()).message();
}

CHookRun::~CHookRun()
{
    if (m_ended) return;
    kill(-m_pid, SIGKILL);
    // Not waited for: a process that the kernel itself holds would hold its runner, too.
    reap(WNOHANG);
}

CHookRun::Clock::time_point CHookRun::lookAt() const
{
    Clock::time_point at = m_limit;
    if (m_killAt) at = *m_killAt;
    if (m_giveUpAt) at = *m_giveUpAt;
    return m_process ? at : std::min(at, Clock::now() + LOOK_INTERVAL);
}

void CHookRun::stop(milliseconds grace)
{
    if (m_ended) return;
    if (!m_killAt) kill(-m_pid, SIGTERM);
    const Clock::time_point killAt = Clock::now() + grace;
    m_killAt = std::min(m_killAt.value_or(killAt), killAt);
}

bool CHookRun::look()
{
    if (!m_ended && !hasEnded()) onTime(Clock::now());
    return m_ended;
}

bool CHookRun::hasEnded()
{
    // Left unreaped at first, so that the group's id is still its own while the rest of the group is killed.
    siginfo_t info = {};
    const bool isKnown = waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
    if (isKnown ? info.si_pid == 0 : errno == EINTR) return false;
    if (m_killAt) kill(-m_pid, SIGKILL);
    reap(0);
    m_ended = true;
    m_result = isKnown ? resultOf(info) : SHookResult{false, "its exit status is lost"};
    if (m_timedOut) m_result = {false, "no end within " + std::to_string(m_timeout.count()) + " s"};
    return true;
}

void CHookRun::reap(int options) const
{
    siginfo_t info = {};
    while (waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | options) != 0 && errno == EINTR) {
    }
}

void CHookRun::onTime(Clock::time_point now)
{
    if (!m_killAt && now >= m_limit) {
        m_timedOut = true;
        stop(GRACE);
    }
    if (m_killAt && !m_giveUpAt && now >= *m_killAt) {
        kill(-m_pid, SIGKILL);
        m_giveUpAt = now + GRACE;
    }
    if (m_giveUpAt && now >= *m_giveUpAt) {
        m_ended = true;
        m_result = {false, "it does not even end when it is killed"};
    }
}

const SHookResult& runToEnd(CHookRun& run)
{
    while (!run.look()) {
        const auto left = std::chrono::ceil<milliseconds>(run.lookAt() - CHookRun::Clock::now());
        pollfd process{run.descriptor(), POLLIN, 0};  // poll skips a negative one
        poll(&process, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
    }
    return run.result();
}

}  // namespace fictl
