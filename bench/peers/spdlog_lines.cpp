// The lines that make traces of its nodes, six of each, written with spdlog alone: spdlog_lines FILE NODES GROUPS.
// Writes the seconds that it took.
#include <chrono>
#include <cstdio>
#include <string>

#include "bench/peers/raw_log.h"

namespace {

void writeLines(spdlog::logger& log, const std::string& serial, const std::string& group, bool isNewGroup)
{
    const std::string node = "<cdpfi>" + serial;
    const std::string target =
        "<cdpfi><DeviceID>" + serial + "<DeviceID/><Annotation>KSV_Check_Point_1234<Annotation/>";
    log.info("CCDPPlugin::makeSnapshots - working with Node name {}", node);
    log.info("CCDPPlugin::makeSnapshots - working with device name {}", serial);
    log.info("CCDPPlugin::makeSnapshots - got claiming appliance with name {}", "vault");
    log.info("CCDPPlugin::makeSnapshots - got claiming consistency group with name {}", group);
    log.info("CCDPPlugin::makeSnapshots - Adding node {} in {}CG {} for {}applinace {}", node, isNewGroup ? "NEW " : "",
             group, isNewGroup ? "New " : "", "vault");
    log.info("CCDPPlugin::makeSnapshots - Adding target device [{}] for [{}]", target, node);
}

double seconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: spdlog_lines FILE NODES GROUPS\n");
        return 2;
    }
    spdlog::logger& log = bench::makeRawLog(argv[1]);
    const size_t nodes = std::stoul(argv[2]);
    const size_t nodesPerGroup = nodes / std::stoul(argv[3]);
    const double start = seconds();
    for (size_t i = 0; i < nodes; ++i) {
        const std::string digits = std::to_string(i);
        const std::string serial = "LMR" + std::string(12 - digits.size(), '0') + digits;
        writeLines(log, serial, "group" + std::to_string(10000 + i / nodesPerGroup), i % nodesPerGroup == 0);
    }
    std::printf("%.9f\n", seconds() - start);
    return 0;
}
