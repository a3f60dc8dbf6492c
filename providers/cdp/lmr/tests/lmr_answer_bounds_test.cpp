// Answers that do not end, or name more than there is: what they cost, and what is said of them.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <filesystem>
#include <functional>

#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"
#include "providers/cdp/model/base_claimant.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t MEBIBYTE = size_t{1024} * 1024;

class AnswerBounds : public CFakeToolTest, public testing::WithParamInterface<int>
{
  protected:
    AnswerBounds() { observe(TRACE_INVALID); }

    /// An appliance that has read its inventory with these values beside the tools, as many commands at once as the
    /// parameter says, from tools that answer so; what is not in the scenario is an empty answer.
    CLMRAppliancePtr read(const std::string& values, const std::string& scenario)
    {
        setParallel(GetParam(), values);
        setScenario(scenario + "exit 0\n");
        forget();
        CLMRAppliancePtr appliance = makeAppliance("alpha");
        appliance->initialize();
        return appliance;
    }

    std::string raises(const std::string& key) const
    {
        return "LMR_CLI_CONFIG/" + key + " in <root>/etc/qz/cdpfi.conf raises that";
    }
    /// The trace of an inventory in which one answer counts as none.
    std::vector<std::string> noneFor(const std::string& command, const std::string& why) const
    {
        return {"L1 The answer to [" + command + "] counts as none: " + why + ".", "L1 Failed to execute command"};
    }
    std::vector<std::string> tooLongFor(const std::string& command, const std::string& what, const std::string& key)
    {
        const std::string stopped = "Command [\"<root>/tools/lmsh\"] wrote " + what + " and was stopped";
        return {"L1 CFiExecPipePosix::Exec - " + stopped,
                "L1 CLMRApplianceTool::execLMSH - The answer to [" + command + "] counts as none: " + stopped + "; " +
                    raises(key) + ".",
                "L1 Failed to execute command"};
    }
    std::vector<std::string> shown() const
    {
        std::vector<std::string> commands;
        std::string sent = takeSent();
        for (size_t at = sent.find(" show "); at != std::string::npos; at = sent.find(" show ", at + 1)) {
            commands.push_back(sent.substr(at, sent.find('\n', at) - at));
        }
        return commands;
    }
};

INSTANTIATE_TEST_SUITE_P(Commands, AnswerBounds, testing::Values(1, 4),
                         [](const auto& atOnce) { return atOnce.param == 1 ? "OneByOne" : "SideBySide"; });

TEST_P(AnswerBounds, AListingMayHaveAsManyNamesAsItsBoundEachCountedOnce)
{
    const auto listing = [](const std::vector<std::string>& names) {
        return answerTo(" list  hosts ", answers::hosts(names));
    };
    EXPECT_EQ(read("MAX_NAMES=3\n", listing({"a", "b", "a", "c", "b"}))->getHostList().size(), 5U);
    EXPECT_THAT(takeTrace(), IsEmpty());
    EXPECT_EQ(shown().size(), 5U);

    EXPECT_TRUE(read("MAX_NAMES=3\n", listing({"a", "b", "c", "d"}))->getHostList().empty());
    EXPECT_EQ(takeTrace(), noneFor(" list  hosts ", "it holds more than 3 names; " + raises("MAX_NAMES")));
    EXPECT_THAT(shown(), IsEmpty());

    EXPECT_EQ(read("MAX_NAMES=4\n", listing({"a", "b", "c", "d"}))->getHostList().size(), 4U);
}

TEST_P(AnswerBounds, AListingMayRepeatNamesInAsManyLinesAsItsBound)
{
    const auto listing = [](const std::vector<std::string>& names) {
        return answerTo(" list  cgroups ", answers::groups(names)) +
               answerTo(" show  cgroup ", answers::group("a", {{"/dev/sdb", "S1"}}));
    };
    const std::string values = "MAX_REPEATED_NAMES=2\n";
    EXPECT_EQ(read(values, listing({"a", "a", "b", "a"}))->getConsistencyGroupList().size(), 4U);
    EXPECT_THAT(takeTrace(), IsEmpty());
    forget();
    EXPECT_TRUE(read(values, listing({"a", "a", "b", "a", "b"}))->getConsistencyGroupList().empty());
    EXPECT_EQ(takeTrace(),
              noneFor(" list  cgroups ", "it repeats names in more than 2 lines; " + raises("MAX_REPEATED_NAMES")));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_P(AnswerBounds, AListingOfTimeImagesPastItsBoundIsNone)
{
    const std::string images = answerTo(" list  timeimages ", answers::timeImages({"t1", "t2", "t3"})) +
                               answerTo(" show  timeimage ", answers::timeImage("t", {}));
    read("MAX_NAMES=2\n", images);
    const CGroupPtr group = makeGroup("g");
    forget();
    group->populateTimeImageInformation();
    EXPECT_EQ(takeTrace(), noneFor(" list  timeimages \"g\"", "it holds more than 2 names; " + raises("MAX_NAMES")));
    EXPECT_TRUE(group->getTimeImageList().empty());
    read("MAX_NAMES=3\n", images);
    group->populateTimeImageInformation();
    EXPECT_EQ(group->getTimeImageList().size(), 3U);
}

TEST_P(AnswerBounds, AnAnswerMayHaveAsManyLinesAsItsBound)
{
    const auto lines = [](int count) {
        return "when  list  hosts \nrepeat " + std::to_string(count) + " h%d\nexit 0\n";
    };
    EXPECT_EQ(read("MAX_ANSWER_LINES=20\n", lines(20))->getHostList().size(), 20U);
    EXPECT_THAT(takeTrace(), IsEmpty());
    EXPECT_TRUE(read("MAX_ANSWER_LINES=20\n", lines(21))->getHostList().empty());
    EXPECT_EQ(takeTrace(), tooLongFor(" list  hosts ", "more than 20 lines", "MAX_ANSWER_LINES"));
}

TEST_P(AnswerBounds, AnAnswerMayHaveAsManyBytesAsItsBound)
{
    // Lines of 2 KiB; the bound is not below 64 KiB.
    const auto lines = [](int count) {
        return "when  list  hosts \nrepeat " + std::to_string(count) + " h " + std::string(2045, 'x') + "\nexit 0\n";
    };
    EXPECT_EQ(read("MAX_ANSWER_SIZE=1\n", lines(32))->getHostList().size(), 32U);
    EXPECT_THAT(takeTrace(), IsEmpty());
    EXPECT_TRUE(read("MAX_ANSWER_SIZE=1\n", lines(33))->getHostList().empty());
    EXPECT_EQ(takeTrace(), tooLongFor(" list  hosts ", "more than 65536 bytes", "MAX_ANSWER_SIZE"));
}

TEST_P(AnswerBounds, ALineMayBeAsLongAsItsBound)
{
    const std::string longest(64 * 1024, 'x');
    EXPECT_EQ(read("MAX_LINE_LENGTH=1\n", answerWithBytes(" list  hosts ", longest + "\nb\n"))->getHostList().size(),
              2U);
    EXPECT_TRUE(
        read("MAX_LINE_LENGTH=1\n", answerWithBytes(" list  hosts ", longest + "x\nb\n"))->getHostList().empty());
    EXPECT_EQ(takeTrace(), tooLongFor(" list  hosts ", "a line of more than 65536 bytes", "MAX_LINE_LENGTH"));
}

TEST_P(AnswerBounds, TheListingsOfAllGroupsTogetherMayHaveAsManyBytesAsTheirBound)
{
    std::vector<answers::SLun> luns;
    for (int i = 0; i < 1000; ++i) {
        luns.push_back({"/dev/sd" + std::to_string(i), "S" + std::to_string(i)});
    }
    const std::string group = answers::group("g", luns);
    ASSERT_GT(group.size() * 3, size_t{64} * 1024);
    ASSERT_LT(group.size() * 2, size_t{64} * 1024);
    const std::string scenario =
        answerTo(" list  cgroups ", answers::groups({"g1", "g2", "g3", "g4"})) + answerTo(" show  cgroup ", group);
    EXPECT_EQ(read("MAX_INVENTORY_SIZE=1\n", scenario)->getConsistencyGroupList().size(), 2U);
    EXPECT_EQ(takeTrace(), noneFor(" show  cgroup \"g3\"", "the listings of the groups have more than 65536 bytes; " +
                                                               raises("MAX_INVENTORY_SIZE")));
    EXPECT_EQ(read("", scenario)->getConsistencyGroupList().size(), 4U);
}

TEST_P(AnswerBounds, AListingOfDisksPastItsBoundIsNoneAndSaysHowToRaiseThat)
{
    try {
        read("MAX_ANSWER_LINES=1000\n", "when [listdisk]\nrepeat 200000 /dev/sd%d\nexit 0\n");
        ADD_FAILURE() << "it was read";
    } catch (const EDiskListing& error) {
        EXPECT_EQ(error.error().result, EXEC_TOO_LONG);
        EXPECT_TRUE(error.error().message.ends_with(
            " listdisk ] wrote more than 1000 lines and was stopped; LMR_CLI_CONFIG/MAX_ANSWER_LINES in " +
            (root() / "etc/qz/cdpfi.conf").string() + " raises that"))
            << error.error().message;
    }
    const std::vector<std::string> trace = takeTrace();
    // What was read of it is shown in part.
    ASSERT_EQ(trace.size(), 2U + 1000U + 1U);
    EXPECT_EQ(trace[1],
              "L1 CLMRDeviceManager::refresh - The answer counts as none: Command [\"<root>/tools/kforutil\" "
              "listdisk ] wrote more than 1000 lines and was stopped; " +
                  raises("MAX_ANSWER_LINES") + ".");
    EXPECT_EQ(trace[2], "L1 CLIDATA: [/dev/sd1]");
    EXPECT_TRUE(trace.back().ends_with("] lines more are not shown.")) << trace.back();
}

// How much memory a call takes at most, in a process of its own; nothing under a sanitizer, which takes its own.
void expectPeakBelow([[maybe_unused]] size_t mebibytes, const std::function<void()>& call)
{
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        call();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    rusage usage = {};
    ASSERT_EQ(::wait4(child, &status, 0, &usage), child);
    EXPECT_EQ(status, 0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(static_cast<size_t>(usage.ru_maxrss), mebibytes * 1024);
#endif
}

TEST_P(AnswerBounds, NewlinesWithoutEndCostLittle)
{
    for (const char* const command : {" list  hosts ", " list  cgroups ", " list  "}) {
        expectPeakBelow(200, [&] {
            const CLMRAppliancePtr appliance =
                read("", "when " + std::string(command) + "\nrepeat 200000000\nexit 0\n");
            EXPECT_TRUE(appliance->getHostList().empty() && appliance->getConsistencyGroupList().empty());
        });
    }
    expectPeakBelow(200, [&] { EXPECT_THROW(read("", "when [listdisk]\nrepeat 200000000\nexit 0\n"), EDiskListing); });
}

TEST_P(AnswerBounds, ErrorTextWithoutEndCostsLittleAndNoTrace)
{
    const std::string text = std::string(99, 'e');
    const auto traced = [this] {
        uintmax_t bytes = 0;
        for (const auto& file : std::filesystem::directory_iterator(root() / "var/log/qz")) {
            bytes += file.file_size();
        }
        return bytes;
    };
    // The text itself is held once: 250 MB, below the bound on an answer.
    expectPeakBelow(600, [&] { read("", "when  list  \nrepeat 2500000 " + text + "\nexit 1\n"); });
    EXPECT_LT(traced(), 2 * MEBIBYTE);
    expectPeakBelow(
        600, [&] { EXPECT_THROW(read("", "when [listdisk]\nrepeat 2500000 " + text + "\nexit 1\n"), EDiskListing); });
    EXPECT_LT(traced(), 4 * MEBIBYTE);
}

TEST(AnswerBoundsByDefault, AreThoseOfTheDocuments)
{
    const SLMRAnswerBounds bounds;
    EXPECT_EQ(bounds.bytes, 256 * MEBIBYTE);
    EXPECT_EQ(bounds.lines, 4'000'000U);
    EXPECT_EQ(bounds.lineLength, 4 * MEBIBYTE);
    EXPECT_EQ(bounds.inventory, 1024 * MEBIBYTE);
    EXPECT_EQ(bounds.names, 100'000U);
    EXPECT_EQ(bounds.repeatedNames, 100'000U);
}

}  // namespace
}  // namespace cdpfi
