#include "providers/cdp/lmr/lmr_command_sending.h"

#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_appliance_tool.h"

namespace cdpfi {

namespace {

bool isWithin(const obzx_pdk_4_4::CFiTraceable& caller, const SLMRCommand& command, const std::string& excess)
{
    if (excess.empty()) return true;
    caller.trace(obzx_pdk_4_4::TRACE_FAILURE, "The answer to [%s] counts as none: %s.", command.m_text, excess);
    return false;
}

}  // namespace

int sendCommand(const obzx_pdk_4_4::CFiTraceable& caller, const CString& server, const SLMRCommand& command,
                std::vector<std::string>& lines)
{
    lines.clear();
    CLMRAnswer answer;
    const int result = sendCommand(caller, server, command, answer);
    lines = answer.copies();
    return result;
}

int sendCommand(const obzx_pdk_4_4::CFiTraceable& caller, const CString& server, const SLMRCommand& command,
                CLMRAnswer& answer)
{
    constexpr int NOT_SENT = -1;
    answer = {};
    if (command.m_refused) {
        caller.trace(obzx_pdk_4_4::TRACE_INVALID,
                     "Name [%s] holds a double quote or a control character, command is not sent",
                     command.m_refusedName);
        return NOT_SENT;
    }
    const auto tool = CLMRAppliance::getCLMRApplianceToolSingletonPtr();
    if (!tool) {
        caller.trace(obzx_pdk_4_4::TRACE_FAILURE, "No appliance is initialized, command is not sent");
        return NOT_SENT;
    }
    return tool->execLMSH(server, textOf(command.m_text), answer);
}

bool isWithinBounds(const obzx_pdk_4_4::CFiTraceable& caller, const SLMRCommand& command,
                    std::span<const std::string_view> lines, CLMRNameParser parse)
{
    const auto tool = CLMRAppliance::getCLMRApplianceToolSingletonPtr();
    return !tool || isWithin(caller, command, excessOf(lines, parse, tool->bounds()));
}

bool isWithinInventory(const obzx_pdk_4_4::CFiTraceable& caller, const SLMRCommand& command, size_t bytes)
{
    const auto tool = CLMRAppliance::getCLMRApplianceToolSingletonPtr();
    const bool isPast = tool && bytes > tool->bounds().inventory;
    return isWithin(caller, command, isPast ? inventoryExcess(tool->bounds()) : std::string());
}

}  // namespace cdpfi
