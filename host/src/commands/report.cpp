#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/sure_look.h"
#include "host/src/commands/commands.h"
#include "host/src/commands/reconciler.h"
#include "host/src/commands/since.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/output/new_document.h"
#include "host/src/process/host_name.h"
#include "host/src/report/missing_runs.h"
#include "host/src/report/page.h"
#include "host/src/report/report.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

struct SReportRequest
{
    std::string file{};
    std::string title{};
    std::string since{};
    bool isLooking = false;
    bool mayReplace = false;
};

SReport reportOf(const SContext& context, const SReportRequest& request)
{
    const std::optional<UtcTime> since = sinceTime(request.since);
    const UtcTime now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const CCatalogReader open;  // shows which processes are at work
    const auto make = [&](const SReconciliation* found) {
        return lookUntilSure([&](CMetProcesses& met) {
            const SCatalogView catalog = viewCatalog();
            met.add(catalog.records, catalog.history);
            return makeReport({.records = catalog.records,
                               .history = catalog.history,
                               .now = now,
                               .host = systemHostName(),
                               .since = since,
                               .gaps = missingRuns(catalog, now),
                               .found = found});
        });
    };
    if (!request.isLooking) return make(nullptr);
    const CGuardian guardian;
    const CReconciler look(context);
    return make(&look.found());
}

SResult writeReport(const SContext& context, const SReportRequest& request)
{
    if (request.file.empty()) {
        throw EFictl(EExit::USAGE, "a report needs a file", "fictl report --html FILE");
    }
    requireRoom(request.file, request.mayReplace);
    const SReport report = reportOf(context, request);
    const std::string title = request.title.empty() ? "Snapshots of " + systemHostName() : request.title;
    writeNewDocument(request.file, pageOf(report, title), request.mayReplace);
    SResult result =
        resultOf({{"report",
                   {{"file", request.file},
                    {"snapshots", report.snapshots.size()},
                    {"groups", report.lanes.size()},
                    {"unreadable", report.unreadable.size()},
                    {"looked", report.look.has_value()}}}},
                 "report of " + counted(report.snapshots.size(), "snapshot") + " in " +
                     counted(report.lanes.size(), "group") + " is written to " + printable(request.file) + "\n");
    // The others are shown all the same, and so is which cannot be.
    if (!report.unreadable.empty()) result.exit = EExit::CATALOG;
    return result;
}

}  // namespace

CommandRun declareReport(COptions& options)
{
    const auto request = std::make_shared<SReportRequest>();
    options.newFile("--html", request->file, "File to write, one page for a browser");
    options.text("--title", request->title, "Heading of the page (Snapshots of HOST)");
    options.text("--since", request->since,
                 "Begin at a time, or an age such as 30d ago (with the oldest snapshot that is there)");
    options.flag("--look", request->isLooking, "Ask the appliances what they hold and no record has");
    options.flag("--force", request->mayReplace, "Replace a file that is there");
    return [request](const SContext& context) { return writeReport(context, *request); };
}

}  // namespace fictl
