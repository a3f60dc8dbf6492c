#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/record_json.h"
#include "host/src/catalog/sure_look.h"
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

// A long list takes most of its time to read what it shows.
ERecordParts partsFor(const SListRequest& request)
{
    ERecordParts parts = request.filter.parts();
    for (const SRecordColumn* const column : request.columns) {
        parts = std::max(parts, column->parts);
    }
    for (const SSortKey& key : request.sort) {
        parts = std::max(parts, key.column->parts);
    }
    return parts;
}

/// What a list shows of the records that it is of, in its order. A record itself is gone once that is made: a list may
/// be long.
template <class Item>
class CListItems : public CBaseRecordTaker
{
  public:
    using Make = std::function<Item(SSnapshot&&)>;

    CListItems(const SListRequest& request, Make make) : m_request(request), m_make(std::move(make)) {}

    void begin() override { m_placed.clear(); }
    void take(SSnapshot&& snapshot) override
    {
        if (!m_request.filter.matches(snapshot)) return;
        SortPlace place = sortPlaceOf(snapshot, m_request.sort);
        m_placed.push_back({std::move(place), m_make(std::move(snapshot))});
    }

    std::vector<Item> inOrder()
    {
        std::vector<SPlaced*> order;  // which costs less to sort
        order.reserve(m_placed.size());
        for (SPlaced& each : m_placed) {
            order.push_back(&each);
        }
        std::ranges::sort(order, [this](const SPlaced* one, const SPlaced* other) {
            return comesBefore(one->place, other->place, m_request.sort);
        });
        std::vector<Item> items;
        items.reserve(order.size());
        for (SPlaced* const each : order) {
            items.push_back(std::move(each->item));
        }
        return items;
    }

  private:
    struct SPlaced
    {
        SortPlace place;
        Item item;
    };

    const SListRequest& m_request;
    const Make m_make;
    std::vector<SPlaced> m_placed{};
};

/// A list with what is missing from it.
template <class Item>
struct SListed
{
    std::vector<Item> items;
    std::vector<SUnreadable> unreadable;
};

// Says on standard error what is missing.
void tellMissing(const std::vector<SUnreadable>& unreadable)
{
    for (const SUnreadable& entry : unreadable) {
        CProgress::warn(quotedSnapshot(entry.name) + " cannot be read: " + printable(entry.reason) +
                        "; fictl catalog check tells more");
    }
}

template <class Item>
SListed<Item> readList(const SListRequest& request, ERecordParts parts, typename CListItems<Item>::Make make)
{
    CCatalogReader catalog;
    CListItems<Item> items(request, std::move(make));
    std::vector<SUnreadable> unreadable = catalog.each(items, parts);
    tellMissing(unreadable);
    return {items.inOrder(), std::move(unreadable)};
}

// The others are told all the same.
SResult withExit(SResult result, const std::vector<SUnreadable>& unreadable)
{
    if (!unreadable.empty()) result.exit = EExit::CATALOG;
    return result;
}

SResult documentOf(const SListRequest& request)
{
    auto listed = readList<json>(request, ERecordParts::OF_LISTS, [](SSnapshot&& snapshot) {
        json entry = summaryJson(snapshot);
        entry["luns"] = json::array();
        for (const SDevice& device : snapshot.devices) {
            entry["luns"].push_back(device.state.serialNo);
        }
        return entry;
    });
    json unreadable = json::array();
    for (const SUnreadable& entry : listed.unreadable) {
        unreadable.push_back({{"name", entry.name}, {"reason", entry.reason}});
    }
    json document = {{"unreadable", std::move(unreadable)}};
    document["snapshots"] = std::move(listed.items);  // which a list in braces would copy
    return withExit(resultOf(std::move(document), ""), listed.unreadable);
}

SResult namesOf(const SListRequest& request)
{
    const auto listed = readList<std::string>(request, partsFor(request),
                                              [](SSnapshot&& snapshot) { return printable(snapshot.name) + "\n"; });
    std::string text;
    for (const std::string& line : listed.items) {
        text += line;
    }
    return withExit({.text = std::move(text)}, listed.unreadable);
}

SResult tableOf(const SListRequest& request)
{
    using Row = std::vector<std::string>;
    const UtcTime now = std::chrono::system_clock::now();
    auto listed = readList<Row>(request, partsFor(request), [&](SSnapshot&& snapshot) {
        Row row;
        row.reserve(request.columns.size());
        for (const SRecordColumn* const column : request.columns) {
            row.push_back(column->text(snapshot, now));
        }
        return row;
    });
    if (request.hasHeadings) {
        Row headings;
        for (const SRecordColumn* const column : request.columns) {
            headings.emplace_back(column->heading);
        }
        listed.items.insert(listed.items.begin(), std::move(headings));
    }
    return withExit({.text = formatTable(std::move(listed.items))}, listed.unreadable);
}

SResult pictureOf(const SListRequest& request)
{
    const CCatalogReader open;  // shows which processes are at work
    const SReport report = lookUntilSure([&](CMetProcesses& met) {
        const SCatalogView catalog = viewCatalog();
        met.add(catalog.records, catalog.history);
        CListItems<SSnapshot> items(request, [](SSnapshot&& snapshot) { return std::move(snapshot); });
        for (const SSnapshot& snapshot : catalog.records.snapshots) {
            items.take(SSnapshot(snapshot));
        }
        const SListing listing = {.snapshots = items.inOrder(), .unreadable = catalog.records.unreadable};
        const UtcTime now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        return makeReport({.records = listing,
                           .history = catalog.history,
                           .now = now,
                           .host = systemHostName(),
                           .withDeleted = false,
                           .gaps = missingRuns(catalog, now)});
    });
    tellMissing(report.unreadable);
    return withExit({.text = timelineOf(report, timelineForm())}, report.unreadable);
}

SResult listSnapshots(const SContext& context, const SListOptions& options)
{
    const SListRequest request = requestOf(options);
    switch (context.form) {
        case EForm::JSON:
            return documentOf(request);
        case EForm::NAMES:
            return namesOf(request);
        default:
            return request.isTimeline ? pictureOf(request) : tableOf(request);
    }
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
