#include "host/src/output/result.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <numeric>
#include <system_error>

#include "host/src/output/error.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr size_t GAP = 2;

void makeShowable(Rows& rows)
{
    for (std::vector<std::string>& row : rows) {
        for (std::string& cell : row) {
            if (cell.empty()) cell = "-";
            if (!isPlainText(cell)) cell = printable(cell);
        }
    }
}

std::vector<size_t> widthsOf(const Rows& rows)
{
    std::vector<size_t> widths;
    for (const std::vector<std::string>& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    return widths;
}

// Narrows the widest column by what the lines are too long, but not below what can be read.
void fit(std::vector<size_t>& widths, size_t lineWidth)
{
    constexpr size_t READABLE = 8;
    const size_t all = std::accumulate(widths.begin(), widths.end(), GAP * (widths.size() - 1));
    if (all <= lineWidth) return;
    size_t& widest = *std::max_element(widths.begin(), widths.end());
    if (widest > READABLE) widest -= std::min(all - lineWidth, widest - READABLE);
}

// JSON is UTF-8; a name or a message need not be.
void escapeTexts(json& value)
{
    if (value.is_structured()) {
        for (json& part : value) {
            escapeTexts(part);
        }
    } else if (value.is_string() && !isUtf8(value.get_ref<const std::string&>())) {
        value = asUtf8(value.get_ref<const std::string&>());
    }
}

}  // namespace

SResult resultOf(json document, std::string text)
{
    return {.document = std::make_shared<const json>(std::move(document)), .text = std::move(text)};
}

SResult versionResult(const std::string& version)
{
    return resultOf({{"fictl", {{"version", version}}}}, "fictl " + version + "\n");
}

json textOrNull(const std::string& text)
{
    return text.empty() ? json() : json(text);
}

std::string formatTable(Rows rows)
{
    return formatTable(std::move(rows), outputWidth());
}

std::string formatValues(Rows rows)
{
    return formatTable(std::move(rows), 0);
}

std::string formatTable(Rows rows, size_t lineWidth)
{
    makeShowable(rows);
    std::vector<size_t> widths = widthsOf(rows);
    if (lineWidth != 0 && !widths.empty()) fit(widths, lineWidth);
    std::string text;
    for (std::vector<std::string>& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            std::string& cell = row[i];
            size_t width = displayWidth(cell);
            if (width > widths[i]) {
                cell = cutToWidth(cell, widths[i]);
                width = displayWidth(cell);
            }
            text += cell;
            if (i + 1 < row.size()) text.append(widths[i] - width + GAP, ' ');
        }
        text += '\n';
    }
    return text;
}

bool writeOutput(const std::string& text)
{
    const char* at = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t done = ::write(STDOUT_FILENO, at, left);
        if (done < 0 && errno == EINTR) continue;
        if (done < 0 && errno == EPIPE) return false;
        if (done <= 0) {
            const std::string reason = std::error_code(errno, std::generic_category()).message();
            throw EFictl(EExit::IO, "cannot write to standard output: " + reason, "fictl snapshot list");
        }
        at += done;
        left -= static_cast<size_t>(done);
    }
    return true;
}

std::string documentText(json document)
{
    constexpr int INDENT = 2;
    constexpr int SCHEMA_VERSION = 1;
    document["schema_version"] = SCHEMA_VERSION;
    escapeTexts(document);
    return document.dump(INDENT, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace fictl
