#pragma once

#include <string>
#include <vector>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_answer.h"
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

}  // namespace cdpfi
