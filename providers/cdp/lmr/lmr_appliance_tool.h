#pragma once

#include <map>
#include <string>
#include <vector>

#include "pdk/include/cficontextsingleton.h"
#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_answer.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi {

/**
 * Runs the appliance's shell, one process a command. Reached as a context singleton; an appliance's initialisation
 * gives it the trace log and the place of the shell. Keeps nothing between calls, so calls may overlap.
 */
class CLMRApplianceTool : public virtual obzx_pdk_4_4::CFiTraceable, public virtual obzx_pdk_4_4::CFiRefCount
{
  public:
    void setShell(const SLMRCliPath& shell) { m_shell.assignFrom(shell); }
    const SLMRCliPath& getShell() const { return m_shell; }
    void setBounds(const SLMRAnswerBounds& bounds) { m_bounds = bounds; }
    const SLMRAnswerBounds& bounds() const { return m_bounds; }

    /**
     * Has the shell run one command on an appliance and waits for it, at most 600 seconds.
     * @param command as the shell reads it, without a newline at its end; may be several lines
     * @param lines   replaced by the shell's output, also when it failed
     * @return 0; -1 when nothing was started (no server, no command, a server name that no script may hold, a script
     * that could not be written whole); else an EExecResult
     * @throw CFiPlatformError when there is no temporary file
     */
    int execLMSH(const CString& server, const CString& command, std::vector<std::string>& lines);
    /// The same without a copy of each line.
    int execLMSH(const CString& server, const CString& command, CLMRAnswer& answer);

  private:
    bool isSendable(const CString& server, const CString& command) const;

    SLMRCliPath m_shell;
    SLMRAnswerBounds m_bounds;
    std::map<CString, CString> m_settings;  // reserved for settings of the shell
};

using CLMRApplianceToolPtr =
    obzx_pdk_4_4::CFiSmartPtr<CLMRApplianceTool, obzx_pdk_4_4::CFiContextSingletonAllocator<CLMRApplianceTool>>;

}  // namespace cdpfi
