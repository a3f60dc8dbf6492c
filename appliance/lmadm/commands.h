#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "appliance/lmadm/options.h"

namespace lumora {

/// The commands of lmadm, with what the command line says of each. Each opens the store, does its work and prints its
/// document. They throw EApplianceError.

struct SNewAppliance
{
    std::string name;
    std::string engine;  ///< that keeps its content; empty: the one that the store names for new appliances
};
/// Makes the store when it is not there.
void createAppliance(const SOptions& options, const SNewAppliance& appliance);
void listAppliances(const SOptions& options);
void showAppliance(const SOptions& options, const std::string& name);
void deleteAppliance(const SOptions& options, const std::string& name);
/// Takes the appliance's devices back from this host and ends what runs for it; nothing is lost. The next command that
/// needs it starts it again.
void stopAppliance(const SOptions& options, const std::string& name);
struct SMigration
{
    std::string name;
    std::string engine;
};
/// Moves the data of the appliance's LUNs to another engine; nobody may write to them meanwhile.
void migrateAppliance(const SOptions& options, const SMigration& migration);
struct SKeeping
{
    std::string name;
    bool unlessStopped = false;
};
/// Keeps what runs for the appliance running until it is stopped.
void keepAppliance(const SOptions& options, const SKeeping& given);

void createHost(const SOptions& options, const std::string& name);
void listHosts(const SOptions& options);
void deleteHost(const SOptions& options, const std::string& name);

struct SHostSetup
{
    std::string root;   ///< folder that stands for "/" on the host
    std::string host;   ///< its name on the appliances
    std::string tools;  ///< folder of lmsh and kforutil; empty: the folder of the running program
};
/// Makes the files by which a host finds its appliances and tools, each replaced in one step:
///   <root>/etc/qz/appliance.conf   store and host name, for lmsh and kforutil
///   <root>/etc/qz/hls.conf         one RSURL line for each appliance of the store; other lines stay
///   <root>/etc/qz/cdpfi.conf       tool paths and host name of the provider; other settings stay
///   <root>/opt/QXPKlm/bin/lmsh     link to lmsh
/// Running it again brings them up to date. Status missing when no appliance knows the host, malformed when the tools
/// are not where they should be.
void setUpHost(const SOptions& options, const SHostSetup& setup);

void createGroup(const SOptions& options, const std::string& name);
void listGroups(const SOptions& options);
void showGroup(const SOptions& options, const std::string& name);
void deleteGroup(const SOptions& options, const std::string& name);

struct SNewLun
{
    std::string name;
    std::string group;
    std::string size;  ///< as parseSize reads it; empty: that of the file
    std::string file;  ///< whose content it begins with; empty: it reads as zeros
};
void createLun(const SOptions& options, const SNewLun& lun);
void listLuns(const SOptions& options);
void deleteLun(const SOptions& options, const std::string& name);

struct SPresentation
{
    std::string lun;
    std::string host;
};
void presentLun(const SOptions& options, const SPresentation& presentation);
void unpresentLun(const SOptions& options, const SPresentation& presentation);

struct SWrite
{
    std::string lun;
    std::string offset;
    std::string length;   ///< empty: to the end of the LUN, or all of the input
    std::string pattern;  ///< to repeat; either this or the input
    std::string input;    ///< regular file
};
void writeLun(const SOptions& options, const SWrite& write);

struct SRange
{
    std::string lun;
    std::string offset = "0";
    std::string length;  ///< empty: to the end of the LUN
};
/// The bytes as they are.
void readLun(const SOptions& options, const SRange& range);
void sumLun(const SOptions& options, const SRange& range);

struct SNewFault
{
    std::string kind;
    std::string match;
    int64_t nth = 1;
    int64_t times = 1;
    std::optional<double> seconds;
    std::optional<int64_t> bytes;
};
void armFault(const SOptions& options, const SNewFault& fault);
void listFaults(const SOptions& options);
void showFault(const SOptions& options, const int64_t& id);
/// The given ones, or all.
void clearFaults(const SOptions& options, const std::vector<int64_t>& ids);

struct SReplayRequest
{
    std::string conversation;  ///< file
    std::string tools;         ///< new folder
};
/// Makes the tools of a conversation; needs no store.
void replayConversation(const SOptions& options, const SReplayRequest& request);

struct SAnswerRequest
{
    std::string folder;              ///< of the tools
    std::vector<std::string> words;  ///< the command; empty: a script on standard input
};
/// What those tools do; gives the exit status of the tool.
int answerFromConversation(const SAnswerRequest& request);

/// Fills the store with the appliances that an inspector has told of; makes the store when it is not there.
void fillFromInspection(const SOptions& options, const std::string& file);

struct SWorkloadRun
{
    std::string group;
    std::string log;
    size_t writers = 4;
    uint64_t writes = 0;     ///< 0: until a signal comes
    bool isUngated = false;  ///< the writers take turns among themselves and leave the gate alone
};
void runWorkload(const SOptions& options, const SWorkloadRun& workload);

struct SWorkloadCheck
{
    std::string log;
    std::vector<std::string> images;  ///< LUN=FILE
};
void checkWorkload(const SOptions& options, const SWorkloadCheck& check);

}  // namespace lumora
