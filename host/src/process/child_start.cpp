#include "host/src/process/child_start.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string_view>

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace fictl {

namespace {

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
    CSpawnFiles(int output, int errors)
    {
        m_error = posix_spawn_file_actions_init(&m_files);
        m_isThere = m_error == 0;
        if (m_error == 0) m_error = posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (m_error == 0) m_error = posix_spawn_file_actions_adddup2(&m_files, output, STDOUT_FILENO);
        if (m_error == 0) m_error = posix_spawn_file_actions_adddup2(&m_files, errors, STDERR_FILENO);
        if (m_error == 0) m_error = posix_spawn_file_actions_addclosefrom_np(&m_files, STDERR_FILENO + 1);
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

}  // namespace

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

std::vector<char*> pointersTo(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (const std::string& text : texts) {
        // A program gets a copy; that the texts are not const there is older than const.
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

int startChild(const SChildStart& start, pid_t& pid)
{
    const CSpawnAttributes attributes;
    if (attributes.error() != 0) return attributes.error();
    const CSpawnFiles files(start.output, start.errors);
    if (files.error() != 0) return files.error();
    pid_t started = -1;
    const int error = posix_spawn(&started, start.program.c_str(), files.get(), attributes.get(),
                                  pointersTo(start.words).data(), environmentWith(start.environment).data());
    if (error == 0) pid = started;
    return error;
}

}  // namespace fictl
