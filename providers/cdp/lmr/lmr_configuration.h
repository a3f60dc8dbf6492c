#pragma once

#include <string_view>

#include "framework/include/cficonfiguration.h"
#include "pdk/include/cfitracelog.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// Where an appliance insists on finding its shell, below the root directory, whatever is configured.
inline constexpr const char* LMR_FIXED_SHELL = "/opt/QXPKlm/bin/lmsh";

/// An external tool: the full program path is the directory followed directly by the name.
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
};

/// Reads where the tools are from the provider's configuration store. Made for one lookup and dropped.
class CLMRConfiguration : public obzx_pdk_4_4::CFiConfiguration
{
  public:
    explicit CLMRConfiguration(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog);

    /// Where the appliance's shell is; never fails: what is not set has its default.
    SLMRCliPath importlmshPathInfo();
    /// The same for the disk utility of this host.
    SLMRCliPath importkforUtilPathInfo();

  private:
    struct SDefaults
    {
        std::string_view path;
        std::string_view name;
    };
    SLMRCliPath readTool(const char* pathKey, const char* nameKey, const SDefaults& defaults);

    obzx_pdk_4_4::CFiTraceLogPtr m_traceLog;
};

}  // namespace cdpfi
