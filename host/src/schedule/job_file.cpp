#include "host/src/schedule/job_file.h"

#include <algorithm>
#include <map>
#include <optional>

#include "host/src/output/error.h"
#include "host/src/snapshot/name_template.h"
#include "host/src/text/age_text.h"
#include "host/src/text/plain_text.h"
#include "host/src/text/shell_words.h"

namespace fictl {

namespace {

constexpr const char* NAMES[] = {"SNAPSHOT",      "DEVICES", "FREEZE", "THAW",       "CREATE_OPTIONS",
                                 "PRUNE_OPTIONS", "EVERY",   "GRACE",  "PRUNE_EVERY"};
constexpr std::chrono::seconds DAY = std::chrono::days(1);  // as the timer of the rotation has it
constexpr const char* LETTERS_AND_DIGITS = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

using Values = std::map<std::string, std::string>;

bool holdsOneOf(const std::string& text, const char* characters)
{
    return text.find_first_of(characters) != std::string::npos;
}

std::string trimmed(const std::string& text)
{
    constexpr const char* BLANKS = " \t";
    const size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(BLANKS) - begin + 1);
}

// What stands between quotes, or plainly.
std::string valueOf(const std::string& written)
{
    const char first = written.empty() ? '\0' : written.front();
    if (first != '"' && first != '\'') {
        constexpr std::string_view MARKS = "_./:@%+,{}-";
        const std::string plain = LETTERS_AND_DIGITS + std::string(MARKS);
        if (written.find_first_not_of(plain) == std::string::npos) return written;
        throw EJobFile("a value with other characters than letters, digits and " + std::string(MARKS) +
                       " stands in quotes");
    }
    if (written.size() < 2 || written.back() != first) throw EJobFile("the quote does not end the line");
    std::string value = written.substr(1, written.size() - 2);
    if (first == '"' && holdsOneOf(value, "\"\\$`")) {
        throw EJobFile("a double quote, a backslash, a dollar sign or a backquote does not stand in double quotes");
    }
    if (first == '\'' && holdsOneOf(value, "'\\")) {
        throw EJobFile("a single quote or a backslash does not stand in single quotes");
    }
    return value;
}

void readLine(const std::string& line, Values& values)
{
    const std::string written = trimmed(line);
    if (!isPlainText(written)) throw EJobFile("it holds a control character, or is not UTF-8");
    // Such a comment goes on with the next line, as systemd reads it.
    const bool isComment = written.starts_with('#');
    if (isComment && line.ends_with('\\')) throw EJobFile("a comment does not end in a backslash");
    if (written.empty() || isComment) return;
    const size_t sign = written.find('=');
    const std::string name = written.substr(0, sign);
    if (sign == std::string::npos) throw EJobFile("it is no NAME=VALUE");
    if (std::ranges::find(NAMES, name) == std::end(NAMES)) throw EJobFile("\"" + name + "\" is not known");
    if (!values.emplace(name, valueOf(written.substr(sign + 1))).second) throw EJobFile(name + " is given twice");
}

Values valuesIn(const std::string& text)
{
    Values values;
    size_t number = 1;
    for (size_t begin = 0; begin < text.size(); ++number) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        try {
            readLine(text.substr(begin, end - begin), values);
        } catch (const EJobFile& problem) {
            throw EJobFile("line " + std::to_string(number) + ": " + problem.what());
        }
        begin = end + 1;
    }
    return values;
}

/// The values of a file, each as what it stands for.
class CJobValues
{
  public:
    explicit CJobValues(Values values) : m_values(std::move(values)) {}

    std::string needed(const char* name) const
    {
        std::string value = given(name);
        if (trimmed(value).empty()) throw EJobFile(std::string(name) + " is missing");
        return value;
    }

    // systemd honours quotes in them, and sh does not; sh puts names of files in the place of patterns, and systemd
    // does not.
    std::vector<std::string> words(const char* name) const
    {
        const std::string text = given(name);
        if (holdsOneOf(text, "\"'\\*?[")) {
            throw EJobFile(std::string(name) +
                           " holds a quote, a backslash or one of *?[, which are no part of a word");
        }
        return separatedWords(text, " ");
    }

    std::optional<std::chrono::seconds> age(const char* name) const
    {
        if (!m_values.contains(name)) return std::nullopt;
        const std::optional<std::chrono::seconds> age = ageOf(given(name));
        if (age && *age <= std::chrono::days(LONGEST_DAYS)) return age;
        throw EJobFile(std::string(name) + " is no time such as 30m, 12h or 1d of at most " +
                       std::to_string(LONGEST_DAYS) + "d");
    }

    std::optional<std::chrono::seconds> pace(const char* name) const
    {
        const std::optional<std::chrono::seconds> every = age(name);
        if (every == std::chrono::seconds(0)) throw EJobFile(std::string(name) + " is no time at all");
        return every;
    }

    bool has(const char* name) const { return !given(name).empty(); }

  private:
    std::string given(const char* name) const
    {
        const auto found = m_values.find(name);
        return found == m_values.end() ? "" : found->second;
    }

    static constexpr int LONGEST_DAYS = 366;  // the history goes a little further back

    Values m_values;
};

// A template that no creation would take.
void requireSnapshot(const std::string& snapshot)
{
    try {
        const SNameFields fields = {.now = {}, .host = "host", .taken = [] { return std::set<std::string>(); }};
        if (isSnapshotName(filledName(snapshot, fields))) return;
    } catch (const EFictl& error) {
        throw EJobFile(std::string("SNAPSHOT: ") + error.what());
    }
    throw EJobFile("SNAPSHOT: \"" + snapshot + "\" cannot be a snapshot's name");
}

}  // namespace

EJobFile::~EJobFile() = default;

bool isJobName(std::string_view name)
{
    constexpr size_t LONGEST = 64;
    return !name.empty() && name.size() <= LONGEST &&
           name.find_first_not_of(LETTERS_AND_DIGITS + std::string("._-")) == std::string_view::npos &&
           std::string_view(LETTERS_AND_DIGITS).find(name.front()) != std::string_view::npos;
}

SJob parseJob(const std::string& name, const std::string& text)
{
    const CJobValues values(valuesIn(text));
    requireSnapshot(values.needed("SNAPSHOT"));
    values.needed("DEVICES");
    values.words("DEVICES");
    values.words("CREATE_OPTIONS");
    if (values.has("FREEZE") != values.has("THAW")) throw EJobFile("FREEZE and THAW belong together");
    values.needed("EVERY");
    SJob job{.name = name};
    job.creation.every = *values.pace("EVERY");
    job.creation.grace = values.age("GRACE").value_or(job.creation.every / 4);
    const std::chrono::seconds pruneEvery = values.pace("PRUNE_EVERY").value_or(DAY);
    if (!values.words("PRUNE_OPTIONS").empty()) job.rotation = {.every = pruneEvery, .grace = pruneEvery / 4};
    return job;
}

}  // namespace fictl
