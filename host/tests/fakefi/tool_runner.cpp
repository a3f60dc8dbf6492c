#include "host/tests/fakefi/tool_runner.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "framework/include/cfiexecpipe.h"
#include "framework/include/cfiplatformerror.h"

bool CToolRunner::run(const std::string& appliance, const std::string& command, std::vector<std::string>& lines) const
{
    const std::string folder = m_store.folder() + "scripts";
    std::filesystem::create_directories(folder);
    const std::string script = obzx_pdk_4_4::CFiPlatformError::getTempFileName(folder.c_str(), nullptr);
    std::ofstream(script) << "server " << appliance << '\n' << command << "\nexit\n";
    obzx_pdk_4_4::CFiExecPipePosix pipe(1);
    const int result = pipe.Exec('"' + m_store.toolPath(FAKEFI_TOOL) + '"', lines, script, m_store.limitSeconds(), "",
                                 "", "FAKEFI_HOST=" + std::to_string(getpid()));
    std::remove(script.c_str());
    return result == obzx_pdk_4_4::EXEC_OK;
}

bool CToolRunner::run(const std::string& appliance, const std::string& command) const
{
    std::vector<std::string> ignored;
    return run(appliance, command, ignored);
}
