#include "host/src/commands/cli.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>

#include "framework/include/obzx_runtime.h"
#include "host/src/commands/answer.h"
#include "host/src/commands/commands.h"
#include "host/src/output/error.h"
#include "host/src/process/other_process.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

/// Where the options of a command line end up, and the command that was chosen.
struct SCommandLine
{
    std::string output = "table";
    std::string provider;
    bool verbose = false;
    long timeout = 0;

    std::string name;
    std::vector<std::string> devices;
    SCreateRequest create;
    long hookTimeout = 60;
    long maxFreeze = 60;
    std::string file;
    std::string input = "-";
    bool forget = false;
    bool evenIfInUse = false;
    bool force = false;

    std::function<SResult(const SContext&)> command;
};

std::string exitCodeText()
{
    std::string text = "Exit codes:\n";
    for (const SExitCode& code : exitCodes()) {
        const std::string number = std::to_string(static_cast<int>(code.code));
        text += std::string(4 - number.size(), ' ') + number + "  " + code.meaning + "\n";
    }
    return text;
}

CLI::App* add(CLI::App& parent, const char* name, const char* what)
{
    CLI::App* const command = parent.add_subcommand(name, what);
    // The options for every command may stand behind it too.
    command->fallthrough();
    return command;
}

void addName(CLI::App* command, SCommandLine& line)
{
    command->add_option("NAME", line.name, "Name of the snapshot")->required();
}

void addDoctor(CLI::App& app, SCommandLine& line)
{
    CLI::App* const doctor = add(app, "doctor", "Tell what is wrong with this host's set-up, and what to do about it");
    doctor->callback([&line] { line.command = [](const SContext& context) { return runDoctor(context); }; });
}

void addProviderAndDevice(CLI::App& app, SCommandLine& line)
{
    CLI::App* const provider = add(app, "provider", "Providers of snapshots");
    provider->require_subcommand(1);
    CLI::App* const show = add(*provider, "show", "Show the provider and its snapshot methods");
    show->callback([&line] { line.command = [](const SContext& context) { return showProvider(context); }; });

    CLI::App* const device = add(app, "device", "Devices of this host");
    device->require_subcommand(1);
    CLI::App* const list = add(*device, "list", "Show which devices the provider serves, and from which group");
    list->add_option("DEV", line.devices, "Device paths (all that the provider knows on this host)");
    list->callback(
        [&line] { line.command = [&line](const SContext& context) { return listDevices(context, line.devices); }; });
}

void addMaking(CLI::App& snapshot, SCommandLine& line)
{
    CLI::App* const create = add(snapshot, "create", "Take a snapshot of devices, all at one instant in each group");
    create->add_option("NAME", line.create.name, "Name of the new snapshot")->required();
    create->add_option("DEV", line.create.devices, "Device paths")->required();
    create->add_option("--freeze", line.create.hooks.freeze, "Command (sh -c) that quiets the application before");
    create->add_option("--thaw", line.create.hooks.thaw,
                       "Command that lets it go on; always runs once freeze has started");
    create->add_option("--hook-timeout", line.hookTimeout, "Seconds that each of the two may take (60)")
        ->check(CLI::Range(1L, 86400L));
    create->add_option("--max-freeze", line.maxFreeze, "Seconds after which the application is thawed in any case (60)")
        ->check(CLI::Range(1L, 86400L));
    create->callback([&line] {
        line.create.hooks.timeout = std::chrono::seconds(line.hookTimeout);
        line.create.hooks.maxFreeze = std::chrono::seconds(line.maxFreeze);
        line.command = [&line](const SContext& context) { return createSnapshot(context, line.create); };
    });

    CLI::App* const importing = add(snapshot, "import", "Make the copies of a snapshot show on this host");
    addName(importing, line);
    importing->callback(
        [&line] { line.command = [&line](const SContext& context) { return importSnapshot(context, line.name); }; });

    CLI::App* const release = add(snapshot, "release", "Give the copies on this host back; the checkpoints stay");
    addName(release, line);
    release->add_flag("--even-if-in-use", line.evenIfInUse, "Give back also a copy that a program works with");
    release->callback([&line] {
        line.command = [&line](const SContext& context) {
            return releaseSnapshot(context, line.name, line.evenIfInUse);
        };
    });

    CLI::App* const remove = add(snapshot, "delete", "Delete a snapshot, or what an interrupted one left behind");
    addName(remove, line);
    remove->add_flag("--forget", line.forget, "Drop the record only; ask the appliance for nothing");
    remove->add_flag("--even-if-in-use", line.evenIfInUse, "Delete also what another host or a program works with");
    remove->callback([&line] {
        line.command = [&line](const SContext& context) {
            return deleteSnapshot(context, {line.name, line.forget, line.evenIfInUse});
        };
    });
}

void addRecords(CLI::App& snapshot, SCommandLine& line)
{
    CLI::App* const list = add(snapshot, "list", "List the snapshots of this host's catalog");
    list->callback([&line] { line.command = [](const SContext&) { return listSnapshots(); }; });

    CLI::App* const show = add(snapshot, "show", "Show a snapshot's record");
    addName(show, line);
    show->callback([&line] { line.command = [&line](const SContext&) { return showSnapshot(line.name); }; });

    CLI::App* const exporting = add(snapshot, "export", "Write a snapshot's record for another host's catalog");
    addName(exporting, line);
    exporting->add_option("--file", line.file, "File to write (standard output)");
    exporting->add_flag("--force", line.force, "Replace a file that is there");
    exporting->callback([&line] {
        line.command = [&line](const SContext&) { return exportSnapshot(line.name, line.file, line.force); };
    });

    CLI::App* const receive = add(snapshot, "receive", "Enter a record that another host has written");
    receive->add_option("FILE", line.input, "File to read (-, standard input)");
    receive->callback(
        [&line] { line.command = [&line](const SContext& context) { return receiveSnapshot(context, line.input); }; });
}

void build(CLI::App& app, SCommandLine& line)
{
    app.require_subcommand(1);
    app.add_option("--output", line.output, "Form of standard output: table or json")
        ->check(CLI::IsMember({"table", "json"}));
    app.add_option("--provider", line.provider, "Name of the provider, or path of its library (cdpfi)");
    app.add_option("--timeout", line.timeout, "Seconds that each appliance command may take (as configured)")
        ->check(CLI::Range(1L, 86400L));
    app.add_flag("--verbose", line.verbose,
                 "Write a line for each step to standard error, also when it is no terminal");
    app.set_version_flag("--version", FICTL_VERSION, "Tell the version of fictl");
    app.footer(exitCodeText);
    addDoctor(app, line);
    addProviderAndDevice(app, line);
    CLI::App* const snapshot = add(app, "snapshot", "Snapshots and their records");
    snapshot->require_subcommand(1);
    addMaking(*snapshot, line);
    addRecords(*snapshot, line);
}

// What is wrong with the command line. Of a word that is no command the library says that a command is missing.
EFictl usageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> words = app.remaining(true);
    return {EExit::USAGE, words.empty() ? error.what() : "\"" + printable(words.front()) + "\" is not understood",
            "fictl --help"};
}

// The form that was asked for, as far as the command line was understood.
std::string outputOf(const CLI::App& app)
{
    const std::vector<std::string> given = app.get_option("--output")->results();
    return given.empty() ? std::string() : given.back();
}

SResult runCommand(SCommandLine& line)
{
    SContext context;
    context.provider = line.provider;
    context.progress = CProgress(line.verbose || isatty(STDERR_FILENO) == 1, std::make_shared<CHeartbeat>());
    context.timeout = std::chrono::seconds(line.timeout);
    obzx_set_run_limit(static_cast<uint64_t>(line.timeout));
    return line.command(context);
}

SResult versionResult(const std::string& version)
{
    return {{{"fictl", {{"version", version}}}}, "fictl " + version + "\n"};
}

/// What is left to do once a command line was read.
SResult parseAndRun(int argc, char** argv, SCommandLine& line)
{
    CLI::App app("fictl takes, lists, imports and deletes snapshots through a provider", "fictl");
    build(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        line.output = "table";
        return {{}, app.help()};
    } catch (const CLI::CallForVersion& version) {
        line.output = outputOf(app);
        return versionResult(version.what());
    } catch (const CLI::ParseError& error) {
        line.output = outputOf(app);
        throw usageError(app, error);
    }
    return runCommand(line);
}

CAnswer answerFor(const SCommandLine& line)
{
    return CAnswer(line.output == "json" ? CAnswer::EForm::JSON : CAnswer::EForm::TABLE);
}

}  // namespace

int runCommandLine(int argc, char** argv)
{
    SCommandLine line;
    try {
        const SResult result = parseAndRun(argc, argv, line);
        return answerFor(line).done(result);
    } catch (const SEndedElsewhere& ended) {
        return ended.exit;
    } catch (const EFictl& error) {
        return answerFor(line).failed(error);
    } catch (const std::exception& error) {
        return answerFor(line).failed(
            EFictl(EExit::INTERNAL, std::string("unexpected: ") + error.what(), "fictl snapshot list"));
    }
}

}  // namespace fictl
