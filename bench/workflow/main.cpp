// Whole workflows of a host program, on a site of prepared answers (bench/sites.py). Each command runs once and writes
// what it measured as one line of JSON; bench/run.py repeats and compares.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <random>

#include "bench/workflow/backup.h"
#include "bench/workflow/meter.h"
#include "framework/include/obzx_runtime.h"

namespace bench {

namespace {

using nlohmann::json;

json toJson(const STime& time)
{
    return {{"wall", static_cast<double>(time.wall) * 1e-9}, {"cpu", static_cast<double>(time.cpu) * 1e-9}};
}

json toJson(const CMeter& meter)
{
    json tools = json::object();
    for (const auto& [tool, times] : meter.times()) {
        tools[tool] = {{"own", toJson(times.own)},
                       {"request", toJson(times.request)},
                       {"read", toJson(times.read)},
                       {"tool", toJson(times.tool)},
                       {"runs", times.runs}};
    }
    return {{"own", toJson(meter.ownTime())}, {"tools", tools}};
}

size_t bytesFrom(const char* path, const char* name)
{
    std::ifstream file(path);
    std::string word;
    while (file >> word && word != name) {
        continue;
    }
    size_t kilobytes = 0;
    file >> kilobytes;
    return kilobytes * 1024;
}

/// Bytes of this process in memory, exactly; the kernel's running count of them is only near.
size_t residentBytes()
{
    return bytesFrom("/proc/self/smaps_rollup", "Rss:");
}

/// The most it had. getrusage would tell of the program that started this one, where that had more.
size_t peakBytes()
{
    return bytesFrom("/proc/self/status", "VmHWM:");
}

/// Bytes that are allocated and not freed. What is resident depends on the order of both, too.
size_t heapBytes()
{
    return mallinfo2().uordblks;
}

size_t openDescriptors()
{
    const auto count = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    return static_cast<size_t>(count) - 1;  // the listing's own
}

void forgetDiscovery(const std::string& site)
{
    unlink((site + "/tools/answers/discovered").c_str());
}

void runBackup(const CHostProgram& host, const std::vector<SDisk>& disks, const std::string& session)
{
    host.init();
    CBackup backup(host, disks);
    backup.setUp();
    backup.prepare(session);
    need(backup.make(session) == static_cast<int32_t>(disks.size()), "a copy of each disk");
    backup.import();
    backup.dispose();
    backup.takeDown();
    host.fini();
}

// A whole backup, from init to fini.
json commandBackup(const CHostProgram& host, const std::string& site, const std::vector<std::string>&)
{
    const std::vector<SDisk> disks = readDisks(site);
    forgetDiscovery(site);
    const STime start = STime::now();
    runBackup(host, disks, "session");
    return toJson(STime::now() - start);
}

/// What a process holds after some of its backups.
struct SHolding
{
    int cycle;
    size_t resident;
    size_t heap;
    size_t descriptors;
};

// COUNT backups one after the other in one process: memory and descriptors after the hundredth and the last.
json commandCycles(const CHostProgram& host, const std::string& site, const std::vector<std::string>& arguments)
{
    constexpr int SAMPLES = 20;
    const int count = std::stoi(arguments.at(0));
    const int first = std::min(count, 100);
    const int step = std::max(count, SAMPLES) / SAMPLES;
    const std::vector<SDisk> disks = readDisks(site);
    // What is noted meanwhile must not grow: its room, and the code that reads the values, is in memory from here on.
    std::vector<SHolding> samples(SAMPLES + 2, SHolding{0, residentBytes(), heapBytes(), openDescriptors()});
    samples.clear();
    for (int cycle = 1; cycle <= count; ++cycle) {
        forgetDiscovery(site);
        runBackup(host, disks, "session");
        if (cycle == first || cycle == count || (cycle > first && cycle % step == 0)) {
            samples.push_back({cycle, residentBytes(), heapBytes(), openDescriptors()});
        }
    }
    json result = json::array();
    for (const SHolding& sample : samples) {
        result.push_back({{"cycle", sample.cycle},
                          {"resident", sample.resident},
                          {"heap", sample.heap},
                          {"descriptors", sample.descriptors}});
    }
    return {{"samples", result}};
}

// Loads an inventory.
json commandLoad(const CHostProgram& host, const std::string&, const std::vector<std::string>&)
{
    CMeter meter;
    meter.start();
    host.init();
    meter.stop();
    json result = toJson(meter);
    result["peak"] = peakBytes();
    result["resident"] = residentBytes();
    return result;
}

/// Calls on a batch of devices, whose records of the host are made before the clock runs.
class CDeviceCalls
{
  public:
    CDeviceCalls(const CHostProgram& host, const std::vector<SDisk>& disks) : m_call(host.call()), m_disks(disks) {}

    STime run(const std::vector<uint32_t>& batch)
    {
        std::vector<std::unique_ptr<CNode>> offered;
        std::vector<std::unique_ptr<CNode>> nodes;
        for (const uint32_t index : batch) {
            offered.push_back(std::make_unique<CNode>(m_disks[index].path));
            nodes.push_back(std::make_unique<CNode>("<cdpfi>" + m_disks[index].serial));
        }
        const STime start = STime::now();
        for (size_t i = 0; i < batch.size(); ++i) {
            callOne(*offered[i], *nodes[i], !m_disks[batch[i]].group.empty());
        }
        return STime::now() - start;
    }

  private:
    void callOne(CNode& offered, CNode& node, bool isProtected)
    {
        obzx_objid* interposed = nullptr;
        obzx_objid** groups = nullptr;
        obzx_objid** secondaries = nullptr;
        int32_t groupCount = 0;
        int32_t secondaryCount = 0;
        const int32_t taken = m_call.interpose(offered.get(), &interposed, &groups, &groupCount);
        need(taken == (isProtected ? 1 : 0), "interpose");
        if (!isProtected) return;
        need(m_call.claim(interposed, &secondaries, &secondaryCount) == OBZ_CLAIM_SECONDARY, "claim");
        need(m_call.init_node(node.get(), nullptr, 0, nullptr) == OBZ_OK, "init_node");
        m_call.deinit_node(node.get());
        obzx_free_objid(interposed);
        obzx_free_objid_array(groups, groupCount);
    }

    const SEntryPoints& m_call;
    const std::vector<SDisk>& m_disks;
};

// Before the process holds anything else: its peak is that of init.
json measureInit(const CHostProgram& host)
{
    const STime start = STime::now();
    host.init();
    return {{"init", toJson(STime::now() - start)}, {"peak", peakBytes()}};
}

// interpose, claim, init_node and deinit_node of each protected device, interpose of each other one, in random order:
// nanoseconds a device, the median over rounds of about COUNT devices. Before that what init took.
json commandDevices(const CHostProgram& host, const std::string& site, const std::vector<std::string>& arguments)
{
    constexpr size_t BATCH = 64;
    const size_t wanted = std::stoul(arguments.at(0));
    constexpr int ROUNDS = 9;
    json result = measureInit(host);
    const std::vector<SDisk> disks = readDisks(site);
    CDeviceCalls calls(host, disks);
    std::mt19937 random(20260101);
    for (const bool isProtected : {true, false}) {
        std::vector<uint32_t> order;
        for (uint32_t i = 0; i < disks.size(); ++i) {
            if (disks[i].group.empty() != isProtected) order.push_back(i);
        }
        std::vector<double> cpu;
        for (int round = 0; round < ROUNDS; ++round) {
            STime sum;
            size_t done = 0;
            while (done < wanted) {
                std::shuffle(order.begin(), order.end(), random);
                for (size_t at = 0; at < order.size() && done < wanted; at += BATCH) {
                    const auto end = order.begin() + static_cast<ptrdiff_t>(std::min(at + BATCH, order.size()));
                    const std::vector<uint32_t> batch(order.begin() + static_cast<ptrdiff_t>(at), end);
                    sum += calls.run(batch);
                    done += batch.size();
                }
            }
            cpu.push_back(static_cast<double>(sum.cpu) / static_cast<double>(done));
        }
        std::sort(cpu.begin(), cpu.end());
        result[isProtected ? "protected" : "unprotected"] = cpu[ROUNDS / 2];
    }
    host.fini();
    return result;
}

// What a host needs of make at least: each node found by its name under a lock, and an identity for its copy.
STime leastOfMake(const std::vector<SDisk>& disks)
{
    std::mutex mutex;
    std::map<std::string, const SDisk*> nodes;
    for (const SDisk& disk : disks) {
        nodes["<cdpfi>" + disk.serial] = &disk;
    }
    std::vector<obzx_objid*> identities;
    const STime start = STime::now();
    for (const SDisk& disk : disks) {
        const std::lock_guard lock(mutex);
        const SDisk& found = *nodes.find("<cdpfi>" + disk.serial)->second;
        const std::string name = targetName(found.serial);
        identities.push_back(obzx_get_objid(name.c_str(), static_cast<int32_t>(name.size() + 1), OBZ_ENCODING_STRING));
    }
    const STime taken = STime::now() - start;
    for (obzx_objid* const identity : identities) {
        obzx_free_objid(identity);
    }
    return taken;
}

// make of a session with all disks of the site.
json commandMake(const CHostProgram& host, const std::string& site, const std::vector<std::string>&)
{
    const std::vector<SDisk> disks = readDisks(site);
    host.init();
    CBackup backup(host, disks);
    backup.setUp();
    backup.prepare("session");
    CMeter meter;
    meter.start();
    const int32_t made = backup.make("session");
    meter.stop();
    need(made == static_cast<int32_t>(disks.size()), "a copy of each disk");
    backup.takeDown();
    host.fini();
    json result = toJson(meter);
    result["least"] = toJson(leastOfMake(disks));
    return result;
}

// Import of all disks of the site, after make.
json commandImport(const CHostProgram& host, const std::string& site, const std::vector<std::string>&)
{
    const std::vector<SDisk> disks = readDisks(site);
    forgetDiscovery(site);
    host.init();
    CBackup backup(host, disks);
    backup.setUp();
    backup.prepare("session");
    backup.make("session");
    CMeter meter;
    meter.start();
    backup.import();
    meter.stop();
    backup.takeDown();
    host.fini();
    return toJson(meter);
}

int run(int argc, char** argv)
{
    const std::map<std::string, json (*)(const CHostProgram&, const std::string&, const std::vector<std::string>&)>
        commands{{"backup", commandBackup},   {"cycles", commandCycles}, {"load", commandLoad},
                 {"devices", commandDevices}, {"make", commandMake},     {"import", commandImport}};
    const auto command = argc < 3 ? commands.end() : commands.find(argv[1]);
    if (command == commands.end()) {
        std::fprintf(stderr, "usage: cdpfi_workflow backup|cycles|load|devices|make|import SITE [COUNT]\n");
        return 2;
    }
    const std::string site = argv[2];
    setenv("OBZX_ROOT", (site + "/root").c_str(), 1);
    const CHostProgram host(BENCH_PROVIDER);
    std::printf("%s\n", command->second(host, site, {argv + 3, argv + argc}).dump().c_str());
    return 0;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv)
{
    try {
        return bench::run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cdpfi_workflow: %s\n", error.what());
        return 1;
    }
}
