#include "host/src/output/heartbeat.h"

#include <gtest/gtest.h>

#include <vector>

namespace fictl {

namespace {

/// Collects what a heartbeat writes and waits for it.
class CLines
{
  public:
    CHeartbeat::Write writer()
    {
        return [this](const std::string& line) {
            const std::lock_guard guard(m_lock);
            m_lines.push_back(line);
            m_changed.notify_all();
        };
    }
    std::vector<std::string> waitFor(size_t count)
    {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [&] { return m_lines.size() >= count; });
        return m_lines;
    }
    size_t size()
    {
        const std::lock_guard guard(m_lock);
        return m_lines.size();
    }

  private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
};

SRunRecord run(uint64_t number, std::vector<std::string> arguments, std::string input = {})
{
    SRunRecord record;
    record.number = number;
    record.arguments = std::move(arguments);
    record.input = std::move(input);
    return record;
}

constexpr std::chrono::milliseconds SHORT{2};
constexpr std::chrono::milliseconds NEVER{1000000};

}  // namespace

TEST(Heartbeat, TellsAgainAndAgainWhatIsWaitedFor)
{
    CLines lines;
    CHeartbeat heartbeat(SHORT, lines.writer());
    heartbeat.step("import /dev/x\n");
    EXPECT_EQ(lines.waitFor(3)[2], "fictl: still waiting: import /dev/x\\x0a (0 s)\n");
}

TEST(Heartbeat, NamesTheProgramThatRuns)
{
    CLines lines;
    noteRunStarted(run(1, {"/opt/lmsh"}, "server alpha\nlist cgroups\nexit\n"));
    noteRunStarted(run(2, {"/opt/kforutil", "listdisk"}));
    EXPECT_EQ(runningText(), "kforutil listdisk");
    noteRunEnded(run(2, {}));
    {
        CHeartbeat heartbeat(SHORT, lines.writer());
        heartbeat.step("start provider");
        EXPECT_EQ(lines.waitFor(1)[0],
                  "fictl: still waiting: start provider (0 s): lmsh: server alpha list cgroups exit\n");
    }
    noteRunEnded(run(1, {}));
    EXPECT_EQ(runningText(), "");
}

TEST(Heartbeat, CutsALongCommand)
{
    noteRunStarted(run(1, {"/opt/lmsh"}, std::string(1000, 'x')));
    EXPECT_EQ(runningText(), "lmsh: " + std::string(93, 'x') + "\u2026");
    noteRunEnded(run(1, {}));
}

TEST(Heartbeat, SaysNothingOfShortStepsAndEndsAtOnce)
{
    CLines lines;
    {
        CHeartbeat heartbeat(NEVER, lines.writer());
        for (int i = 0; i < 100; ++i) {
            heartbeat.step("one of many");
        }
    }
    EXPECT_EQ(lines.size(), 0U);
    const CHeartbeat unused(NEVER, lines.writer());
}

TEST(Heartbeat, GoesOnWithTheNextStep)
{
    CLines lines;
    CHeartbeat heartbeat(SHORT, lines.writer());
    heartbeat.step("first");
    lines.waitFor(1);
    heartbeat.step("second");
    const size_t before = lines.size();
    EXPECT_EQ(lines.waitFor(before + 2).back(), "fictl: still waiting: second (0 s)\n");
}

}  // namespace fictl
