#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/src/commands/commands.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/output/private_folder.h"
#include "host/src/provider_check/check_process.h"

namespace fictl {

namespace {

/// What stands on the command line.
struct SCheckOptions
{
    std::string library{};
    std::string only{};
    std::string second{};
    std::string device{};
    std::string root{};
    std::string junit{};
    std::chrono::seconds limit{0};
    bool isFull = false;
    bool isList = false;
};

SResult listChecks()
{
    json list = json::array();
    Rows rows = {{"CHECK", "WHAT", "IN DOCS/HOST-INTERFACE.MD"}};
    for (const SProviderCheck& check : providerChecks()) {
        list.push_back({{"name", check.name}, {"what", check.what}, {"holds", check.holds}});
        rows.push_back({check.name, check.what, check.holds});
    }
    std::string text = formatTable(rows);
    return resultOf({{"checks", std::move(list)}}, std::move(text));
}

std::string absolute(const std::string& path)
{
    return path.empty() ? path : std::filesystem::absolute(path).string();
}

SCheckOrder orderOf(const SCheckOptions& options)
{
    constexpr size_t FULL_ROUNDS = 1000;
    constexpr std::chrono::seconds FULL_LIMIT{600};
    SCheckOrder order;
    order.library = absolute(options.library);
    order.second = absolute(options.second);
    order.root = absolute(options.root);
    if (!options.device.empty()) order.device = options.device;
    if (options.isFull) {
        order.rounds = FULL_ROUNDS;
        order.limit = FULL_LIMIT;
    }
    if (options.limit.count() != 0) order.limit = options.limit;
    return order;
}

std::vector<const SProviderCheck*> chosenChecks(const std::string& only)
{
    std::vector<const SProviderCheck*> chosen;
    for (const SProviderCheck& check : providerChecks()) {
        if (only.empty() || only == check.name) chosen.push_back(&check);
    }
    if (chosen.empty()) {
        throw EFictl(EExit::USAGE, "no check is called \"" + only + "\"", "fictl provider check --list");
    }
    return chosen;
}

std::vector<SCheckResult> makeChecks(const SContext& context, const SCheckOptions& options)
{
    const SCheckOrder order = orderOf(options);
    const CPrivateFolder folder;
    std::vector<SCheckResult> results;
    for (const SProviderCheck* const check : chosenChecks(options.only)) {
        context.progress.step("check " + std::string(check->name));
        results.push_back(makeCheck(*check, order, folder.path()));
        // All others would fail in the same way.
        if (check == &providerChecks().front() && results.back().outcome == ECheckOutcome::FAIL) break;
    }
    return results;
}

std::string summary(size_t passed, size_t failed, size_t skipped)
{
    return std::to_string(passed) + " passed, " + std::to_string(failed) + " failed, " + std::to_string(skipped) +
           " skipped\n";
}

SResult report(const std::string& library, const std::vector<SCheckResult>& results)
{
    json list = json::array();
    std::string text;
    size_t counts[3] = {};
    for (const SCheckResult& result : results) {
        json entry = toJson(result);
        entry["name"] = result.check->name;
        entry["holds"] = result.check->holds;
        list.push_back(std::move(entry));
        text += lineOf(result) + "\n";
        ++counts[static_cast<size_t>(result.outcome)];
    }
    const size_t failed = counts[static_cast<size_t>(ECheckOutcome::FAIL)];
    text += summary(counts[static_cast<size_t>(ECheckOutcome::PASS)], failed,
                    counts[static_cast<size_t>(ECheckOutcome::SKIP)]);
    SResult result = resultOf(
        {{"provider_check", {{"path", library}, {"checks", std::move(list)}, {"ok", failed == 0}}}}, std::move(text));
    if (failed != 0) result.exit = EExit::FAILED;
    return result;
}

SResult checkProvider(const SContext& context, const SCheckOptions& options)
{
    if (options.isList) return listChecks();
    if (options.library.empty()) throw EFictl(EExit::USAGE, "PATH is required", "fictl provider check --help");
    const CGuardian guardian;
    const std::vector<SCheckResult> results = makeChecks(context, options);
    if (!options.junit.empty()) {
        CNewFile file(options.junit, CNewFile::EBusy::REFUSE);
        file.write(junitText(options.library, results));
        file.keep(true);
    }
    return report(options.library, results);
}

}  // namespace

CommandRun declareProviderCheck(COptions& options)
{
    const auto given = std::make_shared<SCheckOptions>();
    options.word("PATH", given->library, COptions::EGiven::MAY_BE, "The provider's library, lib<name>.so");
    options.text("--only", given->only, "Make this check and no other");
    options.flag("--list", given->isList, "Tell the checks, one line each, and make none");
    options.flag("--full", given->isFull, "Do what may leave something behind 1000 times, not 50 times");
    options.text("--device", given->device,
                 "Device that is offered to the provider; one that it serves is snapshot (/dev/fictl-check)");
    options.text("--root", given->root,
                 "Folder that stands for the root directory, with the provider's configuration (a new, empty one, so "
                 "that no real appliance is met)");
    options.text("--beside", given->second, "Library of the provider that runs beside it (a copy of the same one)");
    options.seconds("--limit", given->limit, "Seconds that one check may take (60, with --full 600)");
    options.text("--junit", given->junit, "File for the outcome as a JUnit document (none)");
    return [given](const SContext& context) { return checkProvider(context, *given); };
}

}  // namespace fictl
