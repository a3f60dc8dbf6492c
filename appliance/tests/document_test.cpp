// docs/appliance.md shows every command, fault and engine that the tables hold, in their order, and no other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "appliance/core/engines/table/engine_table.h"
#include "appliance/core/faults/fault_kinds.h"
#include "appliance/core/shell/command_table.h"
#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using testing::ElementsAreArray;

std::string code(std::string_view text)
{
    return "`" + std::string(text) + "`";
}

// The cells of a table's line; a bar within a cell is written "\\|".
std::vector<std::string> cellsOf(const std::string& line)
{
    std::vector<std::string> cells;
    std::string cell;
    for (size_t at = 1; at < line.size(); ++at) {
        if (line[at] == '|' && line[at - 1] != '\\') {
            const size_t first = cell.find_first_not_of(' ');
            const size_t last = cell.find_last_not_of(' ');
            cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
            cell.clear();
        } else if (line[at] != '\\') {
            cell += line[at];
        }
    }
    return cells;
}

// The rows of the table under this head.
std::vector<std::vector<std::string>> tableUnder(const std::string& head)
{
    std::vector<std::vector<std::string>> rows;
    std::istringstream document(contentOf(APPLIANCE_DOCUMENT));
    std::string line;
    while (std::getline(document, line) && line != head) {
    }
    std::getline(document, line);  // the rule
    while (std::getline(document, line) && line.starts_with("|")) {
        rows.push_back(cellsOf(line));
    }
    return rows;
}

Lines firstCells(const std::vector<std::vector<std::string>>& rows)
{
    Lines cells;
    for (const std::vector<std::string>& row : rows) {
        cells.push_back(row.front());
    }
    return cells;
}

TEST(Document, ShowsTheCommandsOfTheShell)
{
    Lines expected;
    for (const SCommandKind& kind : commandKinds()) {
        std::string cell = code(kind.head);
        for (const SBodyLine& line : kind.body) {
            cell += ", " + code(line.pattern);
        }
        expected.push_back(kind.body.empty() ? cell : cell + ", " + code("commit"));
    }
    EXPECT_THAT(firstCells(tableUnder("| Command of a script | What it does |")), ElementsAreArray(expected));
}

TEST(Document, ShowsTheKindsOfFaults)
{
    Lines expected;
    for (const SFaultKind& kind : faultKinds()) {
        expected.push_back(code(kind.word));
    }
    EXPECT_THAT(firstCells(tableUnder("| Kind | What happens to the command | Exit status |")),
                ElementsAreArray(expected));
}

TEST(Document, ShowsTheEngines)
{
    std::vector<std::vector<std::string>> expected;
    for (const SEngineKind& kind : engineKinds()) {
        expected.push_back({code(kind.name), std::string(kind.description)});
    }
    EXPECT_EQ(tableUnder("| Engine | Content is kept as |"), expected);
}

}  // namespace

}  // namespace lumora::test
