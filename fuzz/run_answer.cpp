// What fictl makes of a command's answer: an input is verb, kind, status, name, group and answer, each on a line of its
// own. Names may hold what answers are made of.
#include <string>

#include "fuzz/fuzz.h"
#include "host/src/runs/appliance_answer.h"
#include "host/src/runs/appliance_report.h"
#include "host/src/text/plain_text.h"

using fictl::EAnswer;
using fuzz::require;

namespace {

constexpr int MISSING = 3;
constexpr int EXISTS = 4;

struct SCase
{
    std::string verb;
    std::string kind;
    int status = 0;
    std::string name;
    std::string group;
    std::string answer;
};

// The line up to the next newline; the rest of the input for the last one.
std::string takeLine(std::string_view& rest)
{
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(line.size() == rest.size() ? rest.size() : line.size() + 1);
    return std::string(line);
}

SCase caseOf(std::string_view input)
{
    SCase asked;
    asked.verb = takeLine(input) == "create" ? "create" : "delete";
    asked.kind = takeLine(input) == "timeimage" ? "timeimage" : "annotation";
    const std::string status = takeLine(input);
    asked.status = status.empty() ? 0 : status.front() - '0';
    asked.name = takeLine(input);
    asked.group = takeLine(input);
    asked.answer = input;
    return asked;
}

std::string refusal(const SCase& asked, const std::string& what)
{
    const std::string word = asked.kind == "annotation" ? "annotation" : "time image";
    return word + " \"" + asked.name + "\" " + what + " in group \"" + asked.group + "\"";
}

fictl::SRunRecord runOf(const SCase& asked)
{
    const std::string body = asked.verb == "create" ? "\n set  message  x \n commit " : "";
    fictl::SRunRecord run;
    run.arguments = {"/opt/lmsh"};
    run.input = "server alpha\n " + asked.verb + "  " + asked.kind + "  \"" + asked.name + "\" \"" + asked.group +
                "\"" + body + "\nexit\n";
    run.inputSize = run.input.size();
    run.process = 1;
    run.result = asked.status == 0 ? 0 : 11;
    run.exitStatus = asked.status;
    run.output = asked.answer;
    run.outputSize = run.output.size();
    return run;
}

bool isSendable(const std::string& name)
{
    return name.find('"') == std::string::npos;  // a newline cannot come out of a line
}

// The answer behind the name of the tool that gave it, where it begins with one.
std::string withoutTool(const std::string& answer)
{
    const size_t colon = answer.find(": ");
    const size_t odd = answer.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-");
    return colon == 0 || colon == std::string::npos || odd < colon ? answer : answer.substr(colon + 2);
}

// Built the other way round: from what the appliance would have said, not from what it said.
EAnswer expected(const SCase& asked)
{
    if (asked.status == 0) return EAnswer::DONE;
    if (!isSendable(asked.name) || !isSendable(asked.group)) return EAnswer::UNKNOWN;
    for (const std::string& line : {asked.answer, withoutTool(asked.answer)}) {
        for (const char* end : {"", "\n"}) {
            if (asked.status == MISSING && line == refusal(asked, "does not exist") + end) return EAnswer::NOT_THERE;
            if (asked.status == EXISTS && asked.verb == "create" && line == refusal(asked, "exists already") + end) {
                return EAnswer::EXISTS_ALREADY;
            }
        }
    }
    return EAnswer::UNKNOWN;
}

void requireJudged(const SCase& asked)
{
    const fictl::SRunRecord run = runOf(asked);
    const EAnswer answer = fictl::judge(run);
    require(answer == expected(asked), "an answer is judged by its whole line");
    require(answer != EAnswer::NOT_THERE || asked.status == MISSING, "only status 3 says that there is no such object");
    require(answer != EAnswer::EXISTS_ALREADY || asked.status == EXISTS, "only status 4 says that there is one");
    const bool confirms = fictl::confirmsDeletion({run}, "alpha", asked.group, asked.name);
    const bool isGone = answer == EAnswer::DONE || answer == EAnswer::NOT_THERE;
    const bool isDeletion =
        asked.verb == "delete" && asked.kind == "annotation" && isSendable(asked.name) && isSendable(asked.group);
    require(confirms == (isGone && isDeletion), "a deletion is confirmed by its own answer alone");
    require(fictl::isPlainText(fictl::printable(fictl::commandLine(run) + fictl::answerLine(run))),
            "what is shown can be shown on a terminal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SCase asked = caseOf(fuzz::textOf(data, size));
    requireJudged(asked);
    // The same names with the appliance's own refusals, whatever the input's answer is.
    for (const char* what : {"does not exist", "exists already", "is in use"}) {
        for (const char* tool : {"", "lmsh: "}) {
            asked.answer = tool + refusal(asked, what) + "\n";
            requireJudged(asked);
        }
    }
    static_cast<void>(fictl::objectCommandOf(std::string(fuzz::textOf(data, size))));
    return 0;
}
