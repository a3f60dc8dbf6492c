#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "appliance/core/conventions/error.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/output.h"
#include "appliance/lmadm/replay/replay.h"
#include "base/process_stat.h"

namespace lumora {

namespace {

std::string readInput()
{
    std::string text;
    char part[4096];
    for (ssize_t count = 0; (count = ::read(STDIN_FILENO, part, sizeof part)) != 0;) {
        if (count < 0 && errno != EINTR) throwStorage("read", "standard input", errno);
        if (count > 0) text.append(part, static_cast<size_t>(count));
    }
    return text;
}

}  // namespace

void replayConversation(const SOptions& options, const SReplayRequest& request)
{
    CReplay::prepare(request.conversation, request.tools, base::thisProgram());
    printRecord({{"conversation", request.conversation}, {"tools", request.tools}}, options.output);
}

int answerFromConversation(const SAnswerRequest& request)
{
    std::string command;
    for (const std::string& word : request.words) {
        command += (command.empty() ? "" : " ") + word;
    }
    return CReplay(request.folder).answer(request.words.empty() ? readInput() : command);
}

}  // namespace lumora
