#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace lumora {

using Json = nlohmann::ordered_json;

enum class EOutput : std::uint8_t
{
    table,
    json
};

// Prints one document on standard output: as JSON, or for people. A list of records becomes a table whose columns are
// the keys of the first record, a record becomes "key: value" lines, with a table under each list that it holds.
void printDocument(const Json& document, EOutput output);

}  // namespace lumora
