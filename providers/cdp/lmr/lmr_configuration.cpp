#include "providers/cdp/lmr/lmr_configuration.h"

#include <string>

#include "pdk/include/cfipluginname.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiTraceLogFunction;

namespace {

constexpr const char* SECTION = "LMR_CLI_CONFIG";
constexpr int READ_ONLY = 1;

}  // namespace

CLMRConfiguration::CLMRConfiguration(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog)
    : CFiConfiguration(cfi_pgn_name_tstr), m_traceLog(traceLog)
{
}

SLMRCliPath CLMRConfiguration::importlmshPathInfo()
{
    const CFiTraceLogFunction tracer(m_traceLog, "importlmshPathInfo", __LINE__, __FILE__);
    return readTool("LMR_LMSH_PATH", "LMR_LMSH_NAME", {"/opt/QXPKlm/bin/", "lmsh"});
}

SLMRCliPath CLMRConfiguration::importkforUtilPathInfo()
{
    const CFiTraceLogFunction tracer(m_traceLog, "importkforUtilPathInfo", __LINE__, __FILE__);
    return readTool("LMR_KFORUTIL_PATH", "LMR_KFORUTIL_NAME", {"/usr/sbin/", "kforutil"});
}

SLMRCliPath CLMRConfiguration::readTool(const char* pathKey, const char* nameKey, const SDefaults& defaults)
{
    SLMRCliPath tool;
    bool pathMissing = true;
    bool nameMissing = true;
    try {
        ACE_Configuration_Section_Key section;
        if (openSection(SECTION, section, READ_ONLY) == 0) {
            pathMissing = getStringValue(pathKey, tool.path) != 0;
            nameMissing = getStringValue(nameKey, tool.name) != 0;
            if (!bytesOf(tool.path).ends_with('/')) assign(tool.path, std::string(bytesOf(tool.path)) + '/');
        }
    } catch (...) {  // a store that cannot be read is as good as one without the values
    }
    if (pathMissing) assign(tool.path, defaults.path);
    if (nameMissing) assign(tool.name, defaults.name);
    return tool;
}

}  // namespace cdpfi
