#pragma once

#include <filesystem>
#include <string>

namespace lumora {

/// What a host knows about its storage network.
struct SHostConfiguration
{
    std::filesystem::path store;  ///< absolute
    std::string host;             ///< the name that the appliances know it by
};

/// The folder that stands for "/" on this host: environment OBZX_ROOT, or "/".
std::filesystem::path hostRoot();

/// Reads <root>/etc/qz/appliance.conf: lines KEY=VALUE with the keys STORE and HOST; empty lines, lines that begin with
/// "#" and other keys are left alone. Status unusable when the file or one of the two is missing or bad.
SHostConfiguration readHostConfiguration(const std::filesystem::path& root);

}  // namespace lumora
