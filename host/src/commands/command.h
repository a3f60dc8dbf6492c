#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/progress.h"
#include "host/src/output/result.h"

namespace fictl {

/// What goes to standard output.
enum class EForm
{
    TABLE,
    JSON,
    NAMES,    ///< one name a line, of snapshot list
    METRICS,  ///< the text format of OpenMetrics, of status
};

/// What the options for every command say.
struct SContext
{
    EForm form = EForm::TABLE;
    std::string provider{};  ///< name or path; empty when the user gave none
    CProgress progress{false};
    std::chrono::seconds timeout{0};  ///< of a single appliance command; 0: the provider's own
    /// The command line as it is shown, "..." in the place of what may be secret.
    std::string shownLine{};
    /// The words of the command line, without what may be secret, when it is only to be told what the command would do.
    std::vector<std::string> dryRun{};

    /// The provider for a command that is about no record.
    std::string chosenProvider() const { return provider.empty() ? "cdpfi" : provider; }
    /// The provider for a record; throws EFictl (USAGE) when the user gave another one than the record's.
    std::string providerFor(const SSnapshot& snapshot) const;
};

/// What a command does once its command line was read. It returns what goes to standard output and throws EFictl when
/// it cannot do its work.
using CommandRun = std::function<SResult(const SContext&)>;

/**
 * What may stand behind a command. Each declaration names the place of the value, which keeps what it holds when the
 * command line does not give one, and must live until the command line was read. The texts are those of --help.
 */
class COptions
{
  public:
    enum class EGiven
    {
        MUST_BE,
        MAY_BE,
    };

    COptions() = default;
    virtual ~COptions() = default;
    COptions(const COptions&) = delete;
    COptions& operator=(const COptions&) = delete;

    virtual void word(const char* name, std::string& value, EGiven given, const char* help) = 0;
    /// As many as there are.
    virtual void words(const char* name, std::vector<std::string>& values, EGiven given, const char* help) = 0;
    /// An option that may stand several times, each time with one value.
    virtual void each(const char* name, std::vector<std::string>& values, const char* help) = 0;
    virtual void text(const char* name, std::string& value, const char* help) = 0;
    /// The same where an empty text is not the same as none.
    virtual void text(const char* name, std::optional<std::string>& value, const char* help) = 0;
    /// A text that may hold a password: it is not repeated anywhere.
    virtual void secret(const char* name, std::string& value, const char* help) = 0;
    /// A file to write: the history names it by its whole path.
    virtual void newFile(const char* name, std::string& value, const char* help) = 0;
    /// 1 to 86400.
    virtual void seconds(const char* name, std::chrono::seconds& value, const char* help) = 0;
    /// 1 to 1000000.
    virtual void number(const char* name, size_t& value, const char* help) = 0;
    virtual void flag(const char* name, bool& value, const char* help) = 0;
};

}  // namespace fictl
