#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/output/error.h"
#include "host/src/output/progress.h"
#include "host/src/process/host_name.h"
#include "host/src/reconcile/catalog_view.h"
#include "host/src/report/missing_runs.h"
#include "host/src/report/timeline.h"
#include "host/src/selection/record_columns.h"
#include "host/src/selection/record_filter.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SListOptions
{
    std::vector<std::string> columns{};
    std::vector<std::string> sort{};
    std::vector<std::string> states{};
    std::vector<std::string> labels{};
    std::vector<std::string> groups{};
    bool noHeaders = false;
    bool isTimeline = false;
};

/// How the list is wanted.
struct SListRequest
{
    RecordColumns columns;
    std::vector<SSortKey> sort;
    SRecordFilter filter;
    bool hasHeadings;
    bool isTimeline;
};

SListRequest requestOf(const SListOptions& options)
{
    if (options.isTimeline && (!options.columns.empty() || !options.sort.empty() || options.noHeaders)) {
        throw EFictl(EExit::USAGE, "--timeline draws no table, so --columns, --sort and --no-headers are not for it",
                     "leave one or the other away");
    }
    const std::vector<std::string> usual = {"name,state,created,devices,groups"};
    return {.columns = parseColumns(options.columns.empty() ? usual : options.columns),
            .sort = parseSortKeys(options.sort),
            .filter = {.states = parseStates(options.states),
                       .labels = parseLabelFilters(options.labels),
                       .groups = {options.groups.begin(), options.groups.end()}},
            .hasHeadings = !options.noHeaders,
            .isTimeline = options.isTimeline};
}

// Says on standard error what is missing from the list.
json unreadableJson(const SListing& listing)
{
    json list = json::array();
    for (const SUnreadable& entry : listing.unreadable) {
        list.push_back({{"name", entry.name}, {"reason", entry.reason}});
        CProgress::warn(quotedSnapshot(entry.name) + " cannot be read: " + printable(entry.reason) +
                        "; fictl catalog check tells more");
    }
    return list;
}

json snapshotsJson(const std::vector<SSnapshot>& snapshots)
{
    json list = json::array();
    for (const SSnapshot& snapshot : snapshots) {
        list.push_back(summaryJson(snapshot));
        json luns = json::array();
        for (const SDevice& device : snapshot.devices) {
            luns.push_back(device.state.serialNo);
        }
        list.back()["luns"] = std::move(luns);
    }
    return list;
}

std::string tableText(const std::vector<SSnapshot>& snapshots, const SListRequest& request)
{
    const UtcTime now = std::chrono::system_clock::now();
    Rows rows;
    if (request.hasHeadings) {
        rows.emplace_back();
        for (const SRecordColumn* const column : request.columns) {
            rows.back().emplace_back(column->heading);
        }
    }
    for (const SSnapshot& snapshot : snapshots) {
        rows.emplace_back();
        for (const SRecordColumn* const column : request.columns) {
            rows.back().push_back(column->text(snapshot, now));
        }
    }
    return formatTable(std::move(rows));
}

std::string namesText(const std::vector<SSnapshot>& snapshots)
{
    std::string text;
    for (const SSnapshot& snapshot : snapshots) {
        text += printable(snapshot.name) + "\n";
    }
    return text;
}

std::string timelineText(const SListing& listing)
{
    const CCatalogReader open;  // shows which processes are at work
    const SCatalogView catalog = viewCatalog();
    const UtcTime now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    return timelineOf(makeReport({.records = listing,
                                  .history = catalog.history,
                                  .now = now,
                                  .host = systemHostName(),
                                  .withDeleted = false,
                                  .gaps = missingRuns(catalog.history, now)}),
                      timelineForm());
}

// Only what is wanted is built: a list may be long.
SResult listed(const SContext& context, const SListRequest& request, const SListing& listing)
{
    json unreadable = unreadableJson(listing);
    switch (context.form) {
        case EForm::JSON:
            return resultOf({{"snapshots", snapshotsJson(listing.snapshots)}, {"unreadable", std::move(unreadable)}},
                            "");
        case EForm::NAMES:
            return {.text = namesText(listing.snapshots)};
        default:
            return {.text = request.isTimeline ? timelineText(listing) : tableText(listing.snapshots, request)};
    }
}

SResult listSnapshots(const SContext& context, const SListOptions& options)
{
    const SListRequest request = requestOf(options);
    CCatalogReader catalog;
    SListing listing = catalog.list();
    std::erase_if(listing.snapshots, [&](const SSnapshot& snapshot) { return !request.filter.matches(snapshot); });
    sortRecords(listing.snapshots, request.sort);
    SResult result = listed(context, request, listing);
    // The others are told all the same.
    if (!listing.unreadable.empty()) result.exit = EExit::CATALOG;
    return result;
}

}  // namespace

CommandRun declareList(COptions& options)
{
    const auto given = std::make_shared<SListOptions>();
    options.each("--columns", given->columns, "What is shown, separated by commas (name,state,created,devices,groups)");
    options.each("--sort", given->sort, "Columns to sort by, separated by commas; -COLUMN: downwards (name)");
    options.each("--state", given->states, "Only snapshots in one of these states, separated by commas (all)");
    options.each("--label", given->labels,
                 "Only snapshots with the label KEY, or KEY=VALUE; of several, with each (all)");
    options.each("--group", given->groups,
                 "Only snapshots of a LUN in GROUP, or APPLIANCE/GROUP; of several, in one (all)");
    options.flag("--no-headers", given->noHeaders, "Leave the headings away");
    options.flag("--timeline", given->isTimeline, "Draw them over time in place of a table");
    return [given](const SContext& context) { return listSnapshots(context, *given); };
}

}  // namespace fictl
