#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What an inspection found, as plain records; docs/inspector.md tells what each means. An empty optional
/// means that nobody told.
namespace cdpfi::inspect {

using CReason = std::optional<std::string>;  ///< one line for people; empty when all is well

struct SInspectOptions
{
    std::vector<std::string> appliances;  ///< to ask; empty: all
    std::vector<std::string> groups;      ///< to show; empty: all
    uint64_t timeout = 600;               ///< seconds for each command
    bool inventory = false;               ///< leave time images and what hosts are shown out
    bool raw = false;                     ///< keep the commands with their answers
};

struct SLine
{
    std::string file;
    long number = 0;  ///< from 1
    std::string text;
};

struct SReadFile
{
    std::string path;
    CReason problem;  ///< empty: it was read
};

struct SValue
{
    std::string name;  ///< section/key
    std::string value;
    std::optional<SLine> line;  ///< empty: the default
};

struct SConfiguredAppliance
{
    std::string name;
    std::optional<std::string> port;
    SLine line;
};

struct SConfiguration
{
    std::vector<SReadFile> files;
    std::vector<SValue> values;
    std::vector<SLine> unreadableLines;
    std::vector<SConfiguredAppliance> commented;  ///< named by a line that looks like a comment, and taken all the same
    std::vector<SConfiguredAppliance> appliances;  ///< in name order
};

/// A run of a tool.
struct SToolRun
{
    std::optional<std::string> appliance;  ///< empty: the disk utility's
    std::string command;                   ///< for people: single blanks, names in quotes
    std::optional<int> exitStatus;
    std::optional<int> signal;
    double seconds = 0;
    std::string output;
};

/// How the runs of a tool went, all in all.
struct SToolUse
{
    bool tried = false;
    bool answered = false;  ///< it ended by itself at least once
    double slowest = 0;     ///< seconds of the slowest of those runs
    CReason problem;        ///< of the first run that did not end by itself

    void add(const SToolUse& other);
};

struct STool
{
    std::string name;
    std::string path;
    bool exists = false;
    bool executable = false;
    SToolUse use;
    CReason problem;
};

struct SHostName
{
    std::optional<std::string> name;
    std::vector<std::string> furtherNames;
    CReason problem;
};

struct SDevice
{
    std::string path;
    std::string serial;
};

struct SDisks
{
    CReason problem;  ///< empty: the listing was read to its end
    std::vector<SDevice> devices;
};

struct SGroupLun
{
    std::string device;  ///< as the appliance names it
    std::string serial;
    std::optional<std::string> path;  ///< on this host
};

struct SImageLun
{
    std::string source;  ///< serial
    std::string target;  ///< serial
    std::optional<std::string> path;
};

struct SAnnotation
{
    std::string name;
    std::optional<std::string> time;
    std::optional<std::string> message;
};

struct SImage
{
    std::string name;
    CReason problem;  ///< empty: it was read
    std::optional<std::string> annotation;
    std::optional<std::string> created;
    std::optional<std::vector<std::string>> permissions;
    std::vector<SImageLun> luns;
};

struct SGroup
{
    std::string name;
    bool read = false;  ///< LUNs, permissions and annotations
    CReason problem;    ///< also of the images
    std::vector<SGroupLun> luns;
    std::optional<std::vector<std::string>> permissions;
    std::optional<std::vector<SAnnotation>> annotations;
    bool imagesRead = false;
    std::vector<SImage> images;
};

struct SHost
{
    std::string name;
    std::optional<std::vector<std::string>> luns;  ///< serials
};

struct SHostHere
{
    std::string name;
    bool byName = false;  ///< else by an address that both have
};

/// An answer with exit status 0 that is something else than what was asked for.
struct SNoListing
{
    std::string command;
    std::vector<std::string> lines;  ///< the first ones
};

struct SAppliance
{
    std::string name;
    bool reachable = false;
    CReason problem;
    std::vector<SNoListing> noListings;
    std::optional<SHostHere> hostHere;
    bool hostsRead = false;
    std::vector<SHost> hosts;
    bool groupsRead = false;
    std::vector<std::string> groupNames;  ///< all, also those that are not shown
    std::vector<SGroup> groups;
    SToolUse shell;
    std::vector<SToolRun> runs;  ///< only when they are to be kept
};

struct SPlace
{
    std::string appliance;
    std::string group;
};

struct SAmbiguousSerial
{
    std::string serial;
    std::string reason;
    std::vector<SPlace> places;
};

struct SUnlistableLun
{
    std::string serial;
    std::string reason;
};

struct SInspection
{
    std::string taken;  ///< UTC
    double seconds = 0;
    SConfiguration configuration;
    std::vector<STool> tools;
    size_t parallel = 0;  ///< how many runs of the tools there may be at once
    SHostName host;
    SDisks disks;
    std::vector<SAppliance> appliances;
    std::vector<SAmbiguousSerial> ambiguous;
    std::vector<SUnlistableLun> unlistable;
    std::optional<std::vector<SToolRun>> raw;
};

/// Looks at everything. Never fails for what it finds. @throw std::bad_alloc
SInspection inspect(const SInspectOptions& options);

}  // namespace cdpfi::inspect
