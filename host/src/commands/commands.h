#pragma once

#include "host/src/commands/command.h"

namespace fictl {

/// One command: where it stands on the command line, and how its options are declared. What declare returns runs it,
/// and owns what the options were read into.
struct SCommand
{
    const char* group;  ///< the word before its name; empty for a command that stands alone
    const char* name;
    const char* help;
    CommandRun (*declare)(COptions& options);
    bool isChange;             ///< changes something, and is an entry of the history
    bool canBeDry = false;     ///< can tell what it would do, without doing it
    const char* ownForm = "";  ///< of its output, beside the forms of every command; empty: it has none
};

/// A word that commands stand behind.
struct SCommandGroup
{
    const char* name;
    const char* help;
};

// One source for each, or for two that show the same.
CommandRun declareDoctor(COptions& options);
CommandRun declareProviderShow(COptions& options);
CommandRun declareProviderCheck(COptions& options);
CommandRun declareDeviceList(COptions& options);
CommandRun declareCreate(COptions& options);
CommandRun declareImport(COptions& options);
CommandRun declareRelease(COptions& options);
CommandRun declareDelete(COptions& options);
CommandRun declarePrune(COptions& options);
CommandRun declareList(COptions& options);
CommandRun declareShow(COptions& options);
CommandRun declareDiff(COptions& options);
CommandRun declareLabel(COptions& options);
CommandRun declareExport(COptions& options);
CommandRun declareReceive(COptions& options);
CommandRun declareCatalogCheck(COptions& options);
CommandRun declareHistory(COptions& options);
CommandRun declareStatus(COptions& options);
CommandRun declareSupportBundle(COptions& options);
CommandRun declareReconcile(COptions& options);
CommandRun declareReport(COptions& options);
CommandRun declareCompletion(COptions& options);

/// Every group and every command, in the order of --help.
inline constexpr SCommandGroup COMMAND_GROUPS[] = {
    {"provider", "Providers of snapshots"},
    {"device", "Devices of this host"},
    {"snapshot", "Snapshots and their records"},
    {"catalog", "The catalog of this host's snapshots"},
};
inline constexpr SCommand COMMANDS[] = {
    {"", "status", "Tell what there is, what needs a look, and how the jobs do", declareStatus, false, false,
     "openmetrics"},
    {"", "doctor", "Tell what is wrong with this host's set-up, and what to do about it", declareDoctor, false},
    {"", "history", "Show which commands changed something, and what became of them", declareHistory, false},
    {"", "support-bundle", "Collect what tells what is wrong here, for somebody else to look at", declareSupportBundle,
     false},
    {"", "reconcile", "Tell whose the checkpoints, images, copies, records and left files are", declareReconcile, true},
    {"", "report", "Draw the snapshots over time, as one page for a browser", declareReport, false},
    {"", "completion", "Write what completes fictl's command lines in a shell", declareCompletion, false},
    {"provider", "show", "Show the provider and its snapshot methods", declareProviderShow, false},
    {"provider", "check", "Check any provider against the host interface, in processes of its own",
     declareProviderCheck, false},
    {"device", "list", "Show which devices the provider serves, and from which group", declareDeviceList, false},
    {"snapshot", "create", "Take a snapshot of devices, all at one instant in each group", declareCreate, true, true},
    {"snapshot", "import", "Make the copies of a snapshot show on this host", declareImport, true, true},
    {"snapshot", "release", "Give the copies on this host back; the checkpoints stay", declareRelease, true, true},
    {"snapshot", "delete", "Delete a snapshot, or what an interrupted one left behind", declareDelete, true, true},
    // Each of its deletions is a further entry.
    {"snapshot", "prune", "Delete the snapshots that no rule keeps", declarePrune, true, true},
    {"snapshot", "list", "List the snapshots of this host's catalog", declareList, false, false, "name"},
    {"snapshot", "show", "Show a snapshot's record", declareShow, false},
    {"snapshot", "diff", "Tell in what two snapshots differ", declareDiff, false},
    {"snapshot", "label", "Change a snapshot's labels and its note", declareLabel, true},
    {"snapshot", "export", "Write a snapshot's record for another host's catalog", declareExport, true},
    {"snapshot", "receive", "Enter a record that another host has written", declareReceive, true},
    {"catalog", "check", "Tell what of the catalog cannot be read, row by row", declareCatalogCheck, false},
};

}  // namespace fictl
