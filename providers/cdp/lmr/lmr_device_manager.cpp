#include "providers/cdp/lmr/lmr_device_manager.h"

#include <algorithm>
#include <array>

#include "framework/include/cfistringtool.h"
#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_commands.h"
#include "providers/cdp/lmr/lmr_read_ahead.h"
#include "providers/cdp/model/base_claimant.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

namespace {

constexpr unsigned long TIME_OUT_SECONDS = 600;
constexpr size_t LINES_WITHOUT_DISKS = 2;
// Of what cannot be read: enough to see what it is.
constexpr size_t MOST_LINES_TRACED = 1000;
constexpr size_t MOST_TOKENS_TRACED = 100;

}  // namespace

void CLMRDeviceManager::rescan()
{
    const CFiTraceLogFunction tracer(m_traceLog, "rescan", __LINE__, __FILE__);
    const std::string commandLine = lmr_utility::discover(m_utility.program());
    CFiExecPipePosix pipe(1);
    CFiOutputText output;
    const int result = runUtility(pipe, commandLine, output);
    if (result == EXEC_OK) return;
    if (result == EXEC_FAILED) {
        // "%l" takes no argument: the line shows it as it stands.
        trace(TRACE_FAILURE, "CLMRDeviceManager::rescan - CLI Command [%s] failed with error [%l].", commandLine);
    }
    traceOutput(output);
}

void CLMRDeviceManager::refresh(bool discover)
{
    const CFiTraceLogFunction tracer(m_traceLog, "refresh", __LINE__, __FILE__);
    if (discover) rescan();
    const std::string commandLine = lmr_utility::listDisks(m_utility.program());
    CFiExecPipePosix pipe(1);
    CFiOutputText output;
    const int result = runUtility(pipe, commandLine, output);
    if (result != EXEC_OK) {
        if (result == EXEC_FAILED) {
            // "%l" takes no argument: the line shows it as it stands.
            trace(TRACE_FAILURE, "CLMRDeviceManager::refresh - CLI Command [%s] failed with error [%l].", commandLine);
        }
        traceOutput(output);
        SFiExecError error = pipe.getError();
        if (result == EXEC_TOO_LONG) error.message += "; " + howToRaise(error.bound);
        throw EDiskListing(m_utility.program(), error);
    }
    const std::lock_guard<std::mutex> lock(m_lunMapLock);
    const size_t count = output.countLines();
    if (count <= LINES_WITHOUT_DISKS) {
        trace(TRACE_INFO, "CLMRDeviceManager::refresh - No device ID information found");
        m_lunMap.clear();
        return;
    }
    m_lunMap.reserve(count);
    readListing(output);
}

CString CLMRDeviceManager::serialOf(const CString& path)
{
    const std::lock_guard<std::mutex> lock(m_lunMapLock);
    return m_lunMap.serialOf(path);
}

bool CLMRDeviceManager::firstPathOf(const CString& serial, CString& path)
{
    const std::lock_guard<std::mutex> lock(m_lunMapLock);
    const CString* found = m_lunMap.firstPathOf(serial);
    if (found == nullptr) return false;
    assign(path, *found);
    return true;
}

int CLMRDeviceManager::runUtility(CFiExecPipePosix& pipe, const std::string& commandLine, CFiOutputText& output)
{
    // A rescan uses the words of the refresh that it belongs to.
    trace(TRACE_INFO, "CLMRDeviceManager::refresh - Command going to execute is :[%s]", commandLine);
    pipe.registerTraceLog(m_traceLog);
    pipe.setBounds(m_bounds.ofOutput());
    const std::optional<int> begun = CLMRReadAhead::answer(commandLine, pipe, output);
    const int result = begun ? *begun : pipe.Exec(commandLine, output, "", TIME_OUT_SECONDS, "", "", "");
    if (isTraceEnabled(TRACE_INFO)) {
        trace(TRACE_INFO, "CLMRDeviceManager::refresh - kforutil : command returned [%d] lines .", output.countLines());
    }
    if (result == EXEC_TOO_LONG) {
        trace(TRACE_FAILURE, "CLMRDeviceManager::refresh - The answer counts as none: %s; %s.", pipe.getError().message,
              howToRaise(pipe.getError().bound));
    }
    return result;
}

void CLMRDeviceManager::traceOutput(CFiOutputText& output) const
{
    std::array<std::string_view, 1> line;
    for (size_t count = 0; count < MOST_LINES_TRACED && output.takeLines(line) > 0; ++count) {
        trace(TRACE_FAILURE, "CLIDATA: [%s]", line[0]);
    }
    const size_t left = output.countLines();
    if (left > 0) trace(TRACE_FAILURE, "CLMRDeviceManager::refresh - [%d] lines more are not shown.", left);
}

void CLMRDeviceManager::readListing(CFiOutputText& output)
{
    // Lines are read in batches: by the time the last line of one is parsed, the memory of the table that its first
    // disk needs has been prefetched. Of a larger batch the first would have left the caches again.
    constexpr size_t AT_ONCE = 16;
    CLMRDiskListing listing;
    std::array<std::string_view, AT_ONCE> lines;
    std::vector<SLMRDisk> disks;
    disks.reserve(AT_ONCE);
    while (const size_t count = output.takeLines(lines)) {
        const bool complete = readDisks(listing, std::span(lines).first(count), disks);
        for (const SLMRDisk& disk : disks) {
            m_lunMap.set(disk.path, disk.serial);
        }
        if (!complete) return;
    }
}

/// False when the reading ends at one of the lines; the disks are those before it.
bool CLMRDeviceManager::readDisks(CLMRDiskListing& listing, std::span<const std::string_view> lines,
                                  std::vector<SLMRDisk>& disks) const
{
    disks.clear();
    for (const std::string_view line : lines) {
        trace(TRACE_INFO, "CLMRDeviceManager::refresh parsing line = %s", line);
        SLMRDisk disk;
        const EDiskLine kind = listing.read(line, disk);
        if (kind == EDiskLine::TOO_FEW_FIELDS) {
            traceFields(line);
            return false;
        }
        if (kind == EDiskLine::HEADING) continue;
        trace(TRACE_INFO, "CLMRDeviceManager::refresh found device path = [%s]", disk.path);
        if (kind == EDiskLine::BAD_GROUPS) {
            traceGroups(line);
            return false;
        }
        m_lunMap.prefetch(disk.path);
        disks.push_back(disk);
    }
    return true;
}

void CLMRDeviceManager::traceFields(std::string_view line) const
{
    const std::vector<std::string> fields = CFiStringTool::tokenize(line, "\t \n");
    trace(TRACE_FAILURE,
          "CLMRDeviceManager::refresh - invalid format for lun parser. Found [%d] tokens in line  [%s] found",
          fields.size(), line);
    for (size_t i = 0; i < std::min(fields.size(), MOST_TOKENS_TRACED); ++i) {
        trace(TRACE_FAILURE, "CLMRDeviceManager::refresh - token[%d] = [%s]", i, fields[i]);
    }
}

void CLMRDeviceManager::traceGroups(std::string_view line) const
{
    trace(TRACE_FAILURE, "CLMRDeviceManager::refresh - invalid format for lun parser [%s]", line);
    const std::vector<std::string> groups = CFiStringTool::tokenize(line, "(\n");
    for (size_t i = 0; i < std::min(groups.size(), MOST_TOKENS_TRACED); ++i) {
        trace(TRACE_FAILURE, "CLMRDeviceManager::refresh - token[%d] = [%s]", i, groups[i]);
    }
}

}  // namespace cdpfi
