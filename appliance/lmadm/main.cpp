// lmadm: builds and shows appliances.
#include <algorithm>
#include <cstdio>
#include <string>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/tool.h"
#include "appliance/lmadm/commands.h"

namespace {

using namespace lumora;

constexpr const char* FOOTER =
    "Exit status: 0 done, 2 wrong usage or an unusable name, 3 an object does not exist, 4 an object exists\n"
    "already, 5 an object is in use, 6 storage failure, 7 store or configuration unusable, 1 anything else.";

std::string listCommand(EObject object)
{
    switch (object) {
        case EObject::APPLIANCE:
            return "lmadm appliance list";
        case EObject::HOST:
        case EObject::PERMISSION:
            return "lmadm host list";
        case EObject::GROUP:
            return "lmadm group list";
        case EObject::LUN:
            return "lmadm lun list";
        case EObject::FAULT:
            return "lmadm fault list";
        default:
            return "lmadm group show";
    }
}

// What to do next, for the person who reads the refusal.
std::string nextStep(const EApplianceError& error)
{
    switch (error.status()) {
        case EStatus::MISSING:
            return "see what exists: " + listCommand(error.object());
        case EStatus::EXISTS:
            return "choose another name, or delete the existing one first";
        case EStatus::IN_USE:
            return "remove what uses it first";
        case EStatus::STORAGE:
            return "check free space and access, then repeat the command";
        case EStatus::UNUSABLE:
            return "name the right folder with --store, or create a store: lmadm --store DIR appliance create NAME";
        default:
            return "see lmadm --help";
    }
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
    app.add_option("--store", options.store, "Folder of the store")->envname("LMADM_STORE")->required();
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

// A refusal as a document too; where that cannot be written the refusal itself is what counts.
void printRefusal(EStatus status, const std::string& text, const Json& next)
{
    try {
        printRecord(
            {{"error",
              {{"exit", static_cast<int>(status)}, {"code", statusWord(status)}, {"message", text}, {"next", next}}}},
            EOutput::JSON);
    } catch (const EApplianceError& error) {
        std::fprintf(stderr, "lmadm: %s\n", error.what());
    }
}

int run(int argc, char** argv, SOptions& options)
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
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return runTool("lmadm", [argc, argv] {
        SOptions options;
        const auto isDocument = [&options] { return options.output == EOutput::JSON; };
        try {
            return run(argc, argv, options);
        } catch (const EApplianceError& error) {
            const std::string next = nextStep(error);
            if (isDocument()) printRefusal(error.status(), error.what(), next);
            throw EApplianceError(error.status(), std::string(error.what()) + "; " + next);
        } catch (const std::exception& error) {
            if (isDocument()) printRefusal(EStatus::UNEXPECTED, error.what(), nullptr);
            throw;
        }
    });
}
