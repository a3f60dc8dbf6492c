// The records of runs, in every way in which a run can end.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include "base/file_descriptor.h"
#include "base/tests/stalled_program.h"
#include "framework/include/cfientrypoint.h"
#include "framework/src/process/run_record.h"
#include "framework/tests/process/run_fixture.h"
#include "framework/tests/support/little_memory.h"

namespace {

using namespace std::string_literals;
using namespace obzx_pdk_4_4;
using obzx_test::SSeenRun;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr size_t KIB = 1024;
constexpr size_t MIB = KIB * KIB;

class RunRecord : public obzx_test::CRunTest
{
  protected:
    /// The record of the end of the only run, which is the second one when the program was started.
    SSeenRun endOf(const std::string& commandLine, const std::string& input = "", unsigned long timeout = 60)
    {
        forget();
        m_result = run(commandLine, input, timeout);
        EXPECT_FALSE(seen().empty());
        const SSeenRun& end = seen().back();
        EXPECT_THAT(seen(), SizeIs(end.process == 0 ? 1 : 2));
        EXPECT_EQ(end.phase, OBZX_RUN_ENDED);
        EXPECT_EQ(end.result, m_result);
        EXPECT_TRUE(end.isClosed);
        return end;
    }

    /// Everything that says how a run ended.
    static std::vector<int> ending(const SSeenRun& end)
    {
        return {end.result, end.exitStatus, end.signal, end.error, end.stopped};
    }

    int m_result = -1;
};

TEST_F(RunRecord, TellsAtTheStartWhatIsKnownByThen)
{
    const time_t before = ::time(nullptr);
    const CFiEntryPoint entry("somefi_fi_pgn_init_altnode");
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, "list\n");
    run(child("copy \"a b\""), input, 30);
    ASSERT_THAT(seen(), SizeIs(2));
    const SSeenRun& start = seen()[0];
    EXPECT_EQ(start.size, sizeof(obzx_run));
    EXPECT_EQ(start.phase, OBZX_RUN_STARTED);
    EXPECT_EQ(start.entryPoint, "init_altnode");
    EXPECT_THAT(start.arguments, ElementsAre(EXEC_CHILD, "copy", "a b"));
    EXPECT_TRUE(start.isClosed);
    EXPECT_EQ(start.input, "list\n");
    EXPECT_EQ(start.inputSize, 5u);
    EXPECT_GT(start.process, 1);
    EXPECT_GE(start.startSeconds, before);
    EXPECT_LE(start.startSeconds, ::time(nullptr));
    EXPECT_GE(start.startNanoseconds, 0);
    EXPECT_LT(start.startNanoseconds, 1000 * 1000 * 1000);
    EXPECT_EQ(start.limitSeconds, 30u);
    EXPECT_THAT(ending(start), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(start.duration, 0u);
    EXPECT_EQ(start.output, "");
    EXPECT_EQ(start.outputSize, 0u);
    EXPECT_EQ(start.thread, std::this_thread::get_id());
}

TEST_F(RunRecord, RepeatsAtTheEndWhatItToldAtTheStart)
{
    const CFiEntryPoint entry("somefi_fi_pgn_make");
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, "list\n");
    run(child("copy"), input, 30);
    ASSERT_THAT(seen(), SizeIs(2));
    const SSeenRun& start = seen()[0];
    const SSeenRun& end = seen()[1];
    EXPECT_EQ(end.size, start.size);
    EXPECT_EQ(end.number, start.number);
    EXPECT_EQ(end.entryPoint, "make");
    EXPECT_EQ(end.arguments, start.arguments);
    EXPECT_EQ(end.input, start.input);
    EXPECT_EQ(end.inputSize, start.inputSize);
    EXPECT_EQ(end.process, start.process);
    EXPECT_EQ(end.startSeconds, start.startSeconds);
    EXPECT_EQ(end.startNanoseconds, start.startNanoseconds);
    EXPECT_EQ(end.limitSeconds, start.limitSeconds);
    EXPECT_EQ(end.thread, start.thread);
    EXPECT_GT(end.duration, 0u);
}

TEST_F(RunRecord, CountsTheRunsThatWereObserved)
{
    const uint64_t first = endOf(child("exit 0")).number;
    EXPECT_GT(first, 0u);
    EXPECT_EQ(endOf(root() + "/missing").number, first + 1);
    obzx_set_run_observer(nullptr, nullptr);
    run(child("exit 0"));
    observe();
    EXPECT_EQ(endOf(child("exit 0")).number, first + 2);
}

TEST_F(RunRecord, NamesNoEntryPointOutsideOfOne)
{
    EXPECT_EQ(endOf(child("exit 0")).entryPoint, "");
}

TEST_F(RunRecord, TellsExitStatusAndSignalApart)
{
    EXPECT_THAT(ending(endOf(child("exit 0"))), ElementsAre(EXEC_OK, 0, 0, 0, OBZX_RUN_NOT_STOPPED));
    EXPECT_THAT(ending(endOf(child("exit 3"))), ElementsAre(EXEC_FAILED, 3, 0, 0, OBZX_RUN_NOT_STOPPED));
    EXPECT_THAT(ending(endOf(child("exit 137"))), ElementsAre(EXEC_FAILED, 137, 0, 0, OBZX_RUN_NOT_STOPPED));
    EXPECT_THAT(ending(endOf(child("die 9"))), ElementsAre(EXEC_FAILED, 0, SIGKILL, 0, OBZX_RUN_NOT_STOPPED));
    EXPECT_THAT(ending(endOf(child("die 15"))), ElementsAre(EXEC_FAILED, 0, SIGTERM, 0, OBZX_RUN_NOT_STOPPED));
}

TEST_F(RunRecord, OfAProgramThatCannotBeStartedHasTheReasonAndNoStart)
{
    const std::string plain = root() + "/plain";
    obzx_test::writeFile(plain, "text\n");
    ASSERT_EQ(::chmod(plain.c_str(), 0644), 0);
    ::setenv("PATH", "/usr/bin:/bin", 1);
    const std::pair<std::string, int> table[] = {{root() + "/missing", ENOENT},
                                                 {"no-such-program-anywhere", ENOENT},
                                                 {plain, EACCES},
                                                 {root(), EACCES},
                                                 {plain + "/x", ENOTDIR},
                                                 {"\"\"", ENOENT}};
    for (const auto& [command, error] : table) {
        const SSeenRun end = endOf(command + " argument", plain);
        EXPECT_THAT(seen(), SizeIs(1)) << command;
        EXPECT_THAT(ending(end), ElementsAre(EXEC_FAILED, 0, 0, error, OBZX_RUN_NOT_STOPPED)) << command;
        EXPECT_EQ(end.process, 0);
        EXPECT_THAT(end.arguments, ElementsAre(command == "\"\"" ? "" : command, "argument"));
        EXPECT_EQ(end.input, "text\n");
    }
}

TEST_F(RunRecord, OfALineThatIsNoCommandHasTheLine)
{
    for (const std::string& line : {"\"unbalanced a b"s, ""s, "  "s}) {
        const SSeenRun end = endOf(line);
        EXPECT_THAT(ending(end), ElementsAre(EXEC_FAILED, 0, 0, EINVAL, OBZX_RUN_NOT_STOPPED)) << line;
        EXPECT_THAT(end.arguments, ElementsAre(line));
    }
    EXPECT_THAT(endOf("up to\0here"s).arguments, ElementsAre("up to"));
}

TEST_F(RunRecord, OfArgumentsThatCannotBeUsedHasTheReason)
{
    EXPECT_EQ(endOf(child("exit 0"), root() + "/missing").error, ENOENT);
    EXPECT_EQ(endOf(child("exit 0"), "x\0y"s).error, EINVAL);
    forget();
    m_pipe.Exec(child("exit 0"), m_lines, "", 60, "", "", "NOVALUE");
    EXPECT_EQ(seen().at(0).error, EINVAL);
}

TEST_F(RunRecord, OfATimeOutHasLimitSignalAndOutput)
{
    const SSeenRun end = endOf(child("hang"), "", 1);
    EXPECT_THAT(ending(end), ElementsAre(EXEC_TIMED_OUT, 0, SIGTERM, 0, OBZX_RUN_STOPPED_BY_LIMIT));
    EXPECT_EQ(end.limitSeconds, 1u);
    EXPECT_EQ(end.output, std::to_string(end.process) + "\n");
    EXPECT_GE(end.duration, 1000u * 1000 * 1000);
}

TEST_F(RunRecord, OfAProgramThatWasStoppedBeforeItRanHasNoProcessAndNoStart)
{
    const std::string program = root() + "/stalled";
    const base_test::CStalledProgram stalled(program);
    const SSeenRun end = endOf(program, "", 1);
    EXPECT_EQ(seen().size(), 1u);
    EXPECT_THAT(ending(end), ElementsAre(EXEC_TIMED_OUT, 0, 0, 0, OBZX_RUN_STOPPED_BY_LIMIT));
    EXPECT_EQ(end.process, 0);
    EXPECT_GE(end.duration, 1000u * 1000 * 1000);
}

TEST_F(RunRecord, OfAProgramThatIsOpenedSlowlyCanBeCancelled)
{
    const std::string program = root() + "/stalled";
    const base_test::CStalledProgram stalled(program);
    std::thread canceller([] {
        ::usleep(100 * 1000);
        obzx_cancel_runs();
    });
    const SSeenRun end = endOf(program);
    canceller.join();
    EXPECT_THAT(ending(end), ElementsAre(EXEC_TIMED_OUT, 0, 0, 0, OBZX_RUN_STOPPED_BY_CANCEL));
}

TEST_F(RunRecord, OfTooLongAnOutputHasItsStartAndItsSize)
{
    const SSeenRun end = endOf(child("flood-lines 1024"));
    EXPECT_THAT(ending(end), ElementsAre(EXEC_TOO_LONG, 0, end.signal, 0, OBZX_RUN_STOPPED_BY_OUTPUT));
    EXPECT_THAT(end.signal, testing::AnyOf(SIGTERM, 0)) << "0: it met the closed output first";
    EXPECT_EQ(end.output.size(), MIB);
    EXPECT_EQ(end.output.substr(0, 4), "x\nx\n");
    EXPECT_GT(end.outputSize, 256 * MIB);
    EXPECT_LT(end.outputSize, 260 * MIB) << "it was not left to go on";
}

TEST_F(RunRecord, OfALostStatusSaysSo)
{
    EXPECT_TRUE(inChild([&] {
        ::signal(SIGCHLD, SIG_IGN);
        const SSeenRun end = endOf(child("both"));
        return ending(end) == std::vector<int>{EXEC_FAILED, 0, 0, ECHILD, OBZX_RUN_NOT_STOPPED} &&
               end.output == "out 1\nerr 1\nout 2\nerr 2\n";
    }));
}

TEST_F(RunRecord, LongInputIsKeptInPartAndReachesTheProgramWhole)
{
    const std::string input = root() + "/input";
    const std::string text = std::string(64 * KIB, 'a') + std::string(KIB, 'b');
    obzx_test::writeFile(input, text);
    const SSeenRun end = endOf(child("copy"), input);
    EXPECT_EQ(end.input, std::string(64 * KIB, 'a'));
    EXPECT_EQ(end.inputSize, 65 * KIB);
    EXPECT_EQ(end.output, text);
}

TEST_F(RunRecord, InputIsWhatTheProgramWasGivenNotWhatItMadeOfIt)
{
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, "a\0b"s);
    const SSeenRun end = endOf("/bin/sh -c \"echo >" + input + "; rm " + input + "\"", input);
    EXPECT_EQ(end.result, EXEC_OK);
    EXPECT_EQ(end.input, "a\0b"s);
    EXPECT_EQ(end.inputSize, 3u);
}

TEST_F(RunRecord, InputOfAFifoIsLeftToTheProgram)
{
    const std::string fifo = root() + "/fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const base::CFileDescriptor writer(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::write(writer.get(), "text\n", 5), 5);
    const SSeenRun end = endOf("/usr/bin/head -n 1", fifo);
    EXPECT_EQ(end.input, "");
    EXPECT_EQ(end.inputSize, 0u);
    EXPECT_EQ(end.output, "text\n");
}

TEST_F(RunRecord, WithoutInputHasNone)
{
    for (const std::string& input : {""s, "/dev/null"s, "/dev/zero"s}) {
        const SSeenRun end = endOf(child("exit 0"), input);
        EXPECT_EQ(end.input, "");
        EXPECT_EQ(end.inputSize, 0u);
    }
}

TEST_F(RunRecord, LongOutputIsKeptInPart)
{
    const SSeenRun end = endOf(child("flood 2"));
    EXPECT_EQ(end.result, EXEC_OK);
    EXPECT_EQ(end.output, std::string(MIB, 'x'));
    EXPECT_EQ(end.outputSize, 2 * MIB);
    EXPECT_THAT(m_lines, ElementsAre(std::string(2 * MIB, 'x')));
}

TEST_F(RunRecord, OutputIsAsItCame)
{
    const SSeenRun end = endOf(child("nul"));
    EXPECT_EQ(end.output, "a\0b\nc\r\n\0"s);
    EXPECT_EQ(end.outputSize, 8u);
    EXPECT_EQ(endOf("/usr/bin/printf no-end").output, "no-end");
}

struct SReleased
{
    std::vector<std::string> before;
    std::vector<std::string> after;
    int error = 0;
};

TEST_F(RunRecord, EndComesAfterEverythingIsReleased)
{
    run(child("exit 0"));  // whatever the first run makes once
    for (const char* const what : {"exit 3", "hang"}) {
        SReleased released;
        released.before = openDescriptors();
        obzx_set_run_observer(
            [](void* context, const obzx_run* run) {
                auto* const state = static_cast<SReleased*>(context);
                if (run->phase != OBZX_RUN_ENDED) return;
                state->error = ::kill(static_cast<pid_t>(run->process), 0) == 0 ? 0 : errno;
                state->after = openDescriptors();
            },
            &released);
        run(child(what), "", 1);
        EXPECT_EQ(released.error, ESRCH) << what;
        EXPECT_EQ(released.after, released.before) << what;
    }
}

#if OBZX_TEST_LIMITS_MEMORY

struct SCounted
{
    int starts = 0;
    int ends = 0;
    uint64_t number = 0;
    bool isWhole = true;
};

// Allocates nothing.
void countRun(void* context, const obzx_run* run)
{
    auto* const counted = static_cast<SCounted*>(context);
    ++(run->phase == OBZX_RUN_STARTED ? counted->starts : counted->ends);
    const bool hasArguments = run->argument_count >= 1 && run->arguments[run->argument_count] == nullptr;
    const bool hasInput = run->input_kept == 0 || run->input_kept == 64 * KIB;
    const bool hasOutput = run->output_kept == 0 || run->output_kept == run->output_size;
    counted->isWhole = counted->isWhole && hasArguments && hasInput && hasOutput;
    counted->isWhole = counted->isWhole && (counted->number == 0 || counted->number == run->number);
    counted->number = run->number;
}

TEST_F(RunRecord, WithLittleMemoryARunStillHasOneEnd)
{
    const std::string input = root() + "/input";
    obzx_test::writeFile(input, std::string(100 * KIB, 'x'));
    const std::string command = child("arguments a b c");
    std::vector<std::string> lines;
    lines.reserve(16);
    obzx_test::runWithLittleMemory([&] {
        SCounted counted;
        obzx_set_run_observer(countRun, &counted);
        bool hadMemory = true;
        try {
            m_pipe.Exec(command, lines, input, 60, "", "", "");
        } catch (const std::bad_alloc&) {
            hadMemory = false;
        }
        obzx_set_run_observer(nullptr, nullptr);
        // A run that failed before there was a command is none.
        const bool isTold = counted.ends == 1 || (counted.ends == 0 && !hadMemory);
        const bool isRight = counted.isWhole && isTold && counted.starts <= counted.ends;
        if (isRight && !hadMemory) throw std::bad_alloc();
        return isRight;
    });
}

#endif

TEST(EntryPoint, InsideAnotherCountsUntilItReturns)
{
    EXPECT_EQ(CFiEntryPoint::current(), nullptr);
    const CFiEntryPoint outer("a_fi_pgn_fi_pgn_make");
    EXPECT_STREQ(CFiEntryPoint::name(), "make");
    {
        const CFiEntryPoint inner("otherfi_fi_pgn_errmsg");
        EXPECT_STREQ(CFiEntryPoint::name(), "errmsg");
        const CFiEntryPoint none(nullptr);
        EXPECT_STREQ(CFiEntryPoint::name(), "");
    }
    EXPECT_STREQ(CFiEntryPoint::name(), "make");
    const CFiEntryPoint odd("make");
    EXPECT_STREQ(CFiEntryPoint::name(), "make") << "a name that is not a provider's stays whole";
}

TEST(EntryPoint, ThreadIsNotCancelledInsideAndAsBeforeOutside)
{
    const auto cancelState = [] {
        int state = 0;
        int ours = 0;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
        ::pthread_setcancelstate(state, &ours);
        return state;
    };
    EXPECT_EQ(cancelState(), PTHREAD_CANCEL_ENABLE);
    {
        const CFiEntryPoint outer("somefi_fi_pgn_make");
        {
            const CFiEntryPoint inner("otherfi_fi_pgn_errmsg");
            EXPECT_EQ(cancelState(), PTHREAD_CANCEL_DISABLE);
        }
        EXPECT_EQ(cancelState(), PTHREAD_CANCEL_DISABLE);
    }
    EXPECT_EQ(cancelState(), PTHREAD_CANCEL_ENABLE);
}

TEST(EntryPoint, IsAThreadsOwnAndCanBeTakenOver)
{
    const CFiEntryPoint entry("somefi_fi_pgn_init");
    const char* const current = CFiEntryPoint::current();
    std::thread([current] {
        EXPECT_STREQ(CFiEntryPoint::name(), "");
        const CFiEntryPoint taken(current);
        EXPECT_STREQ(CFiEntryPoint::name(), "init");
    }).join();
}

}  // namespace
