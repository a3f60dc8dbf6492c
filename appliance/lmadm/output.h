#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace lumora {

using Json = nlohmann::ordered_json;

enum class EOutput : uint8_t
{
    TABLE,
    JSON
};

/// Each prints one document on standard output, as JSON or for people. As JSON it is an object that begins with
/// "schema_version": 1, which changes when a key goes or means something else; a list stands in it under its name.

/// For people a record is "key: value" lines, with a table under each list that it holds.
void printRecord(const Json& record, EOutput output);
/// For people a list of records is a table whose columns are the keys of the first record.
void printList(const char* name, const Json& rows, EOutput output);

}  // namespace lumora
