#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace obzx_pdk_4_4 {

/// Where trace lines go, and how much of them is kept.
struct STraceFileSettings
{
    std::string path;
    size_t maxSize = size_t{10} * 1024 * 1024;  ///< bytes of one file
    size_t maxFiles = 5;                        ///< older files that are kept
};

/**
 * A rotated trace file, and its folder, that only this user can read. Nothing here throws or reports: a file that
 * cannot be opened or written drops lines until it can be again. Any thread may write; lines are whole.
 */
class CTraceFile
{
  public:
    explicit CTraceFile(STraceFileSettings settings);
    ~CTraceFile();
    CTraceFile(const CTraceFile&) = delete;
    CTraceFile& operator=(const CTraceFile&) = delete;

    void write(int32_t level, std::string_view component, std::string_view text) noexcept;

  private:
    struct SSink;

    bool open();
    bool isLimited();

    const STraceFileSettings m_settings;
    std::mutex m_mutex;
    std::unique_ptr<SSink> m_sink;  // null: the file could not be opened or written
    int64_t m_retryTime = 0;        // seconds of the monotonic clock
    int64_t m_limitTime = -1;       // the same, when the limit was looked at
    bool m_isLimited = true;        // files of this process may become too large
};

}  // namespace obzx_pdk_4_4
