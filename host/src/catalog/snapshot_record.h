#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/src/catalog/labels.h"
#include "host/src/process/process_identity.h"
#include "host/src/provider/node_state.h"

namespace fictl {

/// What a catalog record says about its snapshot. The "-ing" states belong to a running fictl; once that process
/// is gone the record is shown as interrupted.
enum class EState
{
    CREATING,
    PARTIAL,
    FAILED,
    COMPLETE,
    IMPORTING,
    IMPORT_FAILED,
    IMPORTED,
    RELEASING,
    RELEASE_FAILED,
    DELETING,
    DELETE_FAILED,
};

/// Text of a state in the catalog; no state for a text that is none.
const char* stateText(EState state);
std::optional<EState> stateOf(const std::string& text);
/// Whether a running fictl holds a record in that state.
bool isOfProcess(EState state);
/// Every text that SSnapshot::shownState may give.
std::vector<std::string> shownStates();

/// Whether a device's consistency group has the snapshot's checkpoint.
enum class EMade
{
    NO = 0,
    YES = 1,
    UNKNOWN = 2,  ///< it was asked for, and the answer is not known
};

/// "yes", "no" or "unknown".
const char* madeText(EMade made);

/// A consistency group of an appliance.
using GroupKey = std::pair<std::string, std::string>;
std::string groupText(const GroupKey& group);  ///< `"group" of appliance "name"`

struct SDevice
{
    std::string source;  ///< device path on the host that made the snapshot
    std::string node;    ///< the provider's node
    std::string target;  ///< target-device name: what the copy is imported and disposed of by
    SNodeState state;    ///< appliance, group, checkpoint, serial
    EMade made = EMade::NO;
    std::string madeAt;        ///< when the appliance says that the checkpoint was made; empty when that is not known
    std::string importPath;    ///< device path of the copy on this host; empty when not imported
    std::string importSerial;  ///< serial of the LUN that it shows; empty when not known
    bool imageAsked = false;   ///< this catalog's fictl has asked for the group's time image, whatever became of it

    GroupKey group() const { return {state.applianceName, state.consistencyGroup}; }
    /// Its copy is not on this host any more.
    void forgetCopy()
    {
        importPath.clear();
        importSerial.clear();
        imageAsked = false;
    }
};

/// Origin of a record that was made of what is on the appliances, and not when the checkpoint was made.
constexpr const char* ORIGIN_ADOPTED = "adopted";

struct SSnapshot
{
    std::string name;
    EState state = EState::CREATING;
    std::string provider;
    std::string checkpoint;
    std::string created;  ///< UTC, ISO 8601
    std::string origin;   ///< "created", "received" or ORIGIN_ADOPTED
    std::string creator;  ///< who made it, "root (anna)@payroll"; empty when that is not known
    Labels labels;
    std::string note;        ///< empty when there is none
    std::string thaw;        ///< thaw command, while it may still have to run
    std::string message;     ///< why the last step failed; empty when it did not
    bool exported = false;   ///< another host may have the record, too
    SProcessIdentity owner;  ///< process at work on it, or the last one that was
    std::vector<SDevice> devices;

    /// Groups in the order in which the provider makes their checkpoints.
    std::set<GroupKey> groups() const;
    /// Groups whose checkpoint is there or may be there.
    std::set<GroupKey> groupsToDispose() const;
    /// Devices of one group, in the record's order; never empty for a group of the record.
    std::vector<SDevice*> devicesOf(const GroupKey& group);
    std::vector<const SDevice*> devicesOf(const GroupKey& group) const;
    /// Whether a copy of the group shows on this host, as far as the record knows.
    bool isImported(const GroupKey& group) const;
    /// Whether this catalog's fictl has asked for the group's time image.
    bool isImageAsked(const GroupKey& group) const;
    /// Whether another host may work with the snapshot, too: nobody knows what became of an earlier record of one that
    /// was adopted.
    bool isShared() const { return exported || origin == "received" || origin == ORIGIN_ADOPTED; }
    /// Whether every group has its checkpoint, as far as this catalog knows; its copies may be in any state.
    bool isWhole() const;
    /// Whether the process that was at work on it is gone.
    bool isInterrupted() const;
    /// Whether a living process is at work on it.
    bool isHeld() const;
    /// State for the user: the state's text, or the text that says it was interrupted.
    std::string shownState() const;
};

}  // namespace fictl
