#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "appliance/core/conventions/error.h"
#include "appliance/lmadm/options.h"

namespace lumora {

using Json = nlohmann::ordered_json;

/// Each prints one document on standard output, as JSON or for people. As JSON it is an object that begins with
/// "schema_version": 1, which changes when a key goes or means something else; a list stands in it under its name.

/// For people a record is "key: value" lines, with a table under each list that it holds.
void printRecord(const Json& record, EOutput output);
/// For people a list of records is a table whose columns are the keys of the first record.
void printList(const char* name, const Json& rows, EOutput output);

/// A refusal as a document; `next` is what to do about it. Where it cannot be written standard error says so.
void printRefusal(EStatus status, const std::string& text, const std::optional<std::string>& next);

}  // namespace lumora
