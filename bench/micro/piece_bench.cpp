// The parsers of listings by themselves.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "providers/cdp/lmr/listings/lmr_disk_listing.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/tests/answers.h"

namespace {

using namespace cdpfi;

constexpr const char* DISK = "/dev/lumora/lun012345 (LUMORA) (VDISK) (10.0GiB) (LMR000000012345) online rw";

std::string numbered(const char* prefix, size_t number)
{
    const std::string digits = std::to_string(number);
    return prefix + std::string(9 - digits.size(), '0') + digits;
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

}  // namespace

BENCHMARK_MAIN();
