#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/catalog/inventory.h"
#include "appliance/core/engines/engine.h"

namespace lumora {

/// A LUN as engines see it.
SVolume volumeOf(const SLun& lun);

/// The LUNs of an appliance with their data, and the appliance's own way to write to them.
class CLunData
{
  public:
    /// Status unusable when the engine of the appliance is unknown or cannot work. `store` must outlive it.
    CLunData(CStore& store, const SAppliance& appliance);

    /// A new LUN of `size` bytes that reads as zeros, or that begins with the content of `file`. Without a size it is
    /// as large as the file. Status malformed when there is neither, or the file is larger. Returns the LUN as stored.
    SLun create(const std::string& group, const std::string& name, std::optional<uint64_t> size,
                const std::optional<std::filesystem::path>& file);
    /// Status in use while an annotation holds content of it.
    void remove(const std::string& name);

    /// Where a host sees the LUN.
    std::filesystem::path path(const SLun& lun) const;
    /// Makes LUNs usable at their paths on this host.
    void attach(const std::vector<SLun>& luns);

    /// Gives the next bytes to write, at most `wanted`; an empty text ends the writing.
    using Source = std::function<std::string_view(uint64_t wanted)>;
    /// Takes the gate of the LUN's group, writes until `length` bytes or the end of the source, waits for stable
    /// storage and opens the gate. So an annotation holds all of one write or nothing of it. Returns the bytes written.
    /// Status malformed when the range is not inside the LUN; nothing is written then.
    uint64_t write(const SLun& lun, uint64_t offset, uint64_t length, const Source& source);
    /// The same with the gate left alone and without waiting for stable storage, as any program writes that opens the
    /// LUN by itself.
    uint64_t writeUngated(const SLun& lun, uint64_t offset, uint64_t length, const Source& source);
    /// Passes the bytes of the range to `sink` in order. Status malformed when the range is not inside the LUN.
    void read(const SLun& lun, uint64_t offset, uint64_t length, const std::function<void(std::string_view)>& sink);

  private:
    // In the hands of whoever is alone with the LUNs of the appliance. Data without a row is of a command that was
    // disturbed: nobody is between the two.
    void collect();
    std::vector<SVolume> listed();

    CStore& m_store;
    const SAppliance m_appliance;
    const std::unique_ptr<CBaseStorageEngine> m_engine;
    CInventory m_inventory;
};

}  // namespace lumora
