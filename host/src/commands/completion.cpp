#include <map>

#include "host/src/catalog/catalog_reader.h"
#include "host/src/commands/command_line.h"
#include "host/src/commands/commands.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SCompletionRequest
{
    std::string shell{};
    std::vector<std::string> words{};  ///< behind "fictl", up to the one that is to be completed
};

// Each asks fictl itself, so that a shell knows what this fictl knows.
constexpr const char* BASH = R"SHELL(# Completion of fictl for bash: . <(fictl completion bash)
_fictl() {
    mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" completion bash -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -o default -F _fictl fictl
)SHELL";
constexpr const char* FISH = R"SHELL(# Completion of fictl for fish: fictl completion fish | source
function __fictl_complete
    set -l found (fictl completion fish -- (commandline -opc)[2..-1] (commandline -ct) 2>/dev/null)
    if set -q found[1]
        printf '%s\n' $found
    else
        __fish_complete_path (commandline -ct)
    end
end
complete -c fictl -f -a '(__fictl_complete)'
)SHELL";
// A file of this in the shell's path of functions is begun at the first use, and has to complete then.
constexpr const char* ZSH = R"SHELL(#compdef fictl
# Completion of fictl for zsh: . <(fictl completion zsh)
_fictl() {
    local -a found
    found=(${(f)"$(fictl completion zsh -- "${(@)words[2,CURRENT]}" 2>/dev/null)"})
    if (( ${#found} )); then compadd -a found; else _files; fi
}
if [[ ${funcstack[1]} = _fictl ]]; then _fictl "$@"; else compdef _fictl fictl; fi
)SHELL";

const char* scriptFor(const std::string& shell)
{
    if (shell == "bash") return BASH;
    if (shell == "fish") return FISH;
    if (shell == "zsh") return ZSH;
    throw EFictl(EExit::USAGE, "there is no completion for \"" + printable(shell) + "\"",
                 "known are bash, fish and zsh");
}

// Somebody who may not read the catalog has no names, and no message in the middle of the command line.
std::vector<std::string> snapshotNames()
{
    try {
        const std::set<std::string> names = CCatalogReader().names();
        return {names.begin(), names.end()};
    } catch (const EFictl&) {
        return {};
    }
}

SResult complete(const SCompletionRequest& request)
{
    const char* const script = scriptFor(request.shell);
    if (request.words.empty()) return {.text = script};
    SCompletion completion = completionOf(request.words);
    if (completion.isSnapshot) completion.candidates = snapshotNames();
    std::string text;
    for (const std::string& candidate : completion.candidates) {
        if (candidate.starts_with(request.words.back())) text += printable(candidate) + "\n";
    }
    return {.text = text};
}

}  // namespace

CommandRun declareCompletion(COptions& options)
{
    const auto request = std::make_shared<SCompletionRequest>();
    options.word("SHELL", request->shell, COptions::EGiven::MUST_BE, "bash, fish or zsh");
    options.words("WORD", request->words, COptions::EGiven::MAY_BE,
                  "Behind --, the words of a command line up to the one to complete: tells what that can be");
    return [request](const SContext&) { return complete(*request); };
}

}  // namespace fictl
