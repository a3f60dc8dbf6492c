#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/src/bundle/bundle_file.h"
#include "host/src/output/secrets.h"

namespace fictl {

/// Something that a bundle should hold and does not.
struct SMissingPart
{
    std::string part;
    std::string reason;
};

/**
 * What a bundle holds, as long as it can be changed: by the name of the file a document (.json), the lines of a
 * conversation (.jsonl), or a text.
 */
struct SParts
{
    std::map<std::string, nlohmann::json> files;
    std::vector<SMissingPart> missing;

    void miss(const std::string& part, const std::string& reason) { missing.push_back({part, reason}); }

    /// The files as they are written.
    FileTexts texts() const;
    nlohmann::json missingJson() const;
};

}  // namespace fictl
