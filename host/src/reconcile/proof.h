#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// What the history says of an object that an appliance lists.
enum class EProof
{
    OURS,     ///< a command of this catalog has made this very one
    DOUBT,    ///< a command may have made it, or it is ours and another host may have it
    ANOTHER,  ///< ours of that name is another one, which is gone, or a command of another host made it
    NONE,     ///< nothing is said of it
};

struct SProof
{
    EProof proof = EProof::NONE;
    std::optional<int64_t> entry{};  ///< the one that says so
    std::string text{};              ///< why, for people
};

/**
 * What the history proves. An object is ours when an entry of this host is sure that it was made under this name in
 * this group, the appliance's own time of that object was entered then, the appliance lists it with the very same time
 * now, no later entry is sure that it was deleted, and no command has handed its record to another host.
 *
 * Both times are the appliance's own and of one object, so they have to agree to the letter, however its clock and this
 * host's differ and whatever became of either clock since.
 */
class CHistoryProof
{
  public:
    /// The history, oldest first, must outlive it. Doubt is why no proof is good enough; empty when there is none.
    CHistoryProof(const std::vector<SHistoryEntry>& history, std::string host, std::string doubt);

    /// @param kind checkpoint or image, as in the history; time as the appliance lists it, empty when it does not
    SProof of(const std::string& kind, const GroupKey& group, const std::string& name, const std::string& time) const;

  private:
    struct SEvent
    {
        const SHistoryEntry* entry;
        const SHistoryObject* object;
    };
    void enterCommand(const SHistoryEntry& entry);
    SProof judge(const SEvent& made, const std::string& time) const;
    const SHistoryEntry* exportAfter(const SEvent& creation) const;

    using Key = std::pair<GroupKey, std::string>;
    std::map<Key, std::vector<SEvent>> m_events;
    std::map<std::string, const SHistoryEntry*> m_exports;  // the last one of each snapshot
    std::multimap<std::string, std::string> m_adopted;      // checkpoint to the names that its record had, too
    std::string m_host;
    std::string m_doubt;
};

/// "entry 7 of the history (2026-01-31T12:00:00Z, fictl snapshot create nightly /dev/sdb)"
std::string entryText(const SHistoryEntry& entry);

}  // namespace fictl
