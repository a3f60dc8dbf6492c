#include "host/src/result.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "host/src/error.h"
#include "host/src/names.h"

namespace fictl {

std::string formatTable(const std::vector<std::vector<std::string>>& rows)
{
    constexpr size_t GAP = 2;
    std::vector<std::vector<std::string>> shown;
    std::vector<size_t> widths;
    for (const std::vector<std::string>& row : rows) {
        std::vector<std::string>& cells = shown.emplace_back();
        for (const std::string& cell : row) {
            cells.push_back(cell.empty() ? "-" : printable(cell));
            if (widths.size() < cells.size()) widths.push_back(0);
            widths[cells.size() - 1] = std::max(widths[cells.size() - 1], cells.back().size());
        }
    }
    std::string text;
    for (const std::vector<std::string>& cells : shown) {
        for (size_t i = 0; i < cells.size(); ++i) {
            text += cells[i];
            if (i + 1 < cells.size()) text.append(widths[i] - cells[i].size() + GAP, ' ');
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
    return document.dump(INDENT, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace fictl
