#include "providers/cdp/lmr/lmr_configuration.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "pdk/include/cfipluginname.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiTraceLogFunction;

namespace {

constexpr int READ_ONLY = 1;

}  // namespace

CLMRConfiguration::CLMRConfiguration(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog)
    : CFiConfiguration(cfi_pgn_name_tstr), m_traceLog(traceLog)
{
}

SLMRCliPath CLMRConfiguration::importlmshPathInfo()
{
    const CFiTraceLogFunction tracer(m_traceLog, "importlmshPathInfo", __LINE__, __FILE__);
    return readTool(LMR_SHELL);
}

SLMRCliPath CLMRConfiguration::importkforUtilPathInfo()
{
    const CFiTraceLogFunction tracer(m_traceLog, "importkforUtilPathInfo", __LINE__, __FILE__);
    return readTool(LMR_DISK_UTILITY);
}

unsigned CLMRConfiguration::importMaxParallel()
{
    const CFiTraceLogFunction tracer(m_traceLog, "importMaxParallel", __LINE__, __FILE__);
    const long count = readNumber(LMR_MAX_PARALLEL, LMR_DEFAULT_PARALLEL);
    return static_cast<unsigned>(std::clamp(count, 1L, LMR_MOST_PARALLEL));
}

SLMRAnswerBounds CLMRConfiguration::importAnswerBounds()
{
    const auto bound = [this](const SLMRBoundSetting& setting) {
        return static_cast<size_t>(std::max(readNumber(setting.key, setting.byDefault), setting.least));
    };
    return {.bytes = bound(LMR_MAX_ANSWER_SIZE),
            .lines = bound(LMR_MAX_ANSWER_LINES),
            .lineLength = bound(LMR_MAX_LINE_LENGTH),
            .inventory = bound(LMR_MAX_INVENTORY_SIZE),
            .names = bound(LMR_MAX_NAMES),
            .repeatedNames = bound(LMR_MAX_REPEATED_NAMES)};
}

long CLMRConfiguration::readNumber(const char* key, long byDefault)
{
    long number = byDefault;
    try {
        ACE_Configuration_Section_Key section;
        if (openSection(LMR_TOOL_SECTION, section, READ_ONLY) == 0) getIntegerValue(key, number);
    } catch (...) {
        // A store that cannot be read is as good as one without the value.
    }
    return number;
}

SLMRCliPath CLMRConfiguration::readTool(const SLMRToolSetting& setting)
{
    SLMRCliPath tool;
    bool pathMissing = true;
    bool nameMissing = true;
    try {
        ACE_Configuration_Section_Key section;
        if (openSection(LMR_TOOL_SECTION, section, READ_ONLY) == 0) {
            pathMissing = getStringValue(setting.pathKey, tool.path) != 0;
            nameMissing = getStringValue(setting.nameKey, tool.name) != 0;
            if (!bytesOf(tool.path).ends_with('/')) assign(tool.path, std::string(bytesOf(tool.path)) + '/');
        }
    } catch (...) {
        // A store that cannot be read is as good as one without the values.
    }
    if (pathMissing) assign(tool.path, std::string_view(setting.path));
    if (nameMissing) assign(tool.name, std::string_view(setting.name));
    return tool;
}

}  // namespace cdpfi
