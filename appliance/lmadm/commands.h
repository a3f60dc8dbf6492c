#pragma once

#include <CLI/CLI.hpp>

#include "appliance/lmadm/session.h"

namespace lumora {

/// Each adds its commands to the command line; a command runs when the line has been parsed and throws EApplianceError.
/// `options` is filled by then and must outlive `app`.
void addApplianceCommands(CLI::App& app, const SOptions& options);
void addHostCommands(CLI::App& app, const SOptions& options);
void addGroupCommands(CLI::App& app, const SOptions& options);
void addLunCommands(CLI::App& app, const SOptions& options);
void addDataCommands(CLI::App& app, const SOptions& options);
void addFaultCommands(CLI::App& app, const SOptions& options);
void addWorkloadCommands(CLI::App& app, const SOptions& options);

}  // namespace lumora
