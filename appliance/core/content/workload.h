#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/files/file_io.h"

namespace lumora {

/// Writes to the LUNs of one group in one order, such that the content of all the LUNs together tells how far in that
/// order they are. Every write fills whole sectors, and a sector's content is made from the number of the write, the
/// LUN and the sector's place, so that no two writes leave the same bytes anywhere.
struct SWorkloadWrite
{
    size_t lun = 0;  ///< index in the log's LUNs
    uint64_t sector = 0;
    uint64_t count = 0;  ///< sectors
};

struct SWorkloadLun
{
    std::string name;
    uint64_t bytes = 0;
};

constexpr size_t WORKLOAD_SECTOR = 512;

/// What write `number` leaves in one sector of a LUN: its number in the first 8 bytes, least significant first and
/// counted from 1, then noise that belongs to number, LUN and sector.
std::string workloadContent(uint64_t number, std::string_view lun, uint64_t sector);

/// The order of the writes, in a file: a line "lun NAME BYTES" for each LUN, then a line "INDEX SECTOR COUNT" a write.
class CWorkloadLog
{
  public:
    /// Makes the file; status exists when there is one.
    CWorkloadLog(const std::filesystem::path& file, const std::vector<SWorkloadLun>& luns);

    /// Enters a write and returns its number, from 1. The caller holds the gate of the group, so that the order of the
    /// log is that of the content; several threads may call.
    uint64_t enter(const SWorkloadWrite& write);
    uint64_t writes() const;

  private:
    void append(const std::string& text);

    std::filesystem::path m_path;
    base::CFileDescriptor m_file;
    mutable std::mutex m_mutex;
    uint64_t m_size = 0;
    uint64_t m_writes = 0;
};

/// A log as it was read; an unfinished last line does not count.
struct SWorkload
{
    std::vector<SWorkloadLun> luns;
    std::vector<SWorkloadWrite> writes;
};
/// Status malformed for a file that is no log.
SWorkload readWorkload(const std::filesystem::path& file);

/// Compares images of all the LUNs, by name, with the log: returns the number of writes of which they are the exact
/// outcome, every byte of every LUN. There is at most one such number. Status unexpected when there is none, with the
/// first sector that tells so; malformed when the images are not those of the log's LUNs.
uint64_t findPrefix(const SWorkload& workload, const std::map<std::string, std::filesystem::path>& images);

}  // namespace lumora
