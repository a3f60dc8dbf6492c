#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "host/src/output/exit_codes.h"

namespace fictl {

using nlohmann::json;

/// What a command writes to standard output: one of the two, as the user asked.
struct SResult
{
    std::shared_ptr<const json> document{};  ///< null for a text that is the same in every form
    std::string text{};
    EExit exit = EExit::OK;
    double frozenSeconds = 0;  ///< how long the application was frozen; 0 when it was not
    bool isDelivery = false;   ///< the command's work is that somebody gets all of this
};

SResult resultOf(json document, std::string text);

/// What --version gives.
SResult versionResult(const std::string& version);

/// A text in a document; null for an empty one.
json textOrNull(const std::string& text);

using Rows = std::vector<std::vector<std::string>>;

/// Rows of cells as lines of aligned columns; the first row is the heading. Control characters are made visible. Lines
/// that are wider than the terminal are cut in their widest column, where the table stays readable; what is no
/// terminal gets everything.
std::string formatTable(Rows rows);
std::string formatTable(Rows rows, size_t lineWidth);
/// Rows of a name and a value, never cut.
std::string formatValues(Rows rows);

/// Writes all of the text to standard output; throws EFictl (IO). False when it is a pipe whose reader has gone: it had
/// what it wanted.
bool writeOutput(const std::string& text);

/// The document's text: with "schema_version", two blanks of indentation, a last newline, bytes that are not UTF-8 as
/// \xNN. The version changes when a key goes or means something else.
std::string documentText(json document);

}  // namespace fictl
