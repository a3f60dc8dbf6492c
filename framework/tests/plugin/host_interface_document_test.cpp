// docs/host-interface.md, the public header and the runtime's default operations say the same.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>

#include "framework/include/cfistringtool.h"
#include "framework/include/obz_entry_points.h"
#include "framework/tests/plugin/default_calls.h"

namespace obzx_pdk_4_4 {
namespace {

struct SRow
{
    std::string operation;
    std::string gated;
    std::string needs;
    int32_t status;
};

struct SType
{
    std::string contract;  // the comment above it, as one line
    std::string parameters;

    bool isGated() const { return contract.rfind("Gated.", 0) == 0; }
    // Query, Notice or Action; empty for what works in every provider.
    std::string kind() const
    {
        std::smatch match;
        const std::regex mark("(?:Gated\\. )?(Query|Notice|Action)\\b.*");
        return std::regex_match(contract, match, mark) ? match[1].str() : "";
    }
};

std::string unquoted(const std::string& cell)
{
    return CFiStringTool::trim(cell, " `");
}

// Table rows whose first cell names an entry point.
std::map<std::string, SRow> readTable()
{
    std::map<std::string, SRow> rows;
    std::ifstream document(CDPFI_SOURCE_DIR "/docs/host-interface.md");
    for (std::string line; std::getline(document, line);) {
        const std::vector<std::string> cells = CFiStringTool::tokenize(line, "|");
        if (cells.size() != 6 || cells[0].rfind(" `", 0) != 0) continue;
        EXPECT_EQ(rows.count(unquoted(cells[0])), 0u) << line;
        rows[unquoted(cells[0])] =
            SRow{unquoted(cells[1]), unquoted(cells[2]), unquoted(cells[3]), std::stoi(cells[5])};
    }
    return rows;
}

// The rest of a comment whose first line is given, without its marks.
std::string readComment(std::ifstream& header, std::string line)
{
    std::string text;
    while (true) {
        text += CFiStringTool::trim(line, "/* ") + " ";
        if (line.find("*/") != std::string::npos || !std::getline(header, line)) return text;
    }
}

// Function types of the header by name.
std::map<std::string, SType> readHeader()
{
    std::map<std::string, SType> types;
    std::ifstream header(CDPFI_SOURCE_DIR "/framework/include/obz_entry_points.h");
    const std::regex type("typedef (int32_t|void) obzx_fi_([A-Za-z_]+)_fn\\((.*)");
    std::string contract;
    for (std::string line; std::getline(header, line);) {
        if (line.rfind("/*", 0) == 0) contract = readComment(header, line);
        std::smatch match;
        if (!std::regex_match(line, match, type)) continue;
        const std::string name = match[2];
        std::string parameters = match[3];
        while (parameters.back() != ';' && std::getline(header, line)) {
            parameters += line;
        }
        types[name] = SType{contract, parameters};
        contract.clear();  // a comment is about the type that follows it
    }
    return types;
}

TEST(HostInterfaceDocument, ListsEveryEntryPointOnce)
{
    std::set<std::string> expected;
#define OBZX_ADD_NAME(name) expected.insert(#name);
    OBZX_FI_ENTRY_POINTS(OBZX_ADD_NAME)
#undef OBZX_ADD_NAME
    EXPECT_EQ(expected.size(), size_t{OBZX_FI_ENTRY_POINT_COUNT});
    std::set<std::string> listed;
    for (const auto& row : readTable()) {
        listed.insert(row.first);
    }
    EXPECT_EQ(listed, expected);
}

TEST(HostInterfaceDocument, AgreesWithTheHeaderOnWhatIsGated)
{
    const std::map<std::string, SType> header = readHeader();
    EXPECT_EQ(header.size(), size_t{OBZX_FI_ENTRY_POINT_COUNT});
    for (const auto& [name, row] : readTable()) {
        ASSERT_EQ(header.count(name), 1u) << name;
        EXPECT_EQ(row.gated == "yes", header.at(name).isGated()) << name;
    }
}

TEST(HostInterfaceDocument, CallsArgumentsByTheirNamesInTheHeader)
{
    // Words of the column that are no names.
    const std::set<std::string> words = {"all", "when", "the", "is", "above", "a", "of", "any", "other", "value"};
    const std::map<std::string, SType> header = readHeader();
    const std::regex word("[a-z_]+");
    for (const auto& [name, row] : readTable()) {
        for (std::sregex_iterator found(row.needs.begin(), row.needs.end(), word), end; found != end; ++found) {
            if (words.count(found->str()) != 0) continue;
            const std::regex parameter("[ *]" + found->str() + "[,)]");
            EXPECT_TRUE(std::regex_search(header.at(name).parameters, parameter)) << name << ": " << found->str();
        }
    }
}

TEST(HostInterfaceDocument, AgreesWithTheHeaderOnWhatAProviderAnswersThatDoesNothing)
{
    const std::map<std::string, SType> header = readHeader();
    for (const auto& [name, row] : readTable()) {
        ASSERT_EQ(header.count(name), 1u) << name;
        const std::string kind = header.at(name).kind();
        const bool isRefused = row.status == OBZ_ERR_UNSUPPORTED || name == "make";
        // The outcome of an object-control request is not the status of its entry point.
        if (name == "objctl") continue;
        EXPECT_EQ(kind == "Action", isRefused) << name;
    }
}

TEST(HostInterface, SaysOfEveryEntryPointWhatItDoes)
{
    constexpr size_t MARKS = std::string_view("Gated. Notice: ").size();
    for (const auto& [name, type] : readHeader()) {
        EXPECT_GE(type.contract.size(), MARKS + 20) << name;
    }
}

TEST(HostInterfaceDocument, NamesTheDefaultsThatTheOperationsReturn)
{
    CFiPluginInterposer plugin;
    test::CDefaultCalls calls(plugin);
    test::callAllDefaults(calls);
    const std::map<std::string, SRow> table = readTable();
    for (const auto& [name, result] : calls.results()) {
        ASSERT_EQ(table.count(name), 1u) << name;
        EXPECT_EQ(table.at(name).operation, result.operation) << name;
        EXPECT_EQ(table.at(name).status, result.status) << name;
    }
    EXPECT_EQ(calls.results().size(), table.size());
}

}  // namespace
}  // namespace obzx_pdk_4_4
