#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/src/provider/node_state.h"

namespace fictl {

/// What an appliance has a name for.
enum class ENamed
{
    APPLIANCE,
    GROUP,
    SERIAL,
};

/// Why a LUN cannot be worked with, and what to do about it.
struct SNameProblem
{
    std::string reason;  ///< such as `the name of consistency group "a/dev/b" holds "/dev/", which marks a device path`
    std::string next;
};

/**
 * What is wrong with a name that an appliance gave to something; nothing when a snapshot can have it from its creation
 * to its deletion. A provider is told of nodes by their names alone, so the name of a group or LUN must not read as a
 * device path or as one of the provider's own nodes. A node's state and a target device carry names between tags
 * without escaping them, the appliance's commands between double quotes, a document as UTF-8.
 */
std::optional<SNameProblem> findNameProblem(std::string_view provider, ENamed object, const std::string& name);

/// The same for the appliance, the group and the serial of a node's state.
std::optional<SNameProblem> findNameProblem(std::string_view provider, const SNodeState& state);

}  // namespace fictl
