#pragma once

#include <string>

#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * What the appliance's shell reads on its standard input to run one command: a private file that lasts from write() to
 * remove(). It is not removed with the object: when the run of the shell is ended by an exception, the file stays.
 */
class CLMRScript : public obzx_pdk_4_4::CFiTraceable
{
  public:
    /// @param traceLog empty: nothing is traced
    explicit CLMRScript(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog);

    /**
     * Makes the file and writes the server, the command and the end of the session. A file that cannot be opened is
     * traced only: the shell then fails on its empty input, and its answer tells the rest.
     * @return false: not written whole, traced and removed; must not be run, as an appliance might take a command that
     * was cut off for another one
     * @throw CFiPlatformError when there is no temporary file
     */
    bool write(const CString& server, const CString& command);

    /// Whether the file holds the command; false after write() for one that could not be opened.
    bool isWhole() const { return m_isWhole; }
    const std::string& inputFile() const { return m_file; }  ///< for CFiExecPipeBase::Exec; empty before write()

    /// Removes the file if one was made, once the shell has ended and before anything of its answer is traced.
    void remove();

  private:
    std::string m_file;
    bool m_isWhole = false;
};

}  // namespace cdpfi
