#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/history_table.h"
#include "host/src/catalog/sure_look.h"
#include "host/src/commands/commands.h"
#include "host/src/output/new_file.h"
#include "host/src/status/status.h"
#include "host/src/status/status_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

SStatus presentStatus(UtcTime now)
{
    const std::vector<SJobFile> jobs = readJobs();
    CCatalogReader catalog;
    return lookUntilSure([&](CMetProcesses& met) {
        const SListing listing = catalog.list();
        met.add(listing);
        SJobHistory history;
        const auto read = [&](const base::CSqliteDatabase& database) {
            history = {};
            readHistory(database, {}, [&](const SHistoryEntry& entry) {
                met.add(entry);
                addToJobHistory(entry, history);
            });
        };
        if (catalog.isThere()) catalog.read(read);
        return statusOf(listing, jobs, history, now);
    });
}

// Only what is wanted is built.
SResult resultIn(EForm form, const SStatus& status, UtcTime now)
{
    switch (form) {
        case EForm::JSON:
            return resultOf(statusJson(status), "");
        case EForm::METRICS:
            return {.text = statusMetrics(status)};
        default:
            return {.text = statusText(status, now)};
    }
}

SResult writtenTo(const std::string& file, EForm form, const SResult& result)
{
    requireReplaceable(file);
    CNewFile out(file, CNewFile::EBusy::WAIT,
                 form == EForm::METRICS ? CNewFile::EReaders::ALL : CNewFile::EReaders::OWNER);
    out.write(form == EForm::JSON ? documentText(*result.document) : result.text);
    // Numbers are collected by another user than the one who takes snapshots; the other forms quote messages.
    out.keep(true);
    return resultOf({{"written", {{"file", file}}}}, "");
}

SResult showStatus(const SContext& context, const std::string& file)
{
    const UtcTime now = std::chrono::system_clock::now();
    const SStatus status = presentStatus(now);
    SResult result = resultIn(context.form, status, now);
    if (!file.empty()) result = writtenTo(file, context.form, result);
    if (!status.areJobsWell()) result.exit = EExit::FAILED;
    if (status.unreadable > 0) result.exit = EExit::CATALOG;
    return result;
}

}  // namespace

CommandRun declareStatus(COptions& options)
{
    const auto file = std::make_shared<std::string>();
    options.newFile("--file", *file, "File to write in place of standard output; replaced as a whole");
    return [file](const SContext& context) { return showStatus(context, *file); };
}

}  // namespace fictl
