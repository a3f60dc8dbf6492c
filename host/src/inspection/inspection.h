#pragma once

#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// Whether an object is on an appliance.
enum class EThere
{
    NO,
    YES,
    UNKNOWN,  ///< the appliance was not asked, did not answer, or does not tell
};

/// A LUN of a consistency group, or of a time image.
struct SInspectedLun
{
    std::string serial;  ///< of the LUN; in a time image of the LUN that the image shows it under
    std::string source;  ///< in a time image: serial of the LUN that it was made of
    std::string path;    ///< where it shows on this host; empty when it does not
    std::string device;  ///< of a group's LUN: what the appliance calls it; empty when that is not told
};

struct SInspectedImage
{
    std::string name;
    std::string created;                               ///< an instant in UTC; empty where that is not told
    std::optional<std::set<std::string>> permissions;  ///< hosts; nothing: the appliance does not tell
    std::vector<SInspectedLun> luns;
};

struct SInspectedGroup
{
    std::vector<SInspectedLun> luns;
    bool read = false;  ///< luns, permissions and annotations are what the appliance has
    std::optional<std::set<std::string>> permissions;
    /// Names, each with the instant at which it was made, "" where that is not told as an instant in UTC; nothing: the
    /// appliance does not tell.
    std::optional<std::map<std::string, std::string>> annotations;
    bool imagesRead = false;
    std::map<std::string, SInspectedImage> images;

    bool holds(const std::string& serial) const;
};

struct SInspectedAppliance
{
    bool reachable = false;
    std::string reason;  ///< why it could not be read as a whole; one line
    std::string host;    ///< name of the appliance's host that is this one; empty when there is none
    bool groupsRead = false;
    std::map<std::string, SInspectedGroup> groups;
};

/// How many runs of tools there may be at once where nobody tells, and the most there ever are.
constexpr size_t USUAL_PARALLEL = 8;
constexpr size_t MOST_PARALLEL = 64;

struct SAmbiguousLun
{
    std::string serial;
    std::string reason;
};

/**
 * What a provider's inspector found on the appliances: the parts of its document (docs/inspector.md) that fictl uses.
 * What is not told is unknown, never absent.
 */
struct SInspection
{
    bool disksRead = false;
    std::map<std::string, std::string> disks;  ///< device path on this host to LUN serial
    std::map<std::string, SInspectedAppliance> appliances;
    std::vector<SAmbiguousLun> ambiguous;
    std::map<std::string, std::string> unlistable;   ///< serial of a LUN whose copy could not be imported: why
    size_t parallel = USUAL_PARALLEL;                ///< how many runs of the provider's tools there may be at once
    std::shared_ptr<const nlohmann::json> document;  ///< all of it; never null in one that was read

    /// Null when the inspection tells nothing of it.
    const SInspectedAppliance* appliance(const std::string& name) const;
    const SInspectedGroup* group(const GroupKey& key) const;
    const SInspectedImage* image(const GroupKey& key, const std::string& name) const;

    EThere hasGroup(const GroupKey& key) const;
    EThere hasLun(const GroupKey& key, const std::string& serial) const;
    /// Of a group that is not listed nothing is known: it may have got another name and kept what it has, or the list
    /// may have lost its end.
    EThere hasCheckpoint(const GroupKey& key, const std::string& name) const;
    /// When the group's checkpoint of that name was made, as the appliance writes it; "" when that is not known.
    std::string checkpointTime(const GroupKey& key, const std::string& name) const;
    /// Whether the checkpoint of the device's group is there and is for certain another one of the same name: names are
    /// made from process ids, which come again, and tell nothing of what became of the first one.
    bool hasReplacedCheckpoint(const SDevice& device) const;
    EThere hasImage(const GroupKey& key, const std::string& name) const;
    /// Hosts that an image is granted to, by itself or with its whole group; nothing when that is not told.
    std::optional<std::set<std::string>> hostsOfImage(const GroupKey& key, const std::string& name) const;
    /// Whether an image is granted to this host.
    EThere isGrantedHere(const GroupKey& key, const std::string& name) const;
    /// Whether a device path shows a LUN.
    EThere shows(const std::string& path, const std::string& serial) const;
    /// True when a device path shows a LUN, and for certain not this one.
    bool showsAnother(const std::string& path, const std::string& serial) const;

    /// A LUN that several groups seem to hold, so that no snapshot can be taken of it; null for any other.
    const SAmbiguousLun* ambiguity(const std::string& serial) const;
    /// Why nothing certain is known of a group; empty when it was read as a whole.
    std::string doubt(const GroupKey& key) const;

    /// Nothing when the document is not one of an inspector, or of a version that this fictl does not read.
    static std::optional<SInspection> read(const std::string& text, std::string& reason);
};

}  // namespace fictl
