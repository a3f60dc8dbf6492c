// Single pieces of the look-ups and parsers.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "providers/cdp/lmr/index/lmr_group_index.h"
#include "providers/cdp/lmr/index/lmr_lun_table.h"
#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/lmr_consistencygroup.h"
#include "providers/cdp/lmr/tests/answers.h"

namespace {

using namespace cdpfi;

constexpr const char* DISK = "/dev/lumora/lun012345 (LUMORA) (VDISK) (10.0GiB) (LMR000000012345) online rw";

std::string numbered(const char* prefix, size_t number)
{
    const std::string digits = std::to_string(number);
    return prefix + std::string(9 - digits.size(), '0') + digits;
}

/// Texts in random order, for look-ups of another one each time.
std::vector<CString> shuffledTexts(const char* prefix, size_t count)
{
    std::vector<CString> list;
    for (size_t i = 0; i < count; ++i) {
        list.emplace_back(numbered(prefix, i).c_str());
    }
    std::shuffle(list.begin(), list.end(), std::mt19937(7));
    return list;
}

void fill(CLMRLunTable& table, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        table.set(numbered("/dev/lumora/lun", i), numbered("LMR", i));
    }
}

void readDiskLine(benchmark::State& state)
{
    CLMRDiskListing listing;
    SLMRDisk disk;
    listing.read(std::string(122, '='), disk);
    const std::string line = DISK;
    for (auto _ : state) {
        benchmark::DoNotOptimize(listing.read(line, disk));
    }
}
BENCHMARK(readDiskLine);

void readGroupOf100(benchmark::State& state)
{
    std::vector<answers::SLun> luns;
    for (size_t i = 0; i < 100; ++i) {
        luns.push_back({numbered("/dev/lumora/lun", i), numbered("LMR", i)});
    }
    const std::vector<std::string> lines = base_test::linesOf(answers::group("group00000", luns, {"production"}));
    for (auto _ : state) {
        benchmark::DoNotOptimize(parseGroup(lines).luns.data());
    }
}
BENCHMARK(readGroupOf100);

void fillLunTable(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<std::string> paths, serials;
    for (size_t i = 0; i < count; ++i) {
        paths.push_back(numbered("/dev/lumora/lun", i));
        serials.push_back(numbered("LMR", i));
    }
    for (auto _ : state) {
        CLMRLunTable table;
        for (size_t i = 0; i < count; ++i) {
            table.set(paths[i], serials[i]);
        }
    }
}
BENCHMARK(fillLunTable)->Arg(100)->Arg(100000)->Unit(benchmark::kMicrosecond);

void serialOfPath(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    CLMRLunTable table;
    fill(table, count);
    const std::vector<CString> wanted = shuffledTexts("/dev/lumora/lun", count);
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(table.serialOf(wanted[next]).length());
        if (++next == count) next = 0;
    }
}
BENCHMARK(serialOfPath)->RangeMultiplier(10)->Range(100, 100000);

void groupOfSerial(benchmark::State& state, const char* prefix)
{
    constexpr size_t LUNS = 100;
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<CLMRConsistencyGroup> groups(count / LUNS);
    CLMRGroupIndex index;
    for (size_t i = 0; i < groups.size(); ++i) {
        groups[i].setName(numbered("group", i).c_str());
        index.append(groups[i]);
        for (size_t lun = i * LUNS; lun < (i + 1) * LUNS; ++lun) {
            groups[i].addDevice(numbered("/dev/lumora/lun", lun).c_str(), numbered("LMR", lun).c_str());
        }
    }
    const std::vector<CString> wanted = shuffledTexts(prefix, count);
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(index.find(wanted[next]));
        if (++next == count) next = 0;
    }
    index.clear();
}
BENCHMARK_CAPTURE(groupOfSerial, protectedLun, "LMR")->RangeMultiplier(10)->Range(100, 100000);
BENCHMARK_CAPTURE(groupOfSerial, otherLun, "LOC")->RangeMultiplier(10)->Range(100, 100000);

}  // namespace

BENCHMARK_MAIN();
