#include "framework/src/process/process_spawn.h"

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "base/child_start.h"
#include "base/pipe.h"

namespace obzx_pdk_4_4 {

namespace {

// The host's environment with the request's variable, and messages in the language that listings are parsed in.
std::vector<std::string> addedVariables(const std::string& added)
{
    std::vector<std::string> lines;
    if (!added.empty() && !added.starts_with("LC_ALL=")) lines.push_back(added);
    lines.emplace_back("LC_ALL=C");
    return lines;
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
    const base::CFileDescriptor input = base::openInput(request.inputFile);
    if (!input) return errno;
    base::SPipe output = base::openPipe();
    if (!output) return errno;
    if (request.inputText != nullptr) readInputText(input.get(), *request.inputText);
    // What nobody waits for any more must not go on changing things.
    const base::SChildStart start{.programs = programPaths(request.words.front()),
                                  .words = request.words,
                                  .environment = addedVariables(request.environment),
                                  .directory = request.directory,
                                  .input = input.get(),
                                  .output = output.writeEnd.get(),
                                  .errors = output.writeEnd.get(),
                                  .endsWithThread = true,
                                  .isGivenUp = request.isGivenUp};
    const int status = base::startChild(start, spawned.pid);
    if (status == 0) spawned.output = std::move(output.readEnd);
    return status;
}

}  // namespace obzx_pdk_4_4
