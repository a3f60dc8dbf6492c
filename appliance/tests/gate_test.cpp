// The gate among real processes: order, exclusion, and what happens when one of them is killed.
#include "appliance/core/files/gate.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;

uint64_t ticketsDrawn(const fs::path& gate)
{
    const std::string bytes = contentOf(gate);
    uint64_t count = 0;
    if (bytes.size() == sizeof count) std::memcpy(&count, bytes.data(), sizeof count);
    return count;
}

class Gate : public testing::Test
{
  protected:
    // Starts a process that goes through the gate, and returns once it stands in the line.
    template <class Inside>
    pid_t start(Inside inside)
    {
        const uint64_t before = ticketsDrawn(m_gate);
        const pid_t child = ::fork();
        if (child == 0) {
            {
                const CGate alone(m_gate);
                inside();
            }
            ::_exit(0);
        }
        EXPECT_TRUE(eventually([&] { return ticketsDrawn(m_gate) > before; }));
        return child;
    }

    void note(const std::string& text) const { std::ofstream(m_notes, std::ios::app) << text << std::flush; }

    // A process that holds the gate until open() is called. Not this process: children that it forks would share its
    // open gate file, and with it the lock.
    pid_t startHolder()
    {
        const pid_t child = start([this] { eventually([this] { return fs::exists(m_folder.path() / "open"); }); });
        return child;
    }
    void open() const { writeFile(m_folder.path() / "open", ""); }

    static int reap(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    CTemporaryFolder m_folder;
    fs::path m_gate = m_folder.path() / "gate";
    fs::path m_notes = m_folder.path() / "notes";
};

TEST_F(Gate, LetsProcessesThroughInTheOrderOfTheirComing)
{
    const pid_t holder = startHolder();
    std::vector<pid_t> children;
    std::string expected;
    for (char name = 'a'; name < 'i'; ++name) {
        children.push_back(start([this, name] { note(std::string(1, name)); }));
        expected += name;
    }
    EXPECT_EQ(contentOf(m_notes), "");
    open();
    EXPECT_EQ(reap(holder), 0);
    for (const pid_t child : children) {
        EXPECT_EQ(reap(child), 0);
    }
    EXPECT_EQ(contentOf(m_notes), expected);
}

TEST_F(Gate, IsNotHandedBackToAWriterThatComesAgain)
{
    // A writer that loops would win a plain lock again and again; here it queues up behind the one who waits.
    const pid_t holder = startHolder();
    const pid_t waiter = start([this] { note("waiter "); });
    const pid_t writer = start([this] { note("writer "); });
    open();
    EXPECT_EQ(reap(holder), 0);
    {
        const CGate again(m_gate);
        note("again");
    }
    reap(waiter);
    reap(writer);
    EXPECT_EQ(contentOf(m_notes), "waiter writer again");
}

TEST_F(Gate, SurvivesAKilledHolder)
{
    const pid_t holder = start([this] {
        note("inside");
        ::pause();
    });
    ASSERT_TRUE(eventually([this] { return contentOf(m_notes) == "inside"; }));
    const pid_t waiter = start([this] { note(" next"); });
    ::kill(holder, SIGKILL);
    EXPECT_TRUE(WIFSIGNALED(reap(holder)));
    EXPECT_EQ(reap(waiter), 0);
    EXPECT_EQ(contentOf(m_notes), "inside next");
}

TEST_F(Gate, SurvivesAKilledWaiter)
{
    const pid_t holder = startHolder();
    const pid_t waiter = start([this] { note("killed"); });
    const pid_t next = start([this] { note("next"); });
    ::kill(waiter, SIGKILL);
    EXPECT_TRUE(WIFSIGNALED(reap(waiter)));
    open();
    EXPECT_EQ(reap(holder), 0);
    EXPECT_EQ(reap(next), 0);
    EXPECT_EQ(contentOf(m_notes), "next");
}

TEST_F(Gate, AdmitsOneAtATime)
{
    std::vector<pid_t> children;
    for (int count = 0; count < 6; ++count) {
        children.push_back(start([this] {
            for (int round = 0; round < 50; ++round) {
                note("(");
                note(")");
            }
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(reap(child), 0);
    }
    std::string expected;
    for (int count = 0; count < 300; ++count) {
        expected += "()";
    }
    EXPECT_EQ(contentOf(m_notes), expected);
}

}  // namespace

}  // namespace lumora::test
