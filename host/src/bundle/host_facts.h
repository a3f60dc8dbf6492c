#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/src/doctor/doctor.h"

namespace fictl {

/// What a file is asked for.
struct SNamedPath
{
    std::string what;  ///< such as "tool"
    std::string path;
};

/// The files that a snapshot depends on here: configuration, tools, provider, inspector, catalog, trace.
std::vector<SNamedPath> pathsOfSite(const std::string& provider, const SDiagnosis& diagnosis);

/// fictl, provider, inspector, the libraries of this process, kernel and tools, each file by size and digest.
json versionsJson(const SDiagnosis& diagnosis);
/// Owner, mode, size and time of each path, and of the folder that it lies in; free space beside it.
json permissionsJson(const std::vector<SNamedPath>& paths);
/// What the system allows this process, and what fictl allows itself.
json limitsJson();
/// The values that are read, where they are set, and fictl's own; no other line of any file.
json configurationJson(const json& inspection);
/// The provider's configuration with nothing but the values that it reads; empty when none is set.
std::string configurationText(const json& inspection);

/// Where the provider's trace file lies, as it is configured.
std::string tracePath(const std::string& provider, const json& inspection);

}  // namespace fictl
