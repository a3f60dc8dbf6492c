#include "framework/src/process_spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace obzx_pdk_4_4 {

namespace {

constexpr int FIRST_PRIVATE_DESCRIPTOR = 3;

class CSpawnActions
{
  public:
    CSpawnActions() { m_status = ::posix_spawn_file_actions_init(&m_actions); }
    ~CSpawnActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
    CSpawnActions(const CSpawnActions&) = delete;
    CSpawnActions& operator=(const CSpawnActions&) = delete;

    void duplicate(int from, int to) { keep(::posix_spawn_file_actions_adddup2(&m_actions, from, to)); }
    void closeFrom(int first) { keep(::posix_spawn_file_actions_addclosefrom_np(&m_actions, first)); }
    void changeDirectory(const std::string& path)
    {
        if (!path.empty()) keep(::posix_spawn_file_actions_addchdir_np(&m_actions, path.c_str()));
    }
    int status() const { return m_status; }
    const posix_spawn_file_actions_t* get() const { return &m_actions; }

  private:
    void keep(int status)
    {
        if (m_status == 0) m_status = status;
    }

    posix_spawn_file_actions_t m_actions;
    int m_status;
};

// A process group of its own, no signal blocked, every signal at its default.
class CSpawnAttributes
{
  public:
    CSpawnAttributes()
    {
        ::posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        ::posix_spawnattr_setpgroup(&m_attributes, 0);
        ::posix_spawnattr_setflags(&m_attributes,
                                   POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~CSpawnAttributes() { ::posix_spawnattr_destroy(&m_attributes); }
    CSpawnAttributes(const CSpawnAttributes&) = delete;
    CSpawnAttributes& operator=(const CSpawnAttributes&) = delete;
    const posix_spawnattr_t* get() const { return &m_attributes; }

  private:
    posix_spawnattr_t m_attributes;
};

// A host that runs without its standard descriptors gets them handed out here; they would then be in the way of the
// child's own.
bool moveAboveStandard(CFileDescriptor& descriptor)
{
    if (descriptor.get() >= FIRST_PRIVATE_DESCRIPTOR) return true;
    CFileDescriptor moved(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, FIRST_PRIVATE_DESCRIPTOR));
    if (!moved) return false;
    descriptor = std::move(moved);
    return true;
}

// Opened without waiting, so that a FIFO without a writer holds up nobody but the child that reads it.
CFileDescriptor openInput(const std::string& path)
{
    CFileDescriptor input(
        ::open(path.empty() ? "/dev/null" : path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!input || !moveAboveStandard(input)) return {};
    const int flags = ::fcntl(input.get(), F_GETFL);
    if (flags < 0 || ::fcntl(input.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) return {};
    return input;
}

bool openPipe(CFileDescriptor& readEnd, CFileDescriptor& writeEnd)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    readEnd = CFileDescriptor(ends[0]);
    writeEnd = CFileDescriptor(ends[1]);
    return moveAboveStandard(readEnd) && moveAboveStandard(writeEnd) &&
           ::fcntl(readEnd.get(), F_SETFL, O_NONBLOCK) == 0;
}

bool isFor(const std::string& variable, const std::string& name)
{
    return variable.compare(0, name.size() + 1, name + "=") == 0;
}

// The host's environment with the request's variable, and messages in the language that listings are parsed in.
std::vector<std::string> childEnvironment(const std::string& added)
{
    const std::string addedName = added.substr(0, added.find('='));
    std::vector<std::string> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (!isFor(text, "LC_ALL") && (added.empty() || !isFor(text, addedName))) variables.push_back(text);
    }
    if (!added.empty() && addedName != "LC_ALL") variables.push_back(added);
    variables.emplace_back("LC_ALL=C");
    return variables;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

int spawnProcess(const SSpawnRequest& request, SSpawned& spawned)
{
    const size_t equals = request.environment.find('=');
    if (request.words.empty() || (!request.environment.empty() && (equals == std::string::npos || equals == 0)))
        return EINVAL;
    // Everything that can fail is made ready before there is a child.
    CFileDescriptor readEnd, writeEnd;
    const CFileDescriptor input = openInput(request.inputFile);
    if (!input || !openPipe(readEnd, writeEnd)) return errno;
    CSpawnActions actions;
    actions.duplicate(input.get(), STDIN_FILENO);
    actions.duplicate(writeEnd.get(), STDOUT_FILENO);
    actions.duplicate(writeEnd.get(), STDERR_FILENO);
    actions.closeFrom(FIRST_PRIVATE_DESCRIPTOR);
    actions.changeDirectory(request.directory);
    if (actions.status() != 0) return actions.status();
    const CSpawnAttributes attributes;
    std::vector<std::string> words = request.words;
    std::vector<std::string> variables = childEnvironment(request.environment);
    const std::vector<char*> arguments = pointers(words);
    const std::vector<char*> environment = pointers(variables);
    const auto spawn = words.front().find('/') == std::string::npos ? ::posix_spawnp : ::posix_spawn;
    const int status = spawn(&spawned.pid, words.front().c_str(), actions.get(), attributes.get(), arguments.data(),
                             environment.data());
    if (status == 0) spawned.output = std::move(readEnd);
    return status;
}

}  // namespace obzx_pdk_4_4
