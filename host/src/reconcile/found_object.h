#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"

namespace fictl {

enum class EObjectKind
{
    CHECKPOINT,
    IMAGE,
    COPY,       ///< a disk of this host that shows a time image
    RECORD,     ///< of the catalog
    PART_FILE,  ///< what is left of a file that was being written
    SCRIPT,     ///< of a provider's tool, in the temporary folder
};

/// Whose an object is.
enum class EObjectClass
{
    ORPHAN,     ///< this catalog's commands have made it for certain, and no record has it any more
    STALE,      ///< it says what is not so any more
    UNKNOWN,    ///< that cannot be told
    IN_FLIGHT,  ///< a command that runs is at work on it
    FOREIGN,    ///< nothing proves that it is this catalog's
    OWNED,      ///< a record has it
};

const char* kindText(EObjectKind kind);
const char* classText(EObjectClass klass);

/// Why an object has its class.
struct SEvidence
{
    const char* source;  ///< record, history, listing, disk, file or process
    std::string text;    ///< for people, printable
};

struct SFoundObject
{
    EObjectKind kind = EObjectKind::CHECKPOINT;
    EObjectClass klass = EObjectClass::UNKNOWN;
    GroupKey group{};      ///< empty for what is on this host alone, and for a record
    std::string name{};    ///< of a file or a copy its path
    std::string time{};    ///< as the appliance tells it, of a file when it was written; empty when that is not known
    std::string record{};  ///< the one that has it; empty when none has
    std::optional<int64_t> entry{};  ///< of the history, the one that proves something
    std::vector<SEvidence> evidence{};

    bool isSameAs(const SFoundObject& other) const
    {
        return kind == other.kind && group == other.group && name == other.name;
    }
    void add(const char* source, std::string text) { evidence.push_back({source, std::move(text)}); }
    /// All of it as one text.
    std::string evidenceText() const;
};

/// What could not be looked at: nothing is known of what it has.
struct SNotTold
{
    std::string appliance{};  ///< empty: all of them
    std::string group{};      ///< empty: the appliance as a whole
    std::string reason;
};

/// What a comparison has found.
struct SReconciliation
{
    std::vector<SFoundObject> objects{};  ///< what calls for something first
    std::vector<SNotTold> notTold{};

    size_t count(EObjectClass klass) const;
    /// Null when it is not among them.
    const SFoundObject* find(const SFoundObject& wanted) const;
    /// The image of a group's checkpoint; null when there is none.
    const SFoundObject* imageOf(const SFoundObject& checkpoint) const;
};

}  // namespace fictl
