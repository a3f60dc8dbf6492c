// What the checks know of the functions is what docs/host-interface.md says.
#include <algorithm>
#include <regex>
#include <set>

#include "base/tests/text_file.h"
#include "framework/tests/support/host_interface_document.h"
#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/function.h"

namespace {

using fictl::ENull;
using fictl::SArgument;
using fictl::SFunction;

// Of these the page does not name the arguments.
const std::set<std::string> QUESTIONS = {"interpose", "claim", "supports_fitype"};

/// The column Needs as the checks' facts have it.
std::string needsOf(const SFunction& function)
{
    std::string needs;
    std::string list;
    bool areAll = true;
    for (const SArgument& argument : function.arguments) {
        if (argument.null == ENull::IS_REFUSED_WITH_A_COUNT) list = argument.name + " when the count is above 0";
        if (argument.null == ENull::IS_REFUSED) {
            needs += (needs.empty() ? "" : ", ") + argument.name;
        } else {
            areAll = false;
        }
    }
    if (areAll && QUESTIONS.contains(function.name)) return "all";
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
    const auto rows = obzx_pdk_4_4::test::readInterfaceTables();
    ASSERT_EQ(rows.size(), fictl::functions().size());
    for (const SFunction& function : fictl::functions()) {
        const auto& row = rows.at(function.name);
        EXPECT_EQ(function.isGated, row.gated == "yes") << function.name;
        EXPECT_EQ(needsOf(function), namesIn(row.needs)) << function.name;
        const bool hasOutputs = std::any_of(function.arguments.begin(), function.arguments.end(),
                                            [](const SArgument& argument) { return argument.isOutput; });
        const bool isInNode = function.name == "supports_fitype";
        EXPECT_EQ(hasOutputs || isInNode, row.outputs != "-") << function.name;
    }
}

TEST(ProviderCheckFacts, EachCheckNamesItsPlaceInThePage)
{
    const std::string page = base_test::contentOf(CDPFI_SOURCE_DIR "/docs/host-interface.md");
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
