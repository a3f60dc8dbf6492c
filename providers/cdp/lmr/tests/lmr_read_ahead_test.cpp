// An inventory whose commands run side by side is read as if they ran one after the other.
#include "providers/cdp/lmr/lmr_read_ahead.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "framework/include/obzx_runtime.h"
#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using testing::Contains;
using testing::IsEmpty;

constexpr int DEFAULT_PARALLEL = 8;

/// All that an inventory leaves behind.
struct SReading
{
    std::vector<std::string> m_trace;
    std::vector<std::string> m_state;
    std::vector<std::string> m_sent;  ///< requests, in the order in which the tools got them
};

class ReadAhead : public CFakeToolTest
{
  protected:
    ReadAhead() { observe(TRACE_DETAIL); }

    /// A site of two appliances.
    static std::string site()
    {
        std::string text = answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S1"}, {"/dev/sdc", "S2"}}));
        for (const char* name : {"alpha", "beta"}) {
            text += onServer(name, " list  hosts ", answers::hosts({"h1", "h2", "h3"}));
            text += onServer(name, " list  cgroups ", answers::groups({"g1", "g2", "g3", "g4"}));
        }
        return text + answerTo(" show  host ", "Name\n") +
               answerTo(" show  cgroup ", answers::group("any", {{"/dev/sdb", "S1"}, {"/dev/sdc", "S2"}}));
    }
    static std::string onServer(const std::string& server, const std::string& command, const std::string& output)
    {
        return "when server " + server + "\n" + answerTo(command, output);
    }

    /// Reads the inventory of both appliances, as a start of the provider does.
    SReading read(int parallel)
    {
        setParallel(parallel, m_more);
        forget();
        const std::vector<CLMRAppliancePtr> appliances = {makeAppliance("alpha"), makeAppliance("beta")};
        SReading reading;
        try {
            std::vector<std::shared_ptr<void>> ahead;
            for (const CLMRAppliancePtr& appliance : appliances) {
                ahead.push_back(appliance->readAhead());
            }
            for (const CLMRAppliancePtr& appliance : appliances) {
                appliance->initialize();
            }
        } catch (const EFiExecPipe& error) {
            reading.m_state.push_back(std::string("thrown: ") + error.what());
        }
        for (const CLMRAppliancePtr& appliance : appliances) {
            addState(*appliance, reading.m_state);
        }
        reading.m_trace = takeTrace();
        reading.m_sent = requests();
        EXPECT_EQ(0U, countScripts());
        return reading;
    }

    static void addState(CLMRAppliance& appliance, std::vector<std::string>& state)
    {
        state.emplace_back(appliance.getName().c_str());
        for (const CHostPtr& host : appliance.getHostList()) {
            state.push_back(std::string("host ") + host->getName().c_str());
        }
        for (const CConsistencyGroupPtr& group : appliance.getConsistencyGroupList()) {
            std::string line = std::string("group ") + group->getName().c_str();
            for (const SCDPDeviceInfo& device : group->getDeviceList()) {
                line += std::string(" ") + device.m_device.c_str() + "=" + device.m_serial.c_str();
            }
            state.push_back(line);
        }
    }

    std::vector<std::string> requests() const
    {
        std::vector<std::string> all;
        std::string sent = takeSent();
        while (!sent.empty()) {
            const size_t end = std::min(sent.find("=== ", 1), sent.size());
            all.push_back(sent.substr(0, end));
            sent.erase(0, end);
        }
        return all;
    }

    /// The lines of a scenario that only this request fits.
    static std::string whenIs(const std::string& request)
    {
        std::istringstream lines(request);
        std::string text;
        for (std::string line; std::getline(lines, line);) {
            text += "when " + line + "\n";
        }
        return text;
    }

    /// Reads one after the other and side by side, and compares.
    void expectSameReading(const std::string& scenario, const std::vector<int>& atOnce = {2, DEFAULT_PARALLEL})
    {
        setScenario(scenario);
        const SReading inTurn = read(1);
        for (const int parallel : atOnce) {
            SCOPED_TRACE("up to " + std::to_string(parallel) + " at once");
            const SReading sideBySide = read(parallel);
            EXPECT_EQ(inTurn.m_trace, sideBySide.m_trace);
            EXPECT_EQ(inTurn.m_state, sideBySide.m_state);
            // What was asked ahead and not reached is one of the commands that a whole reading has.
            const std::multiset<std::string> all(sideBySide.m_sent.begin(), sideBySide.m_sent.end());
            for (const std::string& request : inTurn.m_sent) {
                EXPECT_GE(all.count(request), 1U) << request;
            }
        }
    }

    std::string m_more;  ///< of the configuration

    /// Requests of a whole reading.
    std::vector<std::string> allRequests()
    {
        setScenario(site());
        return read(1).m_sent;
    }
};

TEST_F(ReadAhead, InventoryIsThatOfCommandsOneAfterTheOther)
{
    expectSameReading(site());
    setScenario(site());
    std::vector<std::string> inTurn = read(1).m_sent;
    std::vector<std::string> sideBySide = read(DEFAULT_PARALLEL).m_sent;
    EXPECT_EQ(20U, inTurn.size());
    std::sort(inTurn.begin(), inTurn.end());
    std::sort(sideBySide.begin(), sideBySide.end());
    EXPECT_EQ(inTurn, sideBySide) << "each command once";
}

TEST_F(ReadAhead, FailureAtEachPlaceStopsTheReadingWhereItStopsInTurn)
{
    for (const std::string& request : allRequests()) {
        SCOPED_TRACE(request);
        expectSameReading(whenIs(request) + "output\nrefused\n.\nexit 3\n" + site());
    }
}

TEST_F(ReadAhead, ToolKilledAtEachPlaceStopsTheReadingWhereItStopsInTurn)
{
    for (const std::string& request : allRequests()) {
        SCOPED_TRACE(request);
        expectSameReading(whenIs(request) + "output\ncut\n.\nsignal 9\n" + site());
    }
}

TEST_F(ReadAhead, MalformedAnswerAtEachPlaceStopsTheReadingWhereItStopsInTurn)
{
    for (const std::string& request : allRequests()) {
        SCOPED_TRACE(request);
        expectSameReading(whenIs(request) + "output\nno such thing\n\n\"quoted\" luns=1\n.\nexit 0\n" + site());
    }
}

TEST_F(ReadAhead, TimeLimitStopsTheReadingWhereItStopsInTurn)
{
    m_more = "[FI_EXEC]\nMAX_TIMEOUT=1\n";
    expectSameReading("when server alpha\nwhen \"g2\"\ndelay 900000\nexit 0\n" + site(), {DEFAULT_PARALLEL});
}

TEST_F(ReadAhead, NamesListedTwiceAreAskedForTwice)
{
    expectSameReading(answerTo(" list  hosts ", answers::hosts({"a", "a"})) +
                      answerTo(" list  cgroups ", answers::groups({"g", "h", "g"})) +
                      answerTo(" show  cgroup ", answers::group("g", {})) + "exit 0\n");
    EXPECT_EQ(16U, read(DEFAULT_PARALLEL).m_sent.size());
}

TEST_F(ReadAhead, LongListsAreReadWhole)
{
    std::vector<std::string> names;
    for (int i = 0; i < 50; ++i) {
        names.push_back("n" + std::to_string(i));
    }
    expectSameReading(answerTo(" list  hosts ", answers::hosts(names)) +
                      answerTo(" list  cgroups ", answers::groups(names)) +
                      answerTo(" show  cgroup ", answers::group("g", {{"/dev/sdb", "S1"}})) + "exit 0\n");
}

/// Tools that note how many of them run at once.
class ReadAheadAtOnce : public ReadAhead
{
  protected:
    ReadAheadAtOnce()
    {
        const std::string folder = root() / "running";
        std::filesystem::create_directory(folder);
        for (const char* name : {"lmsh", "kforutil"}) {
            const std::string path = root() / "tools" / name;
            std::filesystem::rename(path, path + ".real");
            std::ofstream(path) << "#!/bin/sh\nmkdir " << folder << "/$$\nls " << folder << " | wc -l >> " << folder
                                << ".counts\nsleep 0.02\nrmdir " << folder << "/$$\nexec " << path << ".real \"$@\"\n";
            ::chmod(path.c_str(), 0755);
        }
    }
    size_t mostAtOnce() const
    {
        std::istringstream counts(root().read("running.counts"));
        size_t most = 0;
        for (size_t count = 0; counts >> count;) {
            most = std::max(most, count);
        }
        std::filesystem::remove(root() / "running.counts");
        return most;
    }
};

TEST_F(ReadAheadAtOnce, NoMoreCommandsRunAtOnceThanAreSet)
{
    setScenario(site());
    read(1);
    EXPECT_EQ(1U, mostAtOnce());
    read(3);
    const size_t most = mostAtOnce();
    EXPECT_GE(most, 2U);
    EXPECT_LE(most, 3U);
    read(DEFAULT_PARALLEL);
    EXPECT_LE(mostAtOnce(), 8U);
}

TEST_F(ReadAhead, CommandThatHangsAndIsNotReachedHoldsNothingUp)
{
    // The walk over the hosts ends with the first; those asked ahead do not answer for a quarter of an hour.
    setScenario(answerTo("\"h1\"", "", 1) + "when  show  host \ndelay 900000\nexit 0\n" + site());
    const auto start = std::chrono::steady_clock::now();
    const SReading reading = read(DEFAULT_PARALLEL);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(300));
    EXPECT_THAT(reading.m_state, Contains("group g4 /dev/sdb=S1 /dev/sdc=S2"));
}

TEST_F(ReadAhead, FailedDiskListingEndsWhatWasAskedAhead)
{
    setScenario(answerTo("[listdisk]", "no driver\n", 5) + "delay 900000\nexit 0\n");
    const SReading reading = read(DEFAULT_PARALLEL);
    EXPECT_THAT(reading.m_state.at(0), testing::StartsWith("thrown: "));
    EXPECT_EQ(0U, countScripts());
}

TEST_F(ReadAhead, RunsAreToldInTheOrderOfTheWalkAndTheRestAsUnused)
{
    struct SEnds
    {
        std::vector<std::string> m_told;
        static void note(void* context, const obzx_run* run)
        {
            if (run->phase != OBZX_RUN_ENDED) return;
            const std::string what =
                run->input_kept == 0 ? run->arguments[1] : std::string(run->input, run->input_kept);
            static_cast<SEnds*>(context)->m_told.push_back(
                what + (run->stopped == OBZX_RUN_UNUSED ? " unused" : " " + std::to_string(run->exit_status)));
        }
    };
    setScenario(answerTo("\"g2\"", "", 4) + site());
    const auto toldOf = [this](int parallel) {
        SEnds ends;
        obzx_set_run_observer(&SEnds::note, &ends);
        read(parallel);
        obzx_set_run_observer(nullptr, nullptr);
        return ends.m_told;
    };
    const std::vector<std::string> inTurn = toldOf(1);
    std::vector<std::string> sideBySide = toldOf(DEFAULT_PARALLEL);
    std::erase_if(sideBySide, [](const std::string& told) { return told.ends_with(" unused"); });
    EXPECT_EQ(inTurn, sideBySide);
}

TEST_F(ReadAhead, EachRunIsGivenSixHundredSeconds)
{
    setScenario(site());
    const std::vector<uint64_t> limits = limitsWithin([this] { read(DEFAULT_PARALLEL); });
    EXPECT_GT(limits.size(), 3u);
    EXPECT_EQ(std::vector<uint64_t>(limits.size(), 600), limits);
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(ReadAhead, WithFewDescriptorsTheReadingIsThatOfCommandsOneAfterTheOther)
{
    setScenario(site());
    const SReading inTurn = read(1);
    const size_t used = static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    rlimit former = {};
    ::getrlimit(RLIMIT_NOFILE, &former);
    for (size_t left = 8; left <= 40; left += 4) {
        SCOPED_TRACE(std::to_string(left) + " descriptors left");
        const rlimit few{used + left, former.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        const SReading sideBySide = read(DEFAULT_PARALLEL);
        ::setrlimit(RLIMIT_NOFILE, &former);
        EXPECT_EQ(inTurn.m_trace, sideBySide.m_trace);
        EXPECT_EQ(inTurn.m_state, sideBySide.m_state);
    }
}
#endif

TEST_F(ReadAhead, OutsideOfAReadingNothingIsAskedAhead)
{
    setScenario(site());
    setParallel(DEFAULT_PARALLEL);
    {
        const auto ahead = CLMRReadAhead::ofThread(log());
        EXPECT_EQ(ahead, CLMRReadAhead::ofThread(log()));
    }
    forget();
    std::vector<std::string> lines;
    EXPECT_EQ(0, setUpTool()->execLMSH("alpha", lmr_commands::listHosts().m_text.c_str(), lines));
    EXPECT_EQ((std::vector<std::string>{"h1", "h2", "h3"}), lines);
    EXPECT_EQ(1U, requests().size());
}

TEST_F(ReadAhead, ServerThatNoScriptMayHoldIsNotAsked)
{
    setScenario(site());
    setParallel(DEFAULT_PARALLEL);
    forget();
    {
        const CLMRAppliancePtr appliance = makeAppliance("al\"pha");
        appliance->initialize();
    }
    EXPECT_EQ((std::vector<std::string>{"=== kforutil [listdisk]\n"}), requests());
}

}  // namespace
}  // namespace cdpfi
