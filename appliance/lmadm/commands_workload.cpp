#include <atomic>
#include <csignal>
#include <memory>
#include <random>
#include <thread>

#include "appliance/core/content/workload.h"
#include "appliance/core/conventions/error.h"
#include "appliance/lmadm/commands.h"

namespace lumora {

namespace {

constexpr uint64_t MOST_SECTORS = 16;

std::atomic<bool> g_stopAsked = false;  // lock-free, so that the handler may set it

struct SRunArguments
{
    std::string group;
    std::string log;
    size_t writers = 4;
    uint64_t writes = 0;  // 0: until a signal comes
};

void requireZeros(CSession& session, const SAppliance& appliance, const SLun& lun)
{
    session.lunData().read(appliance, lun, 0, lun.size, [&lun](std::string_view bytes) {
        if (bytes.find_first_not_of('\0') != std::string_view::npos) {
            throw EApplianceError(EStatus::IN_USE, "LUN " + inQuotes(lun.name) +
                                                       " does not read as zeros, as a workload's LUNs must at first");
        }
    });
}

// Writes until it is told to stop; the gate that each write takes puts the writers in the order that they log.
void writeForEver(const SOptions& options, const std::vector<SLun>& luns, CWorkloadLog& log, uint64_t seed,
                  uint64_t most)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    std::mt19937_64 random(seed);
    while (!g_stopAsked && (most == 0 || log.writes() < most)) {
        SWorkloadWrite write;
        write.lun = random() % luns.size();
        const SLun& lun = luns[write.lun];
        const uint64_t sectors = lun.size / WORKLOAD_SECTOR;
        write.sector = random() % sectors;
        write.count = 1 + random() % std::min(MOST_SECTORS, sectors - write.sector);
        std::string content;
        session.lunData().write(appliance, lun, write.sector * WORKLOAD_SECTOR, write.count * WORKLOAD_SECTOR,
                                [&](uint64_t /*wanted*/) {
                                    const uint64_t number = log.enter(write);
                                    for (uint64_t i = 0; i < write.count; ++i) {
                                        content += workloadContent(number, lun.name, write.sector + i);
                                    }
                                    return std::string_view(content);
                                });
    }
}

void run(const SOptions& options, const SRunArguments& given)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    const std::vector<SLun> luns = session.inventory().luns(session.inventory().group(appliance, given.group));
    std::vector<SWorkloadLun> logged;
    for (const SLun& lun : luns) {
        if (lun.size % WORKLOAD_SECTOR != 0) {
            throw EApplianceError(EStatus::MALFORMED, "LUN " + inQuotes(lun.name) + " is not made of whole sectors");
        }
        requireZeros(session, appliance, lun);
        logged.push_back({lun.name, lun.size});
    }
    if (luns.empty()) {
        throw EApplianceError(EStatus::MISSING, "a LUN to write to does not exist in group " + inQuotes(given.group),
                              EObject::LUN);
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, [](int /*signal*/) { g_stopAsked = true; });
    }
    CWorkloadLog log(given.log, logged);
    std::mutex failing;
    std::exception_ptr failure;
    const auto fail = [&] {
        const std::lock_guard<std::mutex> lock(failing);
        failure = std::current_exception();
        g_stopAsked = true;
    };
    std::vector<std::thread> writers;
    try {
        for (size_t writer = 0; writer < given.writers; ++writer) {
            writers.emplace_back([&, writer] {
                try {
                    writeForEver(options, luns, log, writer, given.writes);
                } catch (...) {
                    fail();
                }
            });
        }
    } catch (...) {
        fail();  // no more threads to be had; those that were started are to end
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    if (failure) std::rethrow_exception(failure);
    session.print({{"group", given.group}, {"writes", log.writes()}});
}

struct SCheckArguments
{
    std::string log;
    std::vector<std::string> images;  // LUN=FILE
};

void check(const SOptions& options, const SCheckArguments& given)
{
    std::map<std::string, std::filesystem::path> images;
    for (const std::string& image : given.images) {
        const size_t equals = image.find('=');
        if (equals == std::string::npos || !images.emplace(image.substr(0, equals), image.substr(equals + 1)).second) {
            throw EApplianceError(EStatus::MALFORMED,
                                  "image " + inQuotes(image) + " is not LUN=FILE, or of a LUN that was given before");
        }
    }
    const SWorkload workload = readWorkload(given.log);
    printRecord({{"prefix", findPrefix(workload, images)}, {"writes", workload.writes.size()}}, options.output);
}

}  // namespace

void addWorkloadCommands(CLI::App& app, const SOptions& options)
{
    CLI::App& parent =
        *app.add_subcommand("workload", "Write to a group in a known order, and find images in that order")
             ->require_subcommand(1);
    CLI::App* const runner =
        parent.add_subcommand("run", "Write to all LUNs of a group, which read as zeros, until a signal comes");
    const auto toRun = std::make_shared<SRunArguments>();
    runner->add_option("group", toRun->group, "Name of the group")->required();
    runner->add_option("--log", toRun->log, "New file for the order of the writes")->required();
    runner->add_option("--writers", toRun->writers, "Writers at once (default: 4)")
        ->check(CLI::Range(size_t{1}, size_t{64}));
    runner->add_option("--writes", toRun->writes,
                       "Stop after this many writes or a few more (default: when a signal comes)");
    runner->callback([toRun, &options] { run(options, *toRun); });

    CLI::App* const checker =
        parent.add_subcommand("check", "Tell how many of the writes images of all the LUNs are the exact outcome of");
    const auto toCheck = std::make_shared<SCheckArguments>();
    checker->add_option("--log", toCheck->log, "Log of the workload")->required();
    checker->add_option("images", toCheck->images, "LUN=FILE for each LUN of the log")->required();
    checker->callback([toCheck, &options] { check(options, *toCheck); });
}

}  // namespace lumora
