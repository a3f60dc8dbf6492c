#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace lumora {

/// An export of a storage daemon that is to be a file.
struct SNbdMount
{
    std::filesystem::path path;    ///< of the file
    std::filesystem::path socket;  ///< that the daemon serves NBD on
    std::string exportName;
    uint64_t size = 0;  ///< bytes
};

/// Whether the export is there as a file of its size. An empty file that waits for a mount is none.
bool isMounted(const std::filesystem::path& path, uint64_t size);

/// Mounts exports as files by nbdfuse, over nbdkit's filter that tries again: while the daemon is away, readers and
/// writers wait. Below the mount lies an empty file without any rights, so that nothing is written beside the mount.
/// What the programs have to say goes to `log`. Returns when all can be used; status storage when one cannot.
void mountAll(const std::vector<SNbdMount>& mounts, const std::filesystem::path& log);

/// Takes the mount back, also one that is in use: its users get errors from then on. Removes the empty file below; a
/// file with content is no mount's.
void unmount(const std::filesystem::path& path, const std::filesystem::path& log);

}  // namespace lumora
