#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/catalog/inventory.h"

namespace lumora {

/// The LUNs of a store with their data, and the appliance's own way to write to them.
class CLunData
{
  public:
    explicit CLunData(CStore& store) : m_store(store), m_inventory(store) {}

    /// A new LUN of `size` bytes that reads as zeros, or that begins with the content of `file`. Without a size it is
    /// as large as the file. Status malformed when there is neither, or the file is larger. Returns the LUN as stored.
    SLun create(const SAppliance& appliance, const std::string& group, const std::string& name,
                std::optional<uint64_t> size, const std::optional<std::filesystem::path>& file);
    /// Status in use while an annotation holds content of it.
    void remove(const SAppliance& appliance, const std::string& name);

    /// Where a host sees the LUN.
    std::filesystem::path path(const SAppliance& appliance, const SLun& lun) const;

    /// Gives the next bytes to write, at most `wanted`; an empty text ends the writing.
    using Source = std::function<std::string_view(uint64_t wanted)>;
    /// Takes the gate of the LUN's group, writes until `length` bytes or the end of the source, waits for stable
    /// storage and opens the gate. So an annotation holds all of one write or nothing of it. Returns the bytes written.
    /// Status malformed when the range is not inside the LUN; nothing is written then.
    uint64_t write(const SAppliance& appliance, const SLun& lun, uint64_t offset, uint64_t length,
                   const Source& source);
    /// Passes the bytes of the range to `sink` in order. Status malformed when the range is not inside the LUN.
    void read(const SAppliance& appliance, const SLun& lun, uint64_t offset, uint64_t length,
              const std::function<void(std::string_view)>& sink);

  private:
    // Both in the hands of whoever is alone with the LUNs of the appliance. Data without a row is of a command that was
    // disturbed: nobody is between the two.
    void collect(const SAppliance& appliance);
    std::vector<std::filesystem::path> strayData(const SAppliance& appliance);

    CStore& m_store;
    CInventory m_inventory;
};

}  // namespace lumora
