// What the checks know of the functions is what docs/host-interface.md says.
#include <map>
#include <regex>

#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/function.h"
#include "host/tests/fictl_fixture.h"

namespace {

using fictl::ENull;
using fictl::SArgument;
using fictl::SFunction;

/// The columns Gated and Needs of a function.
struct SRow
{
    std::string gated;
    std::string needs;
};

std::string trimmed(const std::string& cell)
{
    const size_t begin = cell.find_first_not_of(" `");
    const size_t end = cell.find_last_not_of(" `");
    return begin == std::string::npos ? "" : cell.substr(begin, end - begin + 1);
}

std::map<std::string, SRow> readTables()
{
    std::map<std::string, SRow> rows;
    for (const std::string& line : base_test::linesOf(base_test::contentOf(FICTL_HOST_INTERFACE))) {
        std::vector<std::string> cells;
        std::istringstream stream(line);
        for (std::string cell; std::getline(stream, cell, '|');) {
            cells.push_back(cell);
        }
        if (cells.size() == 7 && cells[1].starts_with(" `")) {
            rows[trimmed(cells[1])] = {trimmed(cells[3]), trimmed(cells[4])};
        }
    }
    return rows;
}

/// The column Needs as the checks' facts have it.
std::string needsOf(const SFunction& function)
{
    std::string needs;
    std::string list;
    size_t needed = 0;
    size_t pointers = 0;
    for (const SArgument& argument : function.arguments) {
        if (argument.isPointer()) ++pointers;
        if (argument.null == ENull::IS_REFUSED_WITH_A_COUNT) list = argument.name + " when the count is above 0";
        if (argument.null != ENull::IS_REFUSED) continue;
        ++needed;
        needs += (needs.empty() ? "" : ", ") + argument.name;
    }
    if (needed == pointers && (function.name == "claim")) return "all";
    if (list.empty()) return needs.empty() ? "-" : needs;
    return needs.empty() ? list : needs + "; " + list;
}

// What stands in the page beside the names: the status for a null, and other conditions.
std::string namesIn(const std::string& needs)
{
    std::string names = std::regex_replace(needs, std::regex(" ?\\([0-9]\\)"), "");
    names = std::regex_replace(names, std::regex("; (any other operation value|a count of 0)$"), "");
    return names;
}

TEST(ProviderCheckFacts, AreThoseOfThePage)
{
    const std::map<std::string, SRow> rows = readTables();
    ASSERT_EQ(rows.size(), fictl::functions().size());
    for (const SFunction& function : fictl::functions()) {
        const SRow& row = rows.at(function.name);
        EXPECT_EQ(function.isGated, row.gated == "yes") << function.name;
        if (namesIn(row.needs).empty()) continue;  // interpose, supports_fitype: the status alone
        EXPECT_EQ(needsOf(function), namesIn(row.needs)) << function.name;
    }
}

TEST(ProviderCheckFacts, EachCheckNamesItsPlaceInThePage)
{
    const std::string page = base_test::contentOf(FICTL_HOST_INTERFACE);
    for (const fictl::SProviderCheck& check : fictl::providerChecks()) {
        const std::string holds = check.holds;
        if (holds == "the first paragraph") continue;
        const bool isConvention = holds.starts_with("Conventions ");
        const std::string place = isConvention ? "\n" + holds.substr(12) + ". **" : "# " + holds + "\n";
        EXPECT_NE(page.find(place), std::string::npos) << check.name << ": " << holds;
    }
}

TEST(ProviderCheckFacts, EachArgumentHasItsWord)
{
    for (const SFunction& function : fictl::functions()) {
        for (const SArgument& argument : function.arguments) {
            EXPECT_FALSE(argument.name.empty()) << function.name;
            const bool isNumber = argument.value == fictl::EValue::NUMBER;
            EXPECT_EQ(isNumber, argument.null == ENull::IS_NONE) << function.name << " " << argument.name;
        }
    }
}

}  // namespace
