#include "appliance/lmadm/output.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

#include "appliance/core/conventions/tool.h"

namespace lumora {

namespace {

using Lines = std::vector<std::string>;

std::string cell(const Json& value)
{
    if (value.is_string()) return value.get<std::string>();
    if (value.is_array()) {
        std::string text;
        for (const Json& element : value) {
            text += (text.empty() ? "" : " ") + cell(element);
        }
        return text.empty() ? "-" : text;
    }
    if (value.is_object()) return value.empty() ? "-" : cell(value.begin().value());
    return value.dump();
}

Lines formatTable(const Json& rows, const std::string& indent)
{
    if (rows.empty()) return {indent + "(none)"};
    if (!rows.front().is_object()) {
        Lines lines;
        for (const Json& row : rows) {
            lines.push_back(indent + cell(row));
        }
        return lines;
    }
    std::vector<std::vector<std::string>> table(rows.size() + 1);
    for (const auto& [key, value] : rows.front().items()) {
        table[0].push_back(key);
        for (size_t row = 0; row < rows.size(); ++row) {
            table[row + 1].push_back(cell(rows[row].at(key)));
        }
    }
    Lines lines(table.size(), indent);
    for (size_t column = 0; column < table[0].size(); ++column) {
        size_t width = 0;
        for (const auto& row : table) {
            width = std::max(width, row[column].size());
        }
        const bool last = column + 1 == table[0].size();
        for (size_t row = 0; row < table.size(); ++row) {
            const std::string& text = table[row][column];
            lines[row] += last ? text : text + std::string(width - text.size() + 2, ' ');
        }
    }
    return lines;
}

Lines formatRecord(const Json& record)
{
    Lines lines;
    for (const auto& [key, value] : record.items()) {
        if (value.is_array()) {
            lines.push_back(key + ":");
            const Lines table = formatTable(value, "  ");
            lines.insert(lines.end(), table.begin(), table.end());
        } else {
            lines.push_back(key + ": " + cell(value));
        }
    }
    return lines;
}

void printJson(const Json& content)
{
    Json document = {{"schema_version", 1}};
    document.update(content);
    // Names are bytes; what is no UTF-8 must not keep the rest from being shown.
    printLines({document.dump(2, ' ', false, Json::error_handler_t::replace)});
}

}  // namespace

void printRecord(const Json& record, EOutput output)
{
    if (output == EOutput::JSON) {
        printJson(record);
    } else {
        printLines(formatRecord(record));
    }
}

void printList(const char* name, const Json& rows, EOutput output)
{
    if (output == EOutput::JSON) {
        printJson({{name, rows}});
    } else {
        printLines(formatTable(rows, ""));
    }
}

void printRefusal(EStatus status, const std::string& text, const std::optional<std::string>& next)
{
    Json error = {{"exit", static_cast<int>(status)}, {"code", statusWord(status)}, {"message", text}};
    error["next"] = next ? Json(*next) : Json(nullptr);
    try {
        printJson({{"error", error}});
    } catch (const EApplianceError& failure) {
        // The refusal itself is what counts.
        std::fprintf(stderr, "lmadm: %s\n", failure.what());
    }
}

}  // namespace lumora
