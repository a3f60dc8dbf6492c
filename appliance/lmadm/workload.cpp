#include <atomic>
#include <csignal>
#include <mutex>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "appliance/core/content/workload.h"
#include "appliance/core/conventions/error.h"
#include "appliance/lmadm/commands.h"
#include "appliance/lmadm/session.h"

namespace lumora {

namespace {

constexpr uint64_t MOST_SECTORS = 16;
// A write is handed over page by page, so that a longer one that is under way may be there in part, as on any disk.
constexpr uint64_t SECTORS_OF_A_PAGE = 8;

std::atomic<bool> g_stopAsked = false;  // lock-free, so that the handler may set it

void requireZeros(CLunData& data, const SLun& lun)
{
    data.read(lun, 0, lun.size, [&lun](std::string_view bytes) {
        if (bytes.find_first_not_of('\0') != std::string_view::npos) {
            throw EApplianceError(EStatus::IN_USE, "LUN " + inQuotes(lun.name) +
                                                       " does not read as zeros, as a workload's LUNs must at first");
        }
    });
}

// Writes until it is told to stop. The gate that each write takes puts the writers in the order that they log; without
// it they take turns among themselves, and the appliance knows nothing of them.
void writeForEver(const SOptions& options, const std::vector<SLun>& luns, CWorkloadLog& log, uint64_t seed,
                  const SWorkloadRun& given)
{
    static std::mutex turns;
    CSession session(options);
    CLunData data = session.lunData();
    std::mt19937_64 random(seed);
    while (!g_stopAsked && (given.writes == 0 || log.writes() < given.writes)) {
        SWorkloadWrite write;
        write.lun = random() % luns.size();
        const SLun& lun = luns[write.lun];
        const uint64_t sectors = lun.size / WORKLOAD_SECTOR;
        write.sector = random() % sectors;
        const uint64_t most = given.isUngated ? SECTORS_OF_A_PAGE - write.sector % SECTORS_OF_A_PAGE : MOST_SECTORS;
        write.count = 1 + random() % std::min(most, sectors - write.sector);
        std::string content;
        const auto source = [&](uint64_t /*wanted*/) {
            const uint64_t number = log.enter(write);
            for (uint64_t i = 0; i < write.count; ++i) {
                content += workloadContent(number, lun.name, write.sector + i);
            }
            return std::string_view(content);
        };
        const uint64_t offset = write.sector * WORKLOAD_SECTOR;
        const uint64_t length = write.count * WORKLOAD_SECTOR;
        if (given.isUngated) {
            const std::lock_guard<std::mutex> turn(turns);
            data.writeUngated(lun, offset, length, source);
        } else {
            data.write(lun, offset, length, source);
        }
    }
}

}  // namespace

void runWorkload(const SOptions& options, const SWorkloadRun& given)
{
    CSession session(options);
    const SAppliance appliance = session.appliance();
    const std::vector<SLun> luns = session.inventory().luns(session.inventory().group(appliance, given.group));
    CLunData data = session.lunData();
    std::vector<SWorkloadLun> logged;
    for (const SLun& lun : luns) {
        if (lun.size % WORKLOAD_SECTOR != 0) {
            throw EApplianceError(EStatus::MALFORMED, "LUN " + inQuotes(lun.name) + " is not made of whole sectors");
        }
        requireZeros(data, lun);
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
                    writeForEver(options, luns, log, writer, given);
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

void checkWorkload(const SOptions& options, const SWorkloadCheck& given)
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

}  // namespace lumora
