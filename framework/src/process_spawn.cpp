#include "framework/src/process_spawn.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "framework/src/child_start.h"

namespace obzx_pdk_4_4 {

namespace {

// A host that runs without its standard descriptors gets them handed out here; they would then be in the way of the
// child's own. Opened without waiting, so that a FIFO without a writer holds up nobody but the child that reads it.
base::CFileDescriptor openInput(const std::string& path)
{
    base::CFileDescriptor input = base::aboveStandard(base::CFileDescriptor(
        ::open(path.empty() ? "/dev/null" : path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)));
    if (!input) return {};
    const int flags = ::fcntl(input.get(), F_GETFL);
    if (flags < 0 || ::fcntl(input.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) return {};
    return input;
}

bool openPipe(base::CFileDescriptor& readEnd, base::CFileDescriptor& writeEnd)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    base::CFileDescriptor lowRead(ends[0]);
    base::CFileDescriptor lowWrite(ends[1]);
    readEnd = base::aboveStandard(std::move(lowRead));
    writeEnd = base::aboveStandard(std::move(lowWrite));
    return readEnd && writeEnd && ::fcntl(readEnd.get(), F_SETFL, O_NONBLOCK) == 0;
}

bool isFor(std::string_view variable, std::string_view name)
{
    return variable.starts_with(name) && variable.substr(name.size()).starts_with('=');
}

// The host's environment with the request's variable, and messages in the language that listings are parsed in. Refers
// to the texts of both.
std::vector<const char*> childEnvironment(const std::string& added)
{
    const std::string_view addedName = std::string_view(added).substr(0, added.find('='));
    std::vector<const char*> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (!isFor(*variable, "LC_ALL") && (added.empty() || !isFor(*variable, addedName))) {
            variables.push_back(*variable);
        }
    }
    if (!added.empty() && addedName != "LC_ALL") variables.push_back(added.c_str());
    variables.insert(variables.end(), {"LC_ALL=C", nullptr});
    return variables;
}

std::vector<const char*> pointers(const std::vector<std::string>& texts)
{
    std::vector<const char*> result;
    result.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        result.push_back(text.c_str());
    }
    result.push_back(nullptr);
    return result;
}

// Where a program may lie: where it says, or in the folders of the host's search path.
std::vector<std::string> programPaths(const std::string& program)
{
    if (program.empty() || program.find('/') != std::string::npos) return {program};
    const char* const found = ::secure_getenv("PATH");
    std::string_view folders = found == nullptr ? "/bin:/usr/bin" : found;
    std::vector<std::string> paths;
    for (;;) {
        const std::string_view folder = folders.substr(0, folders.find(':'));
        paths.push_back((folder.empty() ? "." : std::string(folder)) + "/" + program);
        if (folder.size() == folders.size()) return paths;
        folders.remove_prefix(folder.size() + 1);
    }
}

}  // namespace

int spawnProcess(const SSpawnRequest& request, SSpawned& spawned)
{
    const size_t equals = request.environment.find('=');
    if (request.words.empty() || (!request.environment.empty() && (equals == std::string::npos || equals == 0))) {
        return EINVAL;
    }
    // Everything that can fail is made ready before there is a child.
    base::CFileDescriptor readEnd, writeEnd;
    const base::CFileDescriptor input = openInput(request.inputFile);
    if (!input || !openPipe(readEnd, writeEnd)) return errno;
    if (request.inputText != nullptr) readInputText(input.get(), *request.inputText);
    const std::vector<const char*> arguments = pointers(request.words);
    const std::vector<const char*> environment = childEnvironment(request.environment);
    SChildStart start{programPaths(request.words.front()), arguments.data(), environment.data()};
    if (!request.directory.empty()) start.directory = request.directory.c_str();
    start.input = input.get();
    start.output = writeEnd.get();
    const int status = startChild(start, spawned.pid);
    if (status == 0) spawned.output = std::move(readEnd);
    return status;
}

}  // namespace obzx_pdk_4_4
