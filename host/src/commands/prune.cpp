#include <algorithm>
#include <chrono>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/command_history.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/commands/deletion.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/output/error_text.h"
#include "host/src/process/signals.h"
#include "host/src/selection/rotation.h"
#include "host/src/text/age_text.h"
#include "host/src/text/local_time.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SPruneOptions
{
    KeepRules rules{};
    std::vector<std::string> labels{};
    std::string olderThan{};
};

SRotation rotationOf(const SPruneOptions& options)
{
    if (options.rules == KeepRules{}) {
        throw EFictl(EExit::USAGE, "no rule says what is to be kept, so everything would go; nothing was deleted",
                     "give at least one of --keep-last, --keep-hourly, --keep-daily, --keep-weekly, --keep-monthly "
                     "and --keep-yearly");
    }
    SRotation rotation{.rules = options.rules,
                       .labels = parseLabelFilters(options.labels),
                       .olderThanText = options.olderThan,
                       .now = std::chrono::system_clock::now(),
                       .offset = localOffset};
    if (options.olderThan.empty()) return rotation;
    rotation.olderThan = ageOf(options.olderThan);
    if (rotation.olderThan) return rotation;
    throw EFictl(EExit::USAGE, "--older-than: \"" + printable(options.olderThan) + "\" is no age",
                 "give an age such as 90s, 30m, 12h or 2d");
}

// States in which one may be at the moment when its deletion begins.
constexpr std::initializer_list<EState> PRUNABLE = {EState::COMPLETE};

constexpr const char* NOT_REACHED = "it was not reached";

/// What became of one snapshot.
struct SPruned
{
    const char* result = "stays";  ///< stays, goes, deleted, refused, failed or gone
    std::string reason{};
    EExit exit = EExit::OK;
};

/// Deletes what is to go, one snapshot after the other: what becomes of one keeps no other from its turn.
class CPruning
{
  public:
    CPruning(const SContext& context, const SRotation& rotation) : m_context(context), m_rotation(rotation) {}

    SResult run()
    {
        SListing listing = CCatalogReader().list();
        if (!isDry()) beginEntry();
        for (const SUnreadable& entry : listing.unreadable) {
            CProgress::warn(quotedSnapshot(entry.name) + " cannot be read and stays: " + printable(entry.reason) +
                            "; fictl catalog check tells more");
            m_exit = EExit::CATALOG;  // the others are judged all the same
        }
        for (const SRotated& snapshot : judge(listing.snapshots, m_rotation)) {
            add(snapshot, snapshot.goes ? remove(snapshot) : SPruned{.reason = snapshot.reason});
        }
        return result();
    }

  private:
    bool isDry() const { return !m_context.dryRun.empty(); }

    // A rotation is an entry of its own, also when it finds nothing to delete: who watches sees that it took place.
    static void beginEntry()
    {
        try {
            CCatalog().beginHistory();
        } catch (const EFictl& error) {
            CProgress::warn(std::string("this rotation is not in the history: ") + error.what());
        }
    }

    SPruned remove(const SRotated& snapshot)
    {
        if (isDry()) return {.result = "goes", .reason = snapshot.reason};
        if (m_isEnded) return {.reason = NOT_REACHED};
        bool isBegun = false;
        try {
            stopPoint();
            // Much may have happened while the others were deleted.
            const std::optional<SRotated> now = judgeAgain(snapshot);
            if (!now) return {.result = "gone", .reason = "it is not in the catalog any more"};
            if (!now->goes) return {.reason = now->reason};
            if (!m_guardian) m_guardian.emplace();
            m_context.progress.step("delete snapshot " + snapshot.name);
            isBegun = true;
            removeEntered(snapshot.name);
            return {.result = "deleted", .reason = "no rule keeps it"};
        } catch (const EFictl& error) {
            return failed(error, isBegun);
        }
    }

    // After a signal, or without a catalog, none of the others has a turn; what was done so far is told all the same.
    SPruned failed(const EFictl& error, bool isBegun)
    {
        m_isEnded = error.exit() == EExit::CATALOG || error.exit() == EExit::STOPPED;
        CProgress::write(errorText(error));
        if (!isBegun) return {.reason = NOT_REACHED, .exit = error.exit()};
        const bool isRefused = error.exit() == EExit::STATE;
        return {.result = isRefused ? "refused" : "failed",
                .reason = error.what(),
                .exit = isRefused || m_isEnded ? error.exit() : EExit::NOT_DELETED};
    }

    std::optional<SRotated> judgeAgain(const SRotated& before) const
    {
        for (SRotated& snapshot : judge(CCatalogReader().list().snapshots, m_rotation)) {
            const bool isSame = snapshot.name == before.name && snapshot.created == before.created;
            if (isSame) return std::move(snapshot);
        }
        return std::nullopt;
    }

    // Each deletion is a further entry of the history, found under the snapshot's name.
    void removeEntered(const std::string& name)
    {
        const auto start = std::chrono::steady_clock::now();
        CCommandHistory history(m_context.shownLine);
        const auto end = [&](EExit exit, const std::string& message) {
            const auto duration = std::chrono::steady_clock::now() - start;
            history.end({.exit = static_cast<int>(exit),
                         .duration = std::chrono::duration_cast<std::chrono::microseconds>(duration),
                         .message = message});
        };
        try {
            CCatalog catalog;
            deleteRecorded(m_context, catalog, name, {.states = PRUNABLE});
            end(EExit::OK, "");
        } catch (const EFictl& error) {
            end(error.exit(), error.what());
            throw;
        }
    }

    void add(const SRotated& snapshot, const SPruned& pruned)
    {
        ++m_counts[pruned.result];
        m_rows.push_back({snapshot.name, snapshot.created, snapshot.groups, pruned.result, pruned.reason});
        m_snapshots.push_back({{"name", snapshot.name},
                               {"created", snapshot.created},
                               {"result", pruned.result},
                               {"reason", pruned.reason}});
        m_exit = std::max(m_exit, pruned.exit);
    }

    std::string countsText() const
    {
        std::string text;
        for (const auto& [result, count] : m_counts) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + result;
        }
        return text.empty() ? "there is no such snapshot" : text;
    }

    SResult result()
    {
        const std::string table = m_snapshots.empty() ? "" : formatTable(m_rows);
        const char* const nothing = isDry() ? "nothing was asked for, and nothing was changed\n" : "";
        SResult result = resultOf({{"pruned", {{"dry_run", isDry()}, {"snapshots", std::move(m_snapshots)}}}},
                                  table + countsText() + "\n" + nothing);
        result.exit = m_exit;
        return result;
    }

    const SContext& m_context;
    const SRotation& m_rotation;
    std::optional<CGuardian> m_guardian;
    Rows m_rows = {{"NAME", "CREATED", "GROUPS", "RESULT", "REASON"}};
    json m_snapshots = json::array();
    std::map<std::string, size_t> m_counts;
    EExit m_exit = EExit::OK;
    bool m_isEnded = false;
};

}  // namespace

CommandRun declarePrune(COptions& options)
{
    static constexpr const char* NAMES[] = {"--keep-last",   "--keep-hourly",  "--keep-daily",
                                            "--keep-weekly", "--keep-monthly", "--keep-yearly"};
    static constexpr const char* HELP[] = {
        "Keep the latest N snapshots",         "Keep the latest of each of N hours",
        "Keep the latest of each of N days",   "Keep the latest of each of N weeks, from Monday",
        "Keep the latest of each of N months", "Keep the latest of each of N years"};
    static_assert(std::size(NAMES) == PERIODS && std::size(HELP) == PERIODS);
    const auto given = std::make_shared<SPruneOptions>();
    for (size_t i = 0; i < PERIODS; ++i) {
        options.number(NAMES[i], given->rules.at(i), HELP[i]);
    }
    options.each("--label", given->labels,
                 "Only snapshots with the label KEY, or KEY=VALUE; of several, with each (all)");
    options.text("--older-than", given->olderThan, "Only snapshots of this age, such as 14d, or older (any)");
    return [given](const SContext& context) {
        const SRotation rotation = rotationOf(*given);
        return CPruning(context, rotation).run();
    };
}

}  // namespace fictl
