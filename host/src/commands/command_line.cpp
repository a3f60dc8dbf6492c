#include "host/src/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <utility>

#include "host/src/commands/commands.h"
#include "host/src/output/error.h"
#include "host/src/recording/recording.h"
#include "host/src/schedule/jobs.h"
#include "host/src/selection/record_columns.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

/// The options of one command, or of all.
class CLibraryOptions : public COptions
{
  public:
    /// @param line where the names of options are entered whose values are not shown as they were given
    CLibraryOptions(CLI::App& command, SCommandLine& line) : m_command(command), m_line(line) {}

    void word(const char* name, std::string& value, EGiven given, const char* help) override
    {
        m_command.add_option(name, value, help)->required(given == EGiven::MUST_BE);
    }
    void words(const char* name, std::vector<std::string>& values, EGiven given, const char* help) override
    {
        m_command.add_option(name, values, help)->required(given == EGiven::MUST_BE);
    }
    void each(const char* name, std::vector<std::string>& values, const char* help) override
    {
        m_command.add_option(name, values, help)->allow_extra_args(false);
    }
    void text(const char* name, std::string& value, const char* help) override
    {
        m_command.add_option(name, value, help);
    }
    void text(const char* name, std::optional<std::string>& value, const char* help) override
    {
        m_command.add_option(name, value, help);
    }
    void secret(const char* name, std::string& value, const char* help) override
    {
        m_line.secrets.insert(name);
        text(name, value, help);
    }
    void newFile(const char* name, std::string& value, const char* help) override
    {
        m_line.newFiles.insert(name);
        text(name, value, help);
    }
    void seconds(const char* name, std::chrono::seconds& value, const char* help) override
    {
        m_command
            .add_option_function<long>(
                name, [&value](long given) { value = std::chrono::seconds(given); }, help)
            ->check(CLI::Range(1L, 86400L));
    }
    void number(const char* name, size_t& value, const char* help) override
    {
        m_command.add_option(name, value, help)->check(CLI::Range(size_t{1}, size_t{1'000'000}))->type_name("N");
    }
    void flag(const char* name, bool& value, const char* help) override { m_command.add_flag(name, value, help); }

  private:
    CLI::App& m_command;
    SCommandLine& m_line;
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

CLI::App& add(CLI::App& parent, const char* name, const char* help)
{
    CLI::App* const command = parent.add_subcommand(name, help);
    // The options for every command may stand behind it too.
    command->fallthrough();
    return *command;
}

constexpr const char* FORMS_OF_ALL[] = {"table", "json"};

// Every form of some command, those of all commands first.
std::vector<std::string> allForms()
{
    std::vector<std::string> forms(std::begin(FORMS_OF_ALL), std::end(FORMS_OF_ALL));
    for (const SCommand& entry : COMMANDS) {
        if (*entry.ownForm != '\0') forms.emplace_back(entry.ownForm);
    }
    return forms;
}

void requireForm(const SCommand& command, const std::string& form)
{
    if (form == command.ownForm || std::ranges::find(FORMS_OF_ALL, form) != std::end(FORMS_OF_ALL)) return;
    for (const SCommand& other : COMMANDS) {
        if (form != other.ownForm) continue;
        const std::string group = other.group;
        throw EFictl(EExit::USAGE, "--output " + form + " is for " + (group.empty() ? "" : group + " ") + other.name,
                     "fictl --help");
    }
}

void addCommands(CLI::App& parent, std::string_view group, SCommandLine& line)
{
    for (const SCommand& entry : COMMANDS) {
        if (entry.group != group) continue;
        CLI::App& command = add(parent, entry.name, entry.help);
        CLibraryOptions options(command, line);
        command.callback([&line, &entry, run = entry.declare(options)] {
            if (line.isDryRun && !entry.canBeDry) {
                throw EFictl(EExit::USAGE, "--dry-run is for snapshot create, import, release, delete and prune",
                             "fictl --help");
            }
            requireForm(entry, line.output);
            line.run = run;
            line.isChange = entry.isChange && !line.isDryRun;
        });
    }
}

void build(CLI::App& app, SCommandLine& line)
{
    app.require_subcommand(1);
    app.add_option("-o,--output", line.output,
                   "Form of standard output: table, json, name (of snapshot list), openmetrics (of status)")
        ->check(CLI::IsMember(allForms()));
    CLibraryOptions options(app, line);
    options.text("--provider", line.provider, "Name of the provider, or path of its library (cdpfi)");
    options.seconds("--timeout", line.timeout, "Seconds that each appliance command may take (as configured)");
    options.newFile("--record", line.record,
                    "New file for every command that the appliances are asked, with its answer (none)");
    options.flag("--dry-run", line.isDryRun,
                 "Tell what create, import, release, delete or prune would do, and do nothing");
    options.flag("--verbose", line.isVerbose,
                 "Write a line for each step to standard error, also when it is no terminal");
    app.set_version_flag("--version", FICTL_VERSION, "Tell the version of fictl");
    app.footer(exitCodeText);
    addCommands(app, "", line);
    for (const SCommandGroup& entry : COMMAND_GROUPS) {
        CLI::App& group = add(app, entry.name, entry.help);
        group.require_subcommand(1);
        addCommands(group, entry.name, line);
    }
}

// A word as a shell takes it.
std::string quoted(const std::string& word)
{
    constexpr const char* PLAIN = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
    if (!word.empty() && word.find_first_not_of(PLAIN) == std::string::npos) return word;
    std::string text = "'";
    for (const char character : word) {
        text += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return text + "'";
}

// Where the command runs is kept nowhere else.
std::string wholePath(const std::string& file)
{
    const std::filesystem::path given(file);
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::weakly_canonical(
        given.has_parent_path() ? given.parent_path() : std::filesystem::path("."), error);
    return error ? file : (folder / given.filename()).string();
}

std::string shownValue(const SCommandLine& line, const std::string& option, const std::string& value)
{
    return line.secrets.contains(option) ? "..." : line.newFiles.contains(option) ? wholePath(value) : value;
}

// Those of the commands around it may stand behind it, too.
const CLI::Option* findOption(const CLI::App* command, const std::string& word)
{
    if (!word.starts_with('-')) return nullptr;
    for (; command != nullptr; command = command->get_parent()) {
        if (const CLI::Option* const option = command->get_option_no_throw(word)) return option;
    }
    return nullptr;
}

/// Follows the words of a command line from one to the next.
class CWordReader
{
  public:
    explicit CWordReader(const CLI::App& app) : m_command(&app) {}

    void take(const std::string& word)
    {
        const CLI::Option* const before = std::exchange(m_awaiting, nullptr);
        if (before != nullptr) return;
        const CLI::Option* const option = findOption(m_command, word);
        if (option != nullptr && option->get_items_expected_max() > 0) m_awaiting = option;
        if (word.starts_with('-')) return;
        const auto inner = m_command->get_subcommands([&](const CLI::App* each) { return each->check_name(word); });
        if (inner.empty()) {
            ++m_positional;
        } else {
            m_command = inner.front();
        }
    }

    /// The command that the words have led to.
    const CLI::App& command() const { return *m_command; }
    /// The option whose value the next word is; null where it is none.
    const CLI::Option* awaiting() const { return m_awaiting; }
    /// How many words were neither commands nor options nor their values.
    size_t positional() const { return m_positional; }

  private:
    const CLI::App* m_command;
    const CLI::Option* m_awaiting = nullptr;
    size_t m_positional = 0;
};

// The words, the last one first, as the library takes them. Behind an option that ends in an equals sign it would take
// the next word for the value, where the empty text is meant.
std::vector<std::string> wordsOf(const CLI::App& app, int argc, char** argv)
{
    std::vector<std::string> words;
    CWordReader reader(app);
    bool hasOptions = true;
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        const bool isValue = reader.awaiting() != nullptr;
        reader.take(word);
        hasOptions = hasOptions && (isValue || word != "--");
        const bool isEmptied = hasOptions && !isValue && word.starts_with("--") && word.find('=') + 1 == word.size();
        if (isEmptied) word.pop_back();
        words.push_back(std::move(word));
        if (isEmptied) words.emplace_back();
    }
    std::ranges::reverse(words);
    return words;
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

// Where the name of a snapshot stands that is there already; that of a new one nobody can know.
bool isSnapshotAt(const CLI::App& command, size_t positional)
{
    static const std::map<std::string, size_t> names = {{"import", 1}, {"release", 1}, {"delete", 1}, {"show", 1},
                                                        {"label", 1},  {"export", 1},  {"diff", 2},   {"history", 1}};
    const auto found = names.find(command.get_name());
    return found != names.end() && positional < found->second;
}

std::vector<std::string> optionNames(const CLI::App* command)
{
    std::vector<std::string> names;
    for (; command != nullptr; command = command->get_parent()) {
        for (const CLI::Option* const option : command->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    std::ranges::sort(names);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// Which other labels there are is nobody's to say but the administrator's.
std::vector<std::string> jobLabels()
{
    std::vector<std::string> labels;
    for (const std::string& name : jobNames()) {
        labels.push_back(std::string(JOB_LABEL) + "=" + name);
    }
    return labels;
}

std::vector<std::string> valuesOf(const CLI::Option& option)
{
    if (option.check_lname("output")) {
        std::vector<std::string> forms = allForms();
        std::ranges::sort(forms);
        return forms;
    }
    if (option.check_lname("state")) return shownStates();
    if (option.check_lname("label")) return jobLabels();
    if (option.check_lname("columns") || option.check_lname("sort")) return commaSeparated({knownColumns()});
    return {};
}

std::vector<std::string> commandNames(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::App* const each : command.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(each->get_name());
    }
    return names;
}

}  // namespace

SCompletion completionOf(const std::vector<std::string>& words)
{
    SCommandLine line;
    CLI::App app("", "fictl");
    build(app, line);
    CWordReader reader(app);
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        reader.take(words[i]);
    }
    if (reader.awaiting() != nullptr) return {.candidates = valuesOf(*reader.awaiting())};
    if (words.back().starts_with('-')) return {.candidates = optionNames(&reader.command())};
    return {.candidates = commandNames(reader.command()),
            .isSnapshot = isSnapshotAt(reader.command(), reader.positional())};
}

void readCommandLine(int argc, char** argv, SCommandLine& line)
{
    CLI::App app("fictl takes, lists, imports and deletes snapshots through a provider", "fictl");
    build(app, line);
    try {
        app.parse(wordsOf(app, argc, argv));
    } catch (const CLI::CallForHelp&) {
        line.output = "table";
        line.run = [text = app.help()](const SContext&) { return SResult{.text = text}; };
    } catch (const CLI::CallForVersion& version) {
        line.output = outputOf(app);
        line.run = [text = std::string(version.what())](const SContext&) { return versionResult(text); };
    } catch (const CLI::ParseError& error) {
        line.output = outputOf(app);
        throw usageError(app, error);
    }
}

std::string shownCommandLine(int argc, char** argv, const SCommandLine& line)
{
    std::string text = "fictl";
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const std::string option = word.substr(0, word.find('='));
        if (option != word) {
            text += " " + quoted(option + "=" + shownValue(line, option, word.substr(option.size() + 1)));
            continue;
        }
        text += " " + quoted(word);
        const bool hasShownValue = line.secrets.contains(word) || line.newFiles.contains(word);
        if (hasShownValue && i + 1 < argc) text += " " + quoted(shownValue(line, word, argv[++i]));
    }
    return text;
}

std::vector<std::string> harmlessWords(int argc, char** argv, const std::set<std::string>& secrets)
{
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const std::string option = word.substr(0, word.find('='));
        const bool isSecret = secrets.contains(option);
        const bool hasOwnWord = option == word;
        if (option == "--record") {
            if (hasOwnWord) ++i;
        } else if (isSecret) {
            words.insert(words.end(), {option, HARMLESS_COMMAND});
            if (hasOwnWord) ++i;
        } else {
            words.push_back(word);
        }
    }
    return words;
}

std::vector<std::string> secretValues(int argc, char** argv, const std::set<std::string>& secrets)
{
    std::vector<std::string> values;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const size_t end = word.find('=');
        if (secrets.contains(word)) {
            if (++i < argc) values.emplace_back(argv[i]);
        } else if (end != std::string::npos && secrets.contains(word.substr(0, end))) {
            values.push_back(word.substr(end + 1));
        }
    }
    return values;
}

}  // namespace fictl
