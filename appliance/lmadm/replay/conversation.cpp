#include "appliance/lmadm/replay/conversation.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <sstream>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/file_io.h"

namespace lumora {

namespace {

using Json = nlohmann::json;

constexpr size_t LONGEST_CONVERSATION = size_t{256} * 1024 * 1024;

// A text, or {"hex": "..."} where it is not UTF-8.
std::string bytesOf(const Json& value)
{
    if (value.is_string()) return value;
    const std::string hex = value.at("hex");
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string words(const Json& arguments)
{
    std::string text;
    for (size_t i = 1; i < arguments.size(); ++i) {
        text += (text.empty() ? "" : " ") + bytesOf(arguments[i]);
    }
    return text;
}

// An inspector names the appliance and the command; for the disk utility the program's name comes first.
std::string inspectedCommand(const Json& run)
{
    const std::string command = run.at("command");
    if (run.at("appliance").is_null()) return commandOf(command.substr(std::min(command.find(' '), command.size())));
    return commandOf("server " + run.at("appliance").get<std::string>() + "\n" + command);
}

std::string commandOfRun(const Json& run)
{
    if (run.at("source") == "inspector") return inspectedCommand(run);
    const std::string input = bytesOf(run.at("input"));
    return commandOf(input.empty() ? words(run.at("arguments")) : input);
}

int numberOr(const Json& value, int otherwise)
{
    return value.is_number() ? value.get<int>() : otherwise;
}

EStopped stoppedOf(const Json& value)
{
    if (value.is_null()) return EStopped::NO;
    return value == "unused" ? EStopped::UNUSED : EStopped::STOPPED;
}

SToolRun runOf(const Json& run)
{
    SToolRun read;
    read.command = commandOfRun(run);
    read.began = run.at("offset");
    read.ended = read.began + run.at("seconds").get<double>();
    read.answer = bytesOf(run.at("answer"));
    read.isWhole = run.at("whole");
    read.signal = numberOr(run.at("signal"), 0);
    read.exit = numberOr(run.at("exit"), 1);
    read.stopped = stoppedOf(run.at("stopped"));
    return read;
}

[[noreturn]] void refuse(const std::filesystem::path& file, size_t line, const std::string& why)
{
    throw EApplianceError(EStatus::UNUSABLE,
                          "conversation " + inQuotes(file.string()) + ": line " + std::to_string(line) + ": " + why);
}

void readHead(const Json& head, SConversation& conversation)
{
    if (head.at("format") != "fictl-conversation" || head.at("version") != 1) {
        throw std::runtime_error("not the head of a conversation of version 1");
    }
    conversation.checkpoint = head.at("checkpoint");
}

}  // namespace

bool SToolRun::isChange() const
{
    constexpr std::array VERBS = {"create ", "delete ", "discover", "set ", "add ", "remove "};
    const size_t second = command.starts_with("server ") ? std::min(command.find('\n'), command.size() - 1) + 1 : 0;
    return std::ranges::any_of(
        VERBS, [&](const char* verb) { return command.compare(second, std::string(verb).size(), verb) == 0; });
}

std::string SToolRun::target() const
{
    const std::string server = command.substr(0, command.find('\n'));
    const size_t line = command.find('\n', std::min(server.size() + 1, command.size()));
    const std::string first = command.substr(0, line);
    const size_t end = first.rfind('"');
    const size_t begin = end == std::string::npos || end == 0 ? std::string::npos : first.rfind('"', end - 1);
    return begin == std::string::npos ? "" : server + " " + first.substr(begin, end - begin + 1);
}

SConversation SConversation::read(const std::filesystem::path& file)
{
    std::istringstream lines(readSmallFile(file, LONGEST_CONVERSATION));
    SConversation conversation;
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            const Json document = Json::parse(line);
            if (number == 1) readHead(document, conversation);
            if (document.contains("run")) conversation.runs.push_back(runOf(document["run"]));
        } catch (const std::exception& error) {
            refuse(file, number, error.what());
        }
    }
    if (number == 0) refuse(file, 1, "it is empty");
    std::ranges::stable_sort(conversation.runs, {}, &SToolRun::began);
    return conversation;
}

std::string commandOf(const std::string& script)
{
    std::string command;
    std::istringstream lines(script);
    for (std::string line; std::getline(lines, line);) {
        std::string text;
        bool inName = false;
        for (const char character : line) {
            if (character == '"') inName = !inName;
            const bool isBlank = !inName && (character == ' ' || character == '\t' || character == '\r');
            if (!isBlank || !(text.empty() || text.back() == ' ')) text += isBlank ? ' ' : character;
        }
        if (!inName && text.ends_with(' ')) text.pop_back();
        if (!text.empty() && text != "exit") command += (command.empty() ? "" : "\n") + text;
    }
    return command;
}

std::string shownCommand(const std::string& command)
{
    std::string text;
    for (const char character : command) {
        text += character == '\n' ? std::string("; ") : std::string(1, character);
    }
    return text;
}

}  // namespace lumora
