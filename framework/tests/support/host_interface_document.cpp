#include "framework/tests/support/host_interface_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <regex>

#include "framework/include/cfistringtool.h"

namespace obzx_pdk_4_4::test {

namespace {

std::string unquoted(const std::string& cell)
{
    return CFiStringTool::trim(cell, " `");
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

// "obz_domain* node, const char* fim);"
std::vector<SInterfaceParameter> splitParameters(const std::string& text)
{
    std::vector<SInterfaceParameter> parameters;
    for (const std::string& piece : CFiStringTool::tokenize(text, ",);")) {
        const std::string parameter = CFiStringTool::trim(piece, " ");
        const size_t blank = parameter.rfind(' ');
        if (blank != std::string::npos) parameters.push_back({parameter.substr(0, blank), parameter.substr(blank + 1)});
    }
    return parameters;
}

}  // namespace

std::string SInterfaceType::kind() const
{
    std::smatch match;
    const std::regex mark("(?:Gated\\. )?(Query|Notice|Action)\\b.*");
    return std::regex_match(contract, match, mark) ? match[1].str() : "";
}

bool SInterfaceType::hasParameter(const std::string& name) const
{
    return std::any_of(parameters.begin(), parameters.end(),
                       [&](const SInterfaceParameter& parameter) { return parameter.name == name; });
}

std::map<std::string, SInterfaceRow> readInterfaceTables()
{
    std::map<std::string, SInterfaceRow> rows;
    std::ifstream document(CDPFI_SOURCE_DIR "/docs/host-interface.md");
    for (std::string line; std::getline(document, line);) {
        const std::vector<std::string> cells = CFiStringTool::tokenize(line, "|");
        if (cells.size() != 6 || cells[0].rfind(" `", 0) != 0) continue;
        EXPECT_EQ(rows.count(unquoted(cells[0])), 0u) << line;
        rows[unquoted(cells[0])] = {unquoted(cells[1]), unquoted(cells[2]), unquoted(cells[3]), unquoted(cells[4]),
                                    std::stoi(cells[5])};
    }
    return rows;
}

std::map<std::string, SInterfaceType> readInterfaceHeader()
{
    std::map<std::string, SInterfaceType> types;
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
        EXPECT_EQ(types.count(name), 0u) << name;
        types[name] = {contract, splitParameters(parameters)};
        contract.clear();  // a comment is about the type that follows it
    }
    return types;
}

}  // namespace obzx_pdk_4_4::test
