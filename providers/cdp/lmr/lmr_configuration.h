#pragma once

#include <string>

#include "framework/include/cficonfiguration.h"
#include "pdk/include/cfitracelog.h"
#include "providers/cdp/lmr/lmr_answer_bounds.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// What a line of the appliance list holds that names an appliance of this type.
inline constexpr const char* LMR_LIST_MARK = "RSURL";

/// Section of the configuration store in which the tools stand.
inline constexpr const char* LMR_TOOL_SECTION = "LMR_CLI_CONFIG";

/// How the place of a tool is configured, and where it is when that is not set.
struct SLMRToolSetting
{
    const char* pathKey;
    const char* nameKey;
    const char* path;  ///< directory, ends in "/"
    const char* name;  ///< file name
};
inline constexpr SLMRToolSetting LMR_SHELL = {"LMR_LMSH_PATH", "LMR_LMSH_NAME", "/opt/QXPKlm/bin/", "lmsh"};
inline constexpr SLMRToolSetting LMR_DISK_UTILITY = {"LMR_KFORUTIL_PATH", "LMR_KFORUTIL_NAME", "/usr/sbin/",
                                                     "kforutil"};

/// Where an appliance insists on finding its shell, below the root directory, whatever is configured.
inline std::string fixedShellPath()
{
    return std::string(LMR_SHELL.path) + LMR_SHELL.name;
}

/// How many commands that only read are under way at once, when that is not set, and what may be set.
inline constexpr const char* LMR_MAX_PARALLEL = "MAX_PARALLEL";
inline constexpr long LMR_DEFAULT_PARALLEL = 8;
inline constexpr long LMR_MOST_PARALLEL = 64;

/// An external tool.
struct SLMRCliPath
{
    CString name;  ///< file name
    CString path;  ///< directory, ends in "/"

    /// @throw std::bad_alloc
    void assignFrom(const SLMRCliPath& other)
    {
        assign(name, other.name);
        assign(path, other.path);
    }
    /// The full path of the program: the name follows the directory directly. @throw std::bad_alloc
    std::string program() const { return std::string(bytesOf(path)).append(bytesOf(name)); }
};

/// Reads where the tools are from the provider's configuration store. Made for one look-up and dropped, on one thread.
class CLMRConfiguration : public obzx_pdk_4_4::CFiConfiguration
{
  public:
    explicit CLMRConfiguration(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog);

    /// Where the appliance's shell is; never fails: what is not set has its default.
    SLMRCliPath importlmshPathInfo();
    /// The same for the disk utility of this host.
    SLMRCliPath importkforUtilPathInfo();
    /// 1 (one after the other) to 64; what is set outside of that counts as the nearer end, what is no number as unset.
    unsigned importMaxParallel();
    /// What is no number counts as unset.
    SLMRAnswerBounds importAnswerBounds();

  private:
    SLMRCliPath readTool(const SLMRToolSetting& setting);
    long readNumber(const char* key, long byDefault);

    obzx_pdk_4_4::CFiTraceLogPtr m_traceLog;
};

}  // namespace cdpfi
