#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

struct SCommandKind;

/// How often a line may stand between the keyword line of a command and its "commit".
enum class EOccurs : uint8_t
{
    OPTIONAL,  ///< once at most
    REQUIRED,  ///< exactly once
    REPEATED,  ///< any number of times
    CHANGE     ///< any number of times; a command with such lines needs one of them at least
};

/// A line that may stand in a command.
struct SBodyLine
{
    std::string_view pattern;  ///< as line_pattern.h has it, with one value
    EOccurs occurs = EOccurs::OPTIONAL;
};

/// A line that stands in a command.
struct SGivenLine
{
    std::string_view pattern;  ///< that of its SBodyLine
    std::string value;
};

/// One command of a script. Names and values are as written; whether what they name exists is not known yet.
struct SCommand
{
    const SCommandKind* kind = nullptr;
    std::vector<std::string> names;  ///< of the keyword line, in its order
    std::vector<SGivenLine> body;    ///< in the order of the script

    bool has(const SBodyLine& line) const;
    /// Value of the first such line, or `otherwise`.
    std::string value(const SBodyLine& line, const std::string& otherwise = "") const;
    /// Values of all such lines.
    std::vector<std::string> values(const SBodyLine& line) const;
};

/// The keyword line of a command, in its plainest spelling: `create annotation "A" "G"`.
std::string commandText(const SCommand& command);

/// The whole command as lines of a script.
std::vector<std::string> commandLines(const SCommand& command);

}  // namespace lumora
