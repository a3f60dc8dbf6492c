#include "providers/cdp/lmr/lmr_script.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "base/file_descriptor.h"
#include "base/file_size_signal.h"
#include "base/file_write.h"
#include "framework/include/cfiplatformerror.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

namespace {

std::string linesOf(const CString& server, const CString& command)
{
    std::string lines = "server ";
    return lines.append(bytesOf(server)).append("\n").append(bytesOf(command)).append("\nexit\n");
}

// Some file systems report with the closing of a file what they could not write of it.
bool writeAndClose(base::CFileDescriptor file, const std::string& text)
{
    const base::CFileSizeSignalHeld held;
    return base::writeWhole(file.get(), text) && ::close(file.release()) == 0;
}

}  // namespace

CLMRScript::CLMRScript(const CFiTraceLogPtr& traceLog)
{
    m_traceLog = traceLog;
}

bool CLMRScript::write(const CString& server, const CString& command)
{
    const std::string lines = linesOf(server, command);  // what fails for lack of memory leaves no file
    m_file = CFiPlatformError::getTempFileName(nullptr, nullptr);
    // The file is new and empty, and is not cut: some file systems write a file that was cut through to the disk as
    // soon as it is closed, and its removal then takes longer than the shell.
    base::CFileDescriptor file(::open(m_file.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file) {
        trace(TRACE_FAILURE, "Failed to open file [%s].", m_file);
        return true;
    }
    m_isWhole = writeAndClose(std::move(file), lines);
    if (m_isWhole) return true;
    trace(TRACE_FAILURE, "Failed to write file [%s].", m_file);
    remove();
    return false;
}

void CLMRScript::remove()
{
    if (!m_file.empty()) std::remove(m_file.c_str());
}

}  // namespace cdpfi
