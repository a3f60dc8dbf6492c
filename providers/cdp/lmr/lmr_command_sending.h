#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_answer.h"
#include "providers/cdp/lmr/lmr_answer_bounds.h"
#include "providers/cdp/lmr/lmr_commands.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * Sends a command to an appliance through the runner that all appliances share, and waits for the answer. Any thread
 * may call it.
 * @param caller whose trace log tells of a refused command
 * @param server name of the appliance
 * @param lines  replaced by the answer's lines, also when the command failed
 * @return the runner's result (execLMSH); -1 when the command is refused or the runner is not set up, with nothing sent
 * @throw what execLMSH throws
 */
int sendCommand(const obzx_pdk_4_4::CFiTraceable& caller, const CString& server, const SLMRCommand& command,
                std::vector<std::string>& lines);
/// The same without a copy of each line.
int sendCommand(const obzx_pdk_4_4::CFiTraceable& caller, const CString& server, const SLMRCommand& command,
                CLMRAnswer& answer);

/// Whether the listing that a command was answered with has no more names than it may have; what it is past is traced.
bool isWithinBounds(const obzx_pdk_4_4::CFiTraceable& caller, const SLMRCommand& command,
                    std::span<const std::string_view> lines, CLMRNameParser parse);
/// The same for the listings of all groups, with the one that the command was answered with.
/// @param bytes of all of them
bool isWithinInventory(const obzx_pdk_4_4::CFiTraceable& caller, const SLMRCommand& command, size_t bytes);

}  // namespace cdpfi
