#include "providers/cdp/inspect/inspect_command_line.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <string>

#include "framework/include/cfiplatformerror.h"
#include "providers/cdp/inspect/image_release.h"
#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/inspect/inspection_document.h"

namespace cdpfi::inspect {

namespace {

enum EExit : int
{
    EXIT_DONE = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
    EXIT_NOT_RELEASED = 8,
};

constexpr const char* PROGRAM = "cdpfi-inspect";
constexpr uint64_t LONGEST_TIMEOUT = 86400;

struct SCommandLine
{
    SInspectOptions look;
    SImageRelease release;
    bool releases = false;
};

void addTimeout(CLI::App& app, SCommandLine& line)
{
    app.add_option("--timeout", line.look.timeout, "Seconds that each command may take (600, which is also the most)")
        ->check(CLI::Range(uint64_t{1}, LONGEST_TIMEOUT));
}

void addRaw(CLI::App& app, SCommandLine& line)
{
    app.add_flag("--raw", line.look.raw, "Add every command that was sent, with its answer");
}

void build(CLI::App& app, SCommandLine& line)
{
    app.set_version_flag("--version", std::string(PROGRAM) + " " + CDPFI_VERSION);
    app.footer(
        "Writes one JSON document to standard output. Nothing is changed, but by release.\n"
        "Exit status: 0 a document was written, 2 wrong usage, 8 the image was not released, 1 anything else.");
    // Each option takes the one word behind it: a name may look like another option or command.
    app.add_option("--appliance", line.look.appliances, "Ask this appliance only; may be given again")
        ->allow_extra_args(false);
    app.add_option("--group", line.look.groups, "Show groups of this name only; may be given again")
        ->allow_extra_args(false);
    app.add_flag("--inventory", line.look.inventory, "Ask for no time image and not for what each host is shown");
    addTimeout(app, line);
    addRaw(app, line);

    CLI::App* const release =
        app.add_subcommand("release", "Delete a time image, but not the checkpoint that it shows");
    release->add_option("GROUP", line.release.group, "Consistency group")->required();
    release->add_option("IMAGE", line.release.image, "Time image")->required();
    release->add_option("--appliance", line.release.appliance, "Appliance")->required();
    addTimeout(*release, line);
    addRaw(*release, line);
    release->callback([&line] { line.releases = true; });
}

bool write(const std::string& document)
{
    if (std::fwrite(document.data(), 1, document.size(), stdout) == document.size() && std::fflush(stdout) == 0) {
        return true;
    }
    std::fprintf(stderr, "%s: cannot write to standard output: %s\n", PROGRAM,
                 obzx_pdk_4_4::CFiPlatformError::errorText(errno).c_str());
    return false;
}

int run(SCommandLine& line)
{
    if (!line.releases) return write(documentOf(inspect(line.look))) ? EXIT_DONE : EXIT_FAILED;
    releaseImage(line.release, line.look.timeout);
    if (!write(documentOf(line.release, line.look.raw))) return EXIT_FAILED;
    return line.release.problem ? EXIT_NOT_RELEASED : EXIT_DONE;
}

}  // namespace

int runCommandLine(int argc, const char* const* argv)
{
    SCommandLine line;
    CLI::App app("Tells what the cdpfi provider's configuration, tools and appliances look like now.", PROGRAM);
    try {
        build(app, line);
        app.parse(argc, argv);
        return run(line);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_DONE : EXIT_USAGE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", PROGRAM, error.what());
        return EXIT_FAILED;
    }
}

}  // namespace cdpfi::inspect
