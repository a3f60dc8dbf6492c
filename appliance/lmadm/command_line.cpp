#include "appliance/lmadm/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/table/engine_table.h"
#include "appliance/core/faults/fault_kinds.h"
#include "appliance/lmadm/commands.h"

namespace lumora {

namespace {

constexpr const char* FOOTER =
    "Exit status: 0 done, 2 wrong usage or an unusable name, 3 an object does not exist, 4 an object exists\n"
    "already, 5 an object is in use, 6 storage failure, 7 store or configuration unusable, 1 anything else.";

constexpr int64_t MOST = int64_t{1} << 40U;

void requireStore(const SOptions& options)
{
    if (options.store.empty()) throw EApplianceError(EStatus::MALFORMED, "--store is required");
}

// A command and what the line says for it, which its options fill.
template <class Request>
struct SAdded
{
    CLI::App& command;
    Request& request;
};

template <class Request>
SAdded<Request> add(CLI::App& parent, const SOptions& options, const char* word, const char* description,
                    void (*run)(const SOptions&, const Request&))
{
    CLI::App* const command = parent.add_subcommand(word, description);
    const auto request = std::make_shared<Request>();
    command->callback([request, run, &options] {
        requireStore(options);
        run(options, *request);
    });
    return {*command, *request};
}

void add(CLI::App& parent, const SOptions& options, const char* word, const char* description,
         void (*run)(const SOptions&))
{
    parent.add_subcommand(word, description)->callback([run, &options] {
        requireStore(options);
        run(options);
    });
}

// A command with one name as its argument.
void addNamed(CLI::App& parent, const SOptions& options, const char* word, const char* description,
              const char* argument, void (*run)(const SOptions&, const std::string&))
{
    const auto [command, name] = add(parent, options, word, description, run);
    command.add_option("name", name, argument)->required();
}

// A word that asks for one of its commands.
CLI::App& addParent(CLI::App& app, const char* word, const char* description)
{
    return *app.add_subcommand(word, description)->require_subcommand(1);
}

void addApplianceCommands(CLI::App& app, const SOptions& options)
{
    constexpr const char* NAME = "Name of the appliance";
    CLI::App& parent = addParent(app, "appliance", "Create, list, show, move, stop and delete appliances");
    const auto [create, given] =
        add(parent, options, "create", "Create an appliance; makes the store when it is not there", createAppliance);
    create.add_option("name", given.name, NAME)->required();
    create.add_option("--engine", given.engine, "What keeps its content: " + engineNames() + " (default: files)")
        ->envname("LMADM_ENGINE");
    add(parent, options, "list", "List the appliances of the store", listAppliances);
    addNamed(parent, options, "show", "Show an appliance with its hosts and groups", NAME, showAppliance);
    addNamed(parent, options, "delete", "Delete an appliance that has no groups and hosts any more", NAME,
             deleteAppliance);
    const auto [migrate, moved] =
        add(parent, options, "migrate", "Move the data of the LUNs to another engine", migrateAppliance);
    migrate.add_option("name", moved.name, NAME)->required();
    migrate.add_option("--engine", moved.engine, "What keeps it then: " + engineNames())->required();
    addNamed(parent, options, "stop", "Detach the devices from this host and end what runs for the appliance", NAME,
             stopAppliance);
    const auto [keep, kept] =
        add(parent, options, "keep", "Keep what runs for the appliance running, until it is stopped", keepAppliance);
    keep.add_option("name", kept.name, NAME)->required();
    keep.add_flag("--unless-stopped", kept.unlessStopped, "End at once where it is stopped already");
}

void addHostCommands(CLI::App& app, const SOptions& options)
{
    constexpr const char* NAME = "Name of the host";
    CLI::App& parent = addParent(app, "host", "Create, list, set up and delete hosts");
    addNamed(parent, options, "create", "Make a host known to the appliance", NAME, createHost);
    add(parent, options, "list", "List the hosts that the appliance knows", listHosts);
    addNamed(parent, options, "delete", "Delete a host that has no LUNs and permissions any more", NAME, deleteHost);
    const auto [setup, given] =
        add(parent, options, "setup",
            "Write the configuration of a host: which store it uses, its appliances and its tools", setUpHost);
    setup.add_option("--root", given.root, "Folder that stands for / on the host")->required();
    setup.add_option("--host", given.host, "Name that the appliances know the host by")->required();
    setup.add_option("--tools", given.tools, "Folder of lmsh and kforutil (default: where lmadm is)");
}

void addGroupCommands(CLI::App& app, const SOptions& options)
{
    constexpr const char* NAME = "Name of the group";
    CLI::App& parent = addParent(app, "group", "Create, list, show and delete consistency groups");
    addNamed(parent, options, "create", "Create a consistency group", NAME, createGroup);
    add(parent, options, "list", "List the consistency groups", listGroups);
    addNamed(parent, options, "show", "Show a group with its LUNs, annotations and time images", NAME, showGroup);
    addNamed(parent, options, "delete", "Delete an empty group", NAME, deleteGroup);
}

void addPresentation(CLI::App& parent, const SOptions& options, const char* word, const char* description,
                     void (*run)(const SOptions&, const SPresentation&))
{
    const auto [command, given] = add(parent, options, word, description, run);
    command.add_option("lun", given.lun, "Name of the LUN")->required();
    command.add_option("host", given.host, "Name of the host")->required();
}

void addLunCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent = addParent(app, "lun", "Create, list, delete and present LUNs");
    const auto [create, given] =
        add(parent, options, "create", "Create a LUN that reads as zeros, or from a file", createLun);
    create.add_option("name", given.name, "Name of the LUN")->required();
    create.add_option("--group", given.group, "Consistency group that protects the LUN")->required();
    create.add_option("--size", given.size, "Size, such as 64MiB or 1GiB (default: that of the file)");
    create.add_option("--file", given.file, "Existing file whose content is copied into the LUN");
    add(parent, options, "list", "List the LUNs with serials and device paths", listLuns);
    addNamed(parent, options, "delete", "Delete a LUN and its data", "Name of the LUN", deleteLun);
    addPresentation(parent, options, "present", "Show a LUN to a host as a disk", presentLun);
    addPresentation(parent, options, "unpresent", "Take a LUN away from a host", unpresentLun);
}

void addRange(CLI::App& app, const SOptions& options, const char* word, const char* description,
              void (*run)(const SOptions&, const SRange&))
{
    const auto [command, given] = add(app, options, word, description, run);
    command.add_option("lun", given.lun, "Name of the LUN")->required();
    command.add_option("--offset", given.offset, "First byte (default: 0)");
    command.add_option("--length", given.length, "Number of bytes (default: up to the end)");
}

void addDataCommands(CLI::App& app, const SOptions& options)
{
    const auto [write, given] = add(app, options, "write", "Write to a LUN through the gate of its group", writeLun);
    write.add_option("lun", given.lun, "Name of the LUN")->required();
    write.add_option("--offset", given.offset, "First byte")->required();
    write.add_option("--length", given.length, "Number of bytes (default: to the end of the LUN, or all of the input)");
    write.add_option("--pattern", given.pattern, "Text to repeat");
    write.add_option("--input", given.input, "Regular file to take the bytes from");
    addRange(app, options, "read", "Print bytes of a LUN as they are", readLun);
    addRange(app, options, "checksum", "Print a 64-bit FNV-1a checksum of bytes of a LUN", sumLun);
}

void addFaultCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent = addParent(app, "fault", "Let commands of lmsh and kforutil fail, to try what happens then");
    const auto [arm, given] =
        add(parent, options, "arm", "Arm a fault for commands that lmsh and kforutil will get", armFault);
    arm.add_option("kind", given.kind, wordsOf(faultKinds(), " or "))->required();
    arm.add_option("--match", given.match, "Only commands that hold this text (default: any)");
    arm.add_option("--nth", given.nth, "The first command that it strikes (default: 1)")
        ->check(CLI::Range(int64_t{1}, MOST));
    arm.add_option("--times", given.times, "Commands that it strikes, 0: until cleared (default: 1)")
        ->check(CLI::Range(int64_t{0}, MOST));
    arm.add_option("--seconds", given.seconds, "Length of a pause (default: 1)")->check(CLI::Range(0.0, 1e6));
    arm.add_option("--at", given.bytes, "Bytes of the answer that are kept")->check(CLI::Range(int64_t{0}, MOST));
    add(parent, options, "list", "List the armed faults with what they counted", listFaults);
    const auto [show, id] = add(parent, options, "show", "Show one fault and the commands that it struck", showFault);
    show.add_option("fault", id, "Number of the fault")->required();
    const auto [clear, ids] = add(parent, options, "clear", "Take faults back: the given ones, or all", clearFaults);
    clear.add_option("fault", ids, "Numbers of faults (default: all)");
}

void addWorkloadCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent = addParent(app, "workload", "Write to a group in a known order, and find images in that order");
    const auto [run, toRun] = add(
        parent, options, "run", "Write to all LUNs of a group, which read as zeros, until a signal comes", runWorkload);
    run.add_option("group", toRun.group, "Name of the group")->required();
    run.add_option("--log", toRun.log, "New file for the order of the writes")->required();
    run.add_option("--writers", toRun.writers, "Writers at once (default: 4)")
        ->check(CLI::Range(size_t{1}, size_t{64}));
    run.add_flag("--ungated", toRun.isUngated, "Leave the gate of the group open: for an engine that needs none");
    run.add_option("--writes", toRun.writes,
                   "Stop after this many writes or a few more (default: when a signal comes)");
    const auto [check, toCheck] =
        add(parent, options, "check", "Tell how many of the writes images of all the LUNs are the exact outcome of",
            checkWorkload);
    check.add_option("--log", toCheck.log, "Log of the workload")->required();
    check.add_option("images", toCheck.images, "LUN=FILE for each LUN of the log")->required();
}

void addShadowCommand(CLI::App& app, const SOptions& options)
{
    CLI::App& shadow = *app.add_subcommand("shadow", "Fill the store with appliances that an inspector has told of");
    const auto file = std::make_shared<std::string>();
    shadow.add_option("file", *file, "Document of the inspector")->required();
    shadow.callback([file, &options] { fillFromInspection(options, *file); });
}

// They work on a conversation, and need no store.
void addReplayCommands(CLI::App& app, const SOptions& options, int& status)
{
    CLI::App& replay = *app.add_subcommand("replay", "Make tools that answer as those of a recorded conversation did");
    const auto request = std::make_shared<SReplayRequest>();
    replay.add_option("file", request->conversation, "Conversation, as fictl --record writes it")->required();
    replay.add_option("--tools", request->tools, "New folder for lmsh and kforutil")->required();
    replay.callback([request, &options] { replayConversation(options, *request); });

    CLI::App& answer = *app.add_subcommand("answer", "What those tools run: answer one command of a conversation");
    const auto asked = std::make_shared<SAnswerRequest>();
    answer.add_option("folder", asked->folder, "Folder of the tools")->required();
    answer.add_option("words", asked->words, "The command (default: a script on standard input)");
    answer.callback([asked, &status] { status = answerFromConversation(*asked); });
}

EOutput parseOutput(const std::string& form)
{
    if (form != "table" && form != "json") {
        throw EApplianceError(EStatus::MALFORMED, "--output is table or json, not " + inQuotes(form));
    }
    return form == "json" ? EOutput::JSON : EOutput::TABLE;
}

void addOptions(CLI::App& app, SOptions& options)
{
    app.add_option("--store", options.store, "Folder of the store")->envname("LMADM_STORE");
    app.add_option("--appliance", options.appliance, "Appliance to work on (default: the only one of the store)");
    app.add_option_function<std::string>(
        "--output", [&options](const std::string& form) { options.output = parseOutput(form); },
        "Form of the answer: table or json (default: table)");
}

// The form that was asked for, as far as the command line was understood.
EOutput outputOf(const CLI::App& app)
{
    const std::vector<std::string> given = app.get_option("--output")->results();
    return !given.empty() && given.back() == "json" ? EOutput::JSON : EOutput::TABLE;
}

}  // namespace

int runCommandLine(int argc, char** argv, SOptions& options)
{
    CLI::App app("Builds and shows appliances: their hosts, consistency groups, LUNs and data.", "lmadm");
    // Options of the program may stand behind the command as well.
    app.fallthrough();
    app.require_subcommand(1);
    app.footer(FOOTER);
    addOptions(app, options);
    addApplianceCommands(app, options);
    addHostCommands(app, options);
    addGroupCommands(app, options);
    addLunCommands(app, options);
    addDataCommands(app, options);
    addFaultCommands(app, options);
    addWorkloadCommands(app, options);
    addShadowCommand(app, options);
    int status = 0;
    addReplayCommands(app, options, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::RequiredError& error) {
        options.output = outputOf(app);
        // Of a word that is no command the library says that a command is missing.
        const std::vector<std::string> words = app.remaining(true);
        throw EApplianceError(EStatus::MALFORMED,
                              words.empty() ? error.what() : inQuotes(words.front()) + " is not understood");
    } catch (const CLI::ParseError& error) {
        options.output = outputOf(app);
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n', ' ');
        throw EApplianceError(EStatus::MALFORMED, text);
    }
    return status;
}

}  // namespace lumora
