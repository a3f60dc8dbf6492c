// The engine qsd when its daemon or a tool is killed: nothing that was acknowledged is lost, nothing that is listed is
// torn, and the next command goes on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "appliance/tests/qsd_store.h"

namespace lumora::test {
namespace {

constexpr int KILLED = 128 + SIGKILL;

void killDaemon(const CQsdStore& store)
{
    ASSERT_EQ(::kill(store.daemon(), SIGKILL), 0);
}

TEST(QsdCrash, AWriterGoesOnAfterTheDaemonWasKilled)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    killDaemon(store);
    store.fill(store.lun("lun1"), 'b');  // waits until the keeper has started it again
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'b');
    store.createAnnotation("A");
    store.showImage("T", "A");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'b');
}

TEST(QsdCrash, ATimeImageGoesOnAfterTheDaemonWasKilled)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    store.createAnnotation("A");
    store.showImage("T", "A");
    store.fill(store.imageLun("T", "lun1"), 'x');
    killDaemon(store);
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'x');
    EXPECT_EQ(store.filledWith(store.lun("lun1")), 'a');
}

TEST(QsdCrash, AToolStartsTheDaemonThatItFindsDead)
{
    const CQsdStore store;
    store.fill(store.lun("lun1"), 'a');
    killDaemon(store);
    store.createAnnotation("A");
    store.showImage("T", "A");
    EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), 'a');
}

TEST(QsdCrash, TheDaemonIsKilledIntoCheckpoints)
{
    const CQsdStore store;
    std::string made;
    for (const char content : std::string("abcdefgh")) {
        store.fill(store.lun("lun1"), content);
        store.fill(store.lun("lun2"), content);
        CProcess maker(lmshCommand(), script("create annotation \"" + std::string(1, content) + "\" \"cg1\"\ncommit"),
                       store.root("prod").string());
        std::this_thread::sleep_for(std::chrono::milliseconds(3 * (content - 'a')));
        killDaemon(store);
        if (maker.wait().status == 0) made += content;
    }
    EXPECT_FALSE(made.empty());
    for (const char content : made) {
        const std::string name(1, content);
        store.showImage("T" + name, name);
        EXPECT_EQ(store.filledWith(store.imageLun("T" + name, "lun1")), content);
        EXPECT_EQ(store.filledWith(store.imageLun("T" + name, "lun2")), content);
    }
}

// The command is killed when the daemon has begun the layers and the catalog does not know it yet; then a writer goes
// on, and the next command has no qemu-img to look at the layers with.
TEST(QsdCrash, ALayerThatCannotBeLookedAtIsLeftAsItIs)
{
    const CQsdStore store;
    const CTemporaryFolder programs;
    for (const char* const program : {"qemu-storage-daemon", "nbdfuse", "nbdkit", "fusermount3"}) {
        std::filesystem::create_symlink(std::filesystem::path("/usr/bin") / program, programs / program);
    }
    int refused = 0;
    for (int number = 1; number <= 3; ++number) {
        const char content = static_cast<char>('a' + number);
        CProcess killed({"/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-qq", "-o", "/dev/null", "-e",
                         "trace=fsync", "-e", "inject=fsync:signal=KILL:when=" + std::to_string(number), LMSH_PATH},
                        script("create annotation \"K\" \"cg1\"\ncommit"), store.root("prod").string());
        killed.wait();
        store.fill(store.lun("lun1"), content);
        CProcess next({"/usr/bin/env", "PATH=" + programs.path().string(), LMSH_PATH},
                      script("create annotation \"A\" \"cg1\"\ncommit"), store.root("prod").string());
        const SResult result = next.wait();
        if (result.status != 0) {
            ++refused;
            EXPECT_EQ(result.status, 6);
            EXPECT_THAT(result.err, testing::Contains("lmsh: cannot start qemu-img: install the package qemu-utils"));
        }
        store.createAnnotation("B");
        EXPECT_EQ(store.filledWith(store.lun("lun1")), content) << number;
        store.showImage("T", "B");
        EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), content) << number;
        store.expectDone("delete timeimage \"T\" \"cg1\"\ndelete annotation \"B\" \"cg1\"");
        store.lmsh("delete annotation \"A\" \"cg1\"");
        store.lmsh("delete annotation \"K\" \"cg1\"");
    }
    EXPECT_GT(refused, 0);
}

struct SKill
{
    const char* call;
    int most;
};

class QsdToolKilled : public testing::TestWithParam<SKill>
{
};

// At each of the first calls of a kind: before and after what the catalog is told, what the daemon is told, and what
// the marks of readiness are.
TEST_P(QsdToolKilled, InACheckpoint)
{
    const CQsdStore store;
    char content = 'a';
    for (int number = 1; number <= GetParam().most; ++number, ++content) {
        store.fill(store.lun("lun1"), content);
        store.fill(store.lun("lun2"), content);
        CProcess killed(
            {"/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-qq", "-o", "/dev/null", "-e",
             std::string("trace=") + GetParam().call, "-e",
             std::string("inject=") + GetParam().call + ":signal=KILL:when=" + std::to_string(number), LMSH_PATH},
            script("create annotation \"K\" \"cg1\"\ncommit"), store.root("prod").string());
        const bool wasKilled = killed.wait().status == KILLED;
        store.createAnnotation("A");
        store.showImage("T", "A");
        EXPECT_EQ(store.filledWith(store.imageLun("T", "lun1")), content) << number;
        EXPECT_EQ(store.filledWith(store.imageLun("T", "lun2")), content) << number;
        store.expectDone("delete timeimage \"T\" \"cg1\"\ndelete annotation \"A\" \"cg1\"");
        store.lmsh("delete annotation \"K\" \"cg1\"");  // its commit may have been done
        EXPECT_EQ(entriesIn(store.home() / "annotations"), 0U) << number;
        EXPECT_EQ(store.layers(), 4U) << number;
        if (!wasKilled) break;
    }
}

INSTANTIATE_TEST_SUITE_P(All, QsdToolKilled,
                         testing::Values(SKill{"fdatasync", 8}, SKill{"sendto", 6}, SKill{"unlink", 3},
                                         SKill{"rename", 2}, SKill{"fsync", 2}),
                         [](const auto& kill) { return std::string(kill.param.call); });

}  // namespace

}  // namespace lumora::test
