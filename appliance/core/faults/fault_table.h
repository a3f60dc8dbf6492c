#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/store/layout.h"

namespace lumora {

/// What an armed fault does to the command that it strikes.
enum class EFault : uint8_t
{
    WATCH,        ///< nothing; the command is noted
    ERROR,        ///< refused, nothing happens
    SLOW,         ///< carried out after a while
    HANG,         ///< never answered, nothing happens
    GARBLE,       ///< carried out, the answer is noise
    CUT,          ///< carried out, the answer ends after some bytes
    LOST,         ///< carried out, but instead of the answer comes a failure
    KILL_BEFORE,  ///< the tool is killed before the effect
    KILL_AFTER,   ///< the tool is killed after the effect, before the answer
    HANG_AFTER,   ///< carried out, never answered
    TEAR          ///< the LUNs of an annotation are copied at different instants
};

std::string_view faultWord(EFault kind) noexcept;
/// Status malformed for a word that names none.
EFault parseFault(std::string_view word);

struct SStruckCommand
{
    std::string text;
    bool finished = false;  ///< it had its effect, or was refused, whatever became of the answer
};

struct SFault
{
    int64_t id = 0;
    EFault kind = EFault::ERROR;
    std::string match;         ///< strikes commands whose text holds this; empty: every command
    int64_t nth = 1;           ///< the first command that it strikes, counted from when it was armed
    int64_t times = 1;         ///< commands that it strikes from then on; 0: all
    int64_t milliseconds = 0;  ///< of slow: before the effect; of tear: between two LUNs
    int64_t bytes = 0;         ///< of cut: length of the answer
    int64_t seen = 0;          ///< commands that matched so far
    std::vector<SStruckCommand> struck;
};

/// A command under the faults that strike it.
struct SStrike
{
    SFault fault;              ///< what happens to it; kind watch when it is only noted
    std::vector<int64_t> ids;  ///< under which it was noted
};

/// The faults that are armed in a store, in a database of their own beside the appliances'. The first one that is armed
/// makes it, so that it appears whole; a store that never had any pays one look for the file a command. Any number of
/// tools may count at once. A command is counted before it is carried out, so that also one that is killed counts;
/// nothing here waits for stable storage, because faults need not outlive the machine.
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
    void noteEnd(const SStrike& strike) const;

  private:
    bool exists() const;
    void make() const;

    std::filesystem::path m_file;
    std::filesystem::path m_createLock;
};

}  // namespace lumora
