#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "appliance/core/faults/fault_kinds.h"
#include "appliance/core/store/layout.h"

namespace lumora {

/// What strikes one command.
struct SStrike
{
    SFault fault;              ///< what happens to it; of a kind that does nothing when it is only noted
    std::vector<int64_t> ids;  ///< of the notes about the command, one for each fault that it was noted under
};

/// The faults that are armed in a store, in a database of their own beside the appliances'. The first one that is armed
/// makes it, so that it appears whole. A tool that works on a store that never had any only finds that the file is not
/// there. Any number of tools may count at once. A command is counted before it is carried out, so that also one that
/// is killed counts; nothing here waits for stable storage, because faults need not outlive the machine.
class CFaultTable
{
  public:
    explicit CFaultTable(const SLayout& layout) : m_file(layout.faults()), m_createLock(layout.createLock()) {}

    /// Returns it with its id.
    SFault arm(SFault fault) const;
    std::vector<SFault> list() const;
    /// Status missing when there is none of that id.
    SFault get(int64_t id) const;
    /// One id at least. All of them or, when one is missing, none.
    void clear(const std::vector<int64_t>& ids) const;
    /// Returns how many there were.
    size_t clearAll() const;

    /// Counts a command; gives what strikes it, the oldest fault if there are several. Nothing when none does.
    std::optional<SStrike> strike(const std::string& command) const;
    /// Notes that a command which was struck had its effect, or was refused.
    void noteEnd(const SStrike& strike) const;

  private:
    bool exists() const;
    void make() const;

    std::filesystem::path m_file;
    std::filesystem::path m_createLock;
};

}  // namespace lumora
