#include "providers/cdp/inspect/tool_section.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfiplatformerror.h"
#include "providers/cdp/lmr/lmr_configuration.h"

namespace cdpfi::inspect {

namespace {

STool describe(const char* name, const std::string& path, const SToolUse& use)
{
    STool tool{name, path, false, false, use, {}};
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        tool.problem = obzx_pdk_4_4::CFiPlatformError::errorText(errno);
        return tool;
    }
    tool.exists = true;
    if (!S_ISREG(status.st_mode)) {
        tool.problem = "not a regular file";
    } else if (access(path.c_str(), X_OK) != 0) {
        tool.problem = obzx_pdk_4_4::CFiPlatformError::errorText(errno);
    } else {
        tool.executable = true;
        if (!use.answered) tool.problem = use.problem;
    }
    return tool;
}

}  // namespace

std::vector<STool> describeTools(const CToolRunner& runner, const SToolUse& shell, const SToolUse& utility)
{
    return {describe("lmsh", runner.shellPath(), shell),
            describe("lmsh-fixed", obzx_pdk_4_4::placePath(fixedShellPath()), {}),
            describe("kforutil", runner.utilityPath(), utility)};
}

}  // namespace cdpfi::inspect
