#include <algorithm>
#include <functional>
#include <sstream>

#include "host/src/output/exit_codes.h"
#include "host/tests/fictl_fixture.h"

namespace {

using base_test::linesOf;

TEST_F(CFictlTest, TheManualListsTheExitCodesOfTheHelp)
{
    std::vector<std::string> fromHelp;
    bool inside = false;
    for (const std::string& line : linesOf(run({"--help"}).out)) {
        if (inside && line.size() > 6) {
            const size_t digit = line.find_first_not_of(' ');
            const size_t blank = line.find(' ', digit);
            fromHelp.push_back("| " + line.substr(digit, blank - digit) + " | " + line.substr(blank + 2) + " |");
        }
        inside = inside || line == "Exit codes:";
    }
    ASSERT_EQ(fromHelp.size(), fictl::exitCodes().size());
    std::vector<std::string> fromManual;
    for (const std::string& line : linesOf(base_test::contentOf(FICTL_MANUAL))) {
        // "| number | `name` | meaning |" without the name.
        const size_t name = line.find("| `");
        if (line.size() < 3 || line[0] != '|' || line[2] < '0' || line[2] > '9' || name == std::string::npos) continue;
        const size_t after = line.find("` ", name);
        fromManual.push_back(line.substr(0, name) + line.substr(after + 2));
    }
    EXPECT_EQ(fromManual, fromHelp);
}

TEST_F(CFictlTest, TheManualListsTheKeysOfAFailedCommand)
{
    arm("make:g1 fail busy\n");
    std::vector<std::string> fromDocument;
    const nlohmann::json error = fictlJson({"snapshot", "create", "s", "/dev/fake1"}).document()["error"];
    for (const auto& entry : error["commands"][0].items()) {
        fromDocument.push_back(entry.key());
    }
    std::vector<std::string> fromManual;
    bool inside = false;
    for (const std::string& line : linesOf(base_test::contentOf(FICTL_MANUAL))) {
        if (inside && line.empty()) break;
        // The first column names one key or several: "| `a`, `b` | meaning |".
        const std::string column = inside ? line.substr(0, line.find(" | ")) : "";
        for (size_t at = column.find('`'); at != std::string::npos;
             at = column.find('`', column.find('`', at + 1) + 1)) {
            fromManual.push_back(column.substr(at + 1, column.find('`', at + 1) - at - 1));
        }
        inside = inside || line == "| Key | Value |";
    }
    std::sort(fromManual.begin(), fromManual.end());
    EXPECT_EQ(fromManual, fromDocument);
}

/// Names of the subcommands in a help text.
std::vector<std::string> subcommands(const std::string& help)
{
    std::vector<std::string> names;
    bool inside = false;
    for (const std::string& line : linesOf(help)) {
        if (line.empty()) inside = false;
        if (inside) names.push_back(line.substr(2, line.find(' ', 2) - 2));
        if (line == "Subcommands:") inside = true;
    }
    return names;
}

/// Long options in a text, sorted, each once.
std::vector<std::string> options(const std::string& text)
{
    std::vector<std::string> names;
    for (size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at + 2)) {
        const size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at);
        std::string name = text.substr(at, end - at);
        if (name.size() > 2 && name[2] != '-' && name != "--help") names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

/// The words of every command: "snapshot list", or "doctor", which is a family of its own.
std::vector<std::vector<std::string>> allCommands(const std::function<std::string(std::vector<std::string>)>& helpOf)
{
    std::vector<std::vector<std::string>> commands;
    for (const std::string& family : subcommands(helpOf({}))) {
        const std::vector<std::string> members = subcommands(helpOf({family}));
        if (members.empty()) commands.push_back({family});
        for (const std::string& command : members) {
            commands.push_back({family, command});
        }
    }
    return commands;
}

/// The words of a heading that stand before its arguments.
std::vector<std::string> wordsOfHeading(const std::string& line)
{
    std::istringstream heading(line.substr(5, line.find('`', 5) - 5));
    std::vector<std::string> words;
    for (std::string word; heading >> word && word[0] >= 'a' && word[0] <= 'z';) {
        if (word != "fictl") words.push_back(word);
    }
    return words;
}

TEST_F(CFictlTest, TheManualHasASectionForEveryCommandWithItsOptions)
{
    const auto helpOf = [this](std::vector<std::string> words) {
        words.emplace_back("--help");
        return run(words).out;
    };
    std::vector<std::pair<std::vector<std::string>, std::string>> sections;
    bool isCommand = false;
    for (const std::string& line : linesOf(base_test::contentOf(FICTL_MANUAL))) {
        if (line.starts_with("#")) isCommand = line.starts_with("### `fictl ");
        if (isCommand && line.starts_with("#")) sections.emplace_back(wordsOfHeading(line), "");
        if (isCommand) sections.back().second += line + "\n";
    }
    std::vector<std::vector<std::string>> documented;
    for (const auto& [words, text] : sections) {
        documented.push_back(words);
        EXPECT_EQ(options(text), options(helpOf(words))) << testing::PrintToString(words);
    }
    EXPECT_EQ(documented, allCommands(helpOf));
    EXPECT_GE(documented.size(), 10U);
}

TEST_F(CFictlTest, HelpSucceedsForEveryCommandAndNeedsNoProvider)
{
    for (const std::string& family : subcommands(run({"--help"}).out)) {
        EXPECT_EQ(run({family, "--help"}).exit, 0);
        for (const std::string& command : subcommands(run({family, "--help"}).out)) {
            const SRun help = run({family, command, "--help"});
            EXPECT_EQ(help.exit, 0);
            EXPECT_EQ(help.err, "");
        }
    }
}

}  // namespace
