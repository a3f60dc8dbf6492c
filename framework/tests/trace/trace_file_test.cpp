#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <regex>
#include <set>
#include <thread>

#include "framework/include/cfierrormanager.h"
#include "framework/tests/support/little_memory.h"
#include "framework/tests/support/scratch.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace obzx_pdk_4_4;
using obzx_test::readLines;
using obzx_test::text;
using testing::ElementsAre;
using testing::IsEmpty;

class TraceFile : public obzx_test::CScratch
{
  protected:
    unsigned mode(const std::string& path) const
    {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777u;
    }
};

TEST_F(TraceFile, LineHasTimeIdsLevelComponentAndText)
{
    makeLog()->trace(2, "answer %d", 42);
    const std::vector<std::string> lines = readLines(tracePath());
    ASSERT_EQ(lines.size(), 1u);
    const std::string ids = std::to_string(::getpid()) + "\\." + std::to_string(::gettid());
    EXPECT_TRUE(std::regex_match(
        lines[0], std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{6}Z " + ids + " L2 unit answer 42")))
        << lines[0];
}

TEST_F(TraceFile, OnlyThisUserCanReadIt)
{
    const mode_t former = ::umask(0);
    makeLog()->trace(1, "secret");
    ::umask(former);
    EXPECT_EQ(mode(root() + "/var/log/qz"), 0700u);
    EXPECT_EQ(mode(tracePath()), 0600u);
}

TEST_F(TraceFile, DefaultLevelIsTwo)
{
    const CFiTraceLogPtr log = makeLog();
    EXPECT_TRUE(log->isEnabled(2));
    EXPECT_FALSE(log->isEnabled(3));
    log->trace(3, "lost");
    log->trace(2, "kept");
    EXPECT_THAT(traceLines(), ElementsAre("L2 unit kept"));
}

TEST_F(TraceFile, ArgumentAboveOneSetsTheDefaultLevel)
{
    CFiTraceLogPtr log(true);
    log->initialize("unit", "", "", 4, false);
    EXPECT_TRUE(log->isEnabled(4));
    EXPECT_FALSE(log->isEnabled(5));
}

TEST_F(TraceFile, LinesOfTheStoreThatCannotBeReadAreNamedOnceByEachLog)
{
    configure("[FI_TRACE]\nLEVEL 1\n[FI_EXEC\nMAX_SIZE = 4096\n");
    const std::string store = root() + "/etc/qz/unit.conf";
    const std::string second = "L2 unit CFiConfiguration - line [2] of [" + store + "] cannot be read and is skipped.";
    const std::string third = "L2 unit CFiConfiguration - line [3] of [" + store + "] cannot be read and is skipped.";
    const CFiTraceLogPtr log = makeLog();
    EXPECT_THAT(traceLines(), ElementsAre(second, third));
    log->initialize("unit", "", "", 1, false);
    EXPECT_THAT(traceLines(), ElementsAre(second, third)) << "a log that is initialised stays as it is";
    makeLog();
    EXPECT_THAT(traceLines(), ElementsAre(second, third, second, third));
}

TEST_F(TraceFile, LinesThatCannotBeReadDoNotRaiseTheLevelNorGetPastIt)
{
    configure("nothing\n[FI_TRACE]\nLEVEL=1\n");
    makeLog()->trace(1, "kept");
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit kept"));
}

TEST_F(TraceFile, StoreSetsTheLevel)
{
    configure("[FI_TRACE]\nLEVEL = 3\n");
    const CFiTraceLogPtr log = makeLog();
    EXPECT_TRUE(log->isEnabled(3));
    EXPECT_FALSE(log->isEnabled(4));
}

TEST_F(TraceFile, EnvironmentOverridesTheLevel)
{
    configure("[FI_TRACE]\nLEVEL=3\n");
    ::setenv("OBZX_TRACE_LEVEL", "6", 1);
    EXPECT_TRUE(makeLog()->isEnabled(6));
    ::setenv("OBZX_TRACE_LEVEL", "0", 1);
    const CFiTraceLogPtr silent = makeLog();
    EXPECT_FALSE(silent->isEnabled(1));
}

TEST_F(TraceFile, NumbersThatAreNoneAreIgnored)
{
    configure("[FI_TRACE]\nLEVEL=many\nMAX_SIZE=-5\nMAX_FILES=99999999999999999999\n");
    for (const char* bad : {"", "x", "3x", " 3", "-1", "99999999999", "0x6", "3.5"}) {
        ::setenv("OBZX_TRACE_LEVEL", bad, 1);
        const CFiTraceLogPtr log = makeLog();
        EXPECT_TRUE(log->isEnabled(2)) << bad;
        EXPECT_FALSE(log->isEnabled(3)) << bad;
    }
}

TEST_F(TraceFile, StoreNamesTheFile)
{
    configure("[FI_TRACE]\nFILE=/deep/er/own.log\n");
    makeLog()->trace(1, "here");
    EXPECT_EQ(readLines(root() + "/deep/er/own.log").size(), 1u);
    EXPECT_FALSE(fs::exists(tracePath()));
}

TEST_F(TraceFile, ArgumentsNameFolderAndFile)
{
    CFiTraceLogPtr log(true);
    log->initialize("unit", "", "/folder", 1, false);
    log->trace(1, "here");
    EXPECT_EQ(readLines(root() + "/folder/unit.log").size(), 1u);
    CFiTraceLogPtr other(true);
    other->initialize("unit", "/file.log", "/folder", 1, false);
    other->trace(1, "there");
    EXPECT_EQ(readLines(root() + "/file.log").size(), 1u);
}

TEST_F(TraceFile, LogThatIsNotInitialisedWritesNothing)
{
    CFiTraceLogPtr log(true);
    EXPECT_FALSE(log->isInitialized());
    EXPECT_FALSE(log->isEnabled(1));
    EXPECT_FALSE(log->isEnabled(0));
    EXPECT_FALSE(log->isEnabled(-5));
    EXPECT_TRUE(log->getComponent().empty());
    log->trace(1, "lost");
    log->write(1, "lost", nullptr, 0);
    EXPECT_FALSE(fs::exists(root() + "/var"));
}

TEST_F(TraceFile, SecondInitialisationChangesNothing)
{
    CFiTraceLogPtr log = makeLog();
    log->initialize("other", "", "", 6, false);
    EXPECT_EQ(log->getComponent(), text("unit"));
    EXPECT_FALSE(log->isEnabled(6));
}

TEST_F(TraceFile, TextsAreWrittenAsTheyStand)
{
    const CFiTraceLogPtr log = makeLog();
    log->trace(1, "two\nlines %s", "with %s and {}");
    log->trace(1, "[%s]", "a\0b"s);
    log->trace(1, "");
    log->write(1, nullptr, nullptr, 0);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit two", "lines with %s and {}", "L1 unit [a\0b]"s, "L1 unit "));
}

TEST_F(TraceFile, LineOfMoreThan64KiBIsCutUnlessTheStoreLetsItBeLonger)
{
    const std::string longest(64 * 1024, 'x');
    for (const char* const store : {"", "[FI_TRACE]\nMAX_LINE=100\n"}) {
        configure(store);
        std::filesystem::remove_all(root() + "/var");
        const CFiTraceLogPtr log = makeLog();
        log->trace(1, "%s", longest);
        log->trace(1, "%s", longest + "yz");
        EXPECT_THAT(traceLines(), ElementsAre("L1 unit " + longest, "L1 unit " + longest + " ... [2 bytes more]"));
    }
    configure("[FI_TRACE]\nMAX_LINE=65537\n");
    std::filesystem::remove_all(root() + "/var");
    makeLog()->trace(1, "%s", longest + "yz");
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit " + longest + "y ... [1 bytes more]"));
}

TEST_F(TraceFile, LinesAreAddedToTheFileThatIsThere)
{
    makeLog()->trace(1, "first");
    makeLog()->trace(1, "second");
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit first", "L1 unit second"));
}

TEST_F(TraceFile, IsRotatedAndOnlySoManyAreKept)
{
    configure("[FI_TRACE]\nMAX_SIZE=2000\nMAX_FILES=2\n");
    const CFiTraceLogPtr log = makeLog();
    for (int i = 0; i < 200; ++i) {
        log->trace(1, "line %d", i);
    }
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(root() + "/var/log/qz")) {
        names.insert(entry.path().filename());
        EXPECT_LE(entry.file_size(), 2000u);
        EXPECT_EQ(mode(entry.path()), 0600u);
    }
    EXPECT_EQ(names, (std::set<std::string>{"unit.log", "unit.1.log", "unit.2.log"}));
    EXPECT_EQ(traceLines().back(), "L1 unit line 199");
}

TEST_F(TraceFile, EightThreadsWriteWholeLines)
{
    configure("[FI_TRACE]\nMAX_SIZE=100000000\n");
    const CFiTraceLogPtr log = makeLog();
    const std::string filler(6000, 'x');
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&log, &filler, t] {
            for (int i = 0; i < 200; ++i) {
                log->trace(1, "<%d %d %s>", t, i, filler);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<int> next(8, 0);
    for (const std::string& line : traceLines()) {
        ASSERT_EQ(line.rfind("L1 unit <", 0), 0u);
        const int thread = line[9] - '0';
        ASSERT_EQ(line, "L1 unit <" + std::to_string(thread) + " " +
                            std::to_string(next.at(static_cast<size_t>(thread))++) + " " + filler + ">");
    }
    EXPECT_EQ(next, std::vector<int>(8, 200));
}

TEST_F(TraceFile, FileThatCannotBeOpenedSilencesTracingAndNothingElse)
{
    fs::create_directories(tracePath());  // a folder in the file's place
    const CFiTraceLogPtr log = makeLog();
    errno = 77;
    testing::internal::CaptureStderr();
    log->trace(1, "lost");
    log->trace(1, "lost");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(errno, 77);
    EXPECT_TRUE(log->isInitialized());
}

TEST_F(TraceFile, FolderThatIsAFileSilencesTracing)
{
    obzx_test::writeFile(root() + "/var/log", "");
    makeLog()->trace(1, "lost");
    EXPECT_EQ(readLines(root() + "/var/log").size(), 0u);
}

TEST_F(TraceFile, FifoInItsPlaceDoesNotHoldUpTheHost)
{
    fs::create_directories(root() + "/var/log/qz");
    ASSERT_EQ(::mkfifo(tracePath().c_str(), 0600), 0);
    makeLog()->trace(1, "lost");
}

TEST_F(TraceFile, FullDiskSilencesTracing)
{
    if (::access("/dev/full", W_OK) != 0) {
        FAIL() << "no /dev/full on this host";
    }
    ::unsetenv("OBZX_ROOT");
    CFiTraceLogPtr log(true);
    log->initialize("unit", "/dev/full", "", 1, false);
    log->trace(1, "lost");
    ::setenv("OBZX_ROOT", root().c_str(), 1);
}

// The limit works like a disk that is full after some bytes; in a child, because it holds for a whole process.
TEST_F(TraceFile, WriteThatFailsHalfWayDoesNotStopTheHost)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit limit{2000, 2000};
        const CFiTraceLogPtr log = makeLog();
        ::setrlimit(RLIMIT_FSIZE, &limit);
        for (int i = 0; i < 100; ++i) {
            log->trace(1, "line %d", i);
        }
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fs::file_size(tracePath()), 2000u);
}

#if OBZX_TEST_LIMITS_MEMORY
TEST_F(TraceFile, ErrorOfTheCallerStaysAlsoWhenThereIsNoMemoryForALine)
{
    const CFiTraceLogPtr log = makeLog();
    const std::string text(20000, 'x');
    obzx_test::runWithLittleMemory([&] {
        errno = ENOENT;
        log->trace(1, "%s", text);
        const bool stays = errno == ENOENT;
        return stays && std::string(text).size() == text.size();
    });
}
#endif

TEST_F(TraceFile, ComponentThatCannotNameAFileHasNone)
{
    for (const std::string& name : {"../x"s, "a/b"s, ""s, "a\0b"s}) {
        CFiTraceLogPtr log(true);
        log->initialize(text(name), "", "", 1, false);
        log->trace(1, "lost");
    }
    EXPECT_TRUE(fs::is_empty(root()));
}

TEST_F(TraceFile, ForkedChildShowsItsOwnIdsHoweverItWasForked)
{
    const CFiTraceLogPtr log = makeLog();
    log->trace(1, "parent");
    const auto forkBySystemCall = [] { return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); };
    for (const std::function<pid_t()>& forkOnce : {std::function<pid_t()>(::fork), {forkBySystemCall}}) {
        const pid_t child = forkOnce();
        if (child == 0) {
            log->trace(1, "child");
            ::_exit(0);
        }
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        const std::string id = std::to_string(child);
        const std::string line = readLines(tracePath()).back();
        EXPECT_NE(line.find(" " + id + "." + id + " L1 unit child"), std::string::npos) << line;
    }
}

TEST_F(TraceFile, EachThreadShowsItsOwnIdAlsoInAForkedChild)
{
    const CFiTraceLogPtr log = makeLog();
    std::thread([&log] {
        log->trace(1, "thread %d", ::gettid());
        const pid_t child = ::fork();
        if (child == 0) {
            log->trace(1, "thread %d", ::gettid());
            ::_exit(0);
        }
        ::waitpid(child, nullptr, 0);
    }).join();
    const std::vector<std::string> lines = readLines(tracePath());
    ASSERT_EQ(lines.size(), 2u);
    for (const std::string& line : lines) {
        EXPECT_TRUE(std::regex_search(line, std::regex(" \\d+\\.(\\d+) L1 unit thread \\1$"))) << line;
    }
}

TEST_F(TraceFile, TimeIsThatOfTheLine)
{
    const auto now = [] {
        timespec time = {};
        ::clock_gettime(CLOCK_REALTIME, &time);
        std::tm utc = {};
        ::gmtime_r(&time.tv_sec, &utc);
        char text[64];
        const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
        std::snprintf(text + length, sizeof text - length, ".%06ldZ", time.tv_nsec / 1000);
        return std::string(text);
    };
    const CFiTraceLogPtr log = makeLog();
    std::vector<std::string> between = {now()};
    for (int i = 0; i < 4; ++i) {
        log->trace(1, "line");
        between.push_back(now());
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // into the next second
    }
    const std::vector<std::string> lines = readLines(tracePath());
    ASSERT_EQ(lines.size(), 4u);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string time = lines[i].substr(0, lines[i].find(' '));
        EXPECT_LE(between[i], time);
        EXPECT_LE(time, between[i + 1]);
    }
}

TEST_F(TraceFile, ProcessThatIsKilledLeavesEveryLine)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const CFiTraceLogPtr log = makeLog();
        log->trace(1, "first");
        log->trace(1, "last");
        ::raise(SIGKILL);
    }
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit first", "L1 unit last"));
}

TEST_F(TraceFile, TwoLogsShareNothing)
{
    const CFiTraceLogPtr first = makeLog();
    CFiTraceLogPtr second(true);
    second->initialize("other", "", "", 6, false);
    EXPECT_FALSE(first->isEnabled(6));
    first->trace(1, "a");
    second->trace(6, "b");
    EXPECT_THAT(traceLines(), ElementsAre("L1 unit a"));
    EXPECT_EQ(readLines(root() + "/var/log/qz/other.log").size(), 1u);
}

TEST_F(TraceFile, DescriptorIsClosedWithTheLogAndOnExec)
{
    const auto open = [this] {
        int count = 0;
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (fs::read_symlink(entry, gone) != tracePath()) continue;
            ++count;
            EXPECT_EQ(::fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
        }
        return count;
    };
    CFiTraceLogPtr log = makeLog();
    log->trace(1, "x");
    EXPECT_EQ(open(), 1);
    log.release();
    EXPECT_EQ(open(), 0);
}

TEST_F(TraceFile, KeepsTheErrorManager)
{
    const CFiTraceLogPtr log = makeLog();
    EXPECT_FALSE(log->getErrorManager());
    const CFiErrorManagerPtr manager(true);
    log->setErrorManager(manager);
    EXPECT_TRUE(log->getErrorManager() == manager);
    EXPECT_EQ(manager->getCount(), 2);
    log->setErrorManager(CFiErrorManagerPtr());
    EXPECT_EQ(manager->getCount(), 1);
}

TEST_F(TraceFile, EightThreadsInitialiseOnce)
{
    CFiTraceLogPtr log(true);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&log, t] {
            log->initialize("unit", "", "", 1, false);
            log->trace(1, "%d", t);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(traceLines().size(), 8u);
}

}  // namespace
