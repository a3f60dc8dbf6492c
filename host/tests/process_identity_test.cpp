#include "host/src/process/process_identity.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace fictl {

TEST(ProcessIdentity, TellsALivingProcessFromOneThatHadItsId)
{
    const SProcessIdentity self = thisProcess();
    EXPECT_EQ(self.pid, getpid());
    EXPECT_FALSE(self.bootId.empty());
    EXPECT_TRUE(isAlive(self));
    SProcessIdentity earlier = self;
    earlier.startTime -= 1;
    EXPECT_FALSE(isAlive(earlier));
    SProcessIdentity ofAnotherBoot = self;
    ofAnotherBoot.bootId = "another-boot";
    EXPECT_FALSE(isAlive(ofAnotherBoot));
}

TEST(ProcessIdentity, ANumberThatNoProcessCanHaveIsNotAlive)
{
    SProcessIdentity identity = thisProcess();
    for (const int64_t pid : {int64_t{0}, int64_t{-1}, (int64_t{1} << 32U) + getpid()}) {
        identity.pid = pid;
        EXPECT_FALSE(isAlive(identity)) << pid;
    }
}

TEST(ProcessIdentity, AnUnknownStartIsThatOfNoLivingProcess)
{
    SProcessIdentity identity = thisProcess();
    identity.startTime = SProcessIdentity::UNKNOWN_START;
    EXPECT_FALSE(isAlive(identity));
}

TEST(ProcessIdentity, WithoutALockOneOfAnotherNamespaceCountsAsAliveUntilTheHostStartsAnew)
{
    const SProcessIdentity self = thisProcess();
    SProcessIdentity elsewhere = {
        .pid = 1, .bootId = self.bootId, .startTime = self.startTime, .pidNamespace = "pid:[1]"};
    EXPECT_TRUE(isAlive(elsewhere));
    elsewhere.bootId = "another-boot";
    EXPECT_FALSE(isAlive(elsewhere));
    SProcessIdentity old = self;
    old.pidNamespace.clear();
    EXPECT_TRUE(isAlive(old)) << "a record of an older fictl";
}

/// A child that holds a lock in the owners' file until it is killed.
class COwnerLockTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        m_file = testing::TempDir() + "owners." + std::to_string(getpid());
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        m_child = fork();
        if (m_child == 0) {
            const COwnerLock lock(m_file);
            const SProcessIdentity self = thisProcess();
            const ssize_t told = write(ends[1], &self.lock, sizeof self.lock);
            while (told > 0) {
                pause();
            }
            _exit(1);
        }
        close(ends[1]);
        ASSERT_EQ(read(ends[0], &m_byte, sizeof m_byte), static_cast<ssize_t>(sizeof m_byte));
        close(ends[0]);
    }
    void TearDown() override
    {
        endChild();
        unlink(m_file.c_str());
    }
    void endChild()
    {
        if (m_child <= 0) return;
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        m_child = 0;
    }
    /// The owner as another container knows it: neither its id nor its namespace says anything here.
    SProcessIdentity owner() const
    {
        return {.pid = 1, .bootId = thisProcess().bootId, .startTime = 1, .pidNamespace = "pid:[1]", .lock = m_byte};
    }

    std::string m_file;
    pid_t m_child = 0;
    int64_t m_byte = 0;
};

TEST_F(COwnerLockTest, TellsAnOwnerOfAnotherNamespaceFromOneThatIsGone)
{
    EXPECT_NE(m_byte, 0);
    const COwnerLock lock(m_file);
    EXPECT_NE(thisProcess().lock, m_byte);
    EXPECT_TRUE(isAlive(owner()));
    endChild();
    EXPECT_FALSE(isAlive(owner()));
}

TEST_F(COwnerLockTest, IsSharedByAllOfOneProcessAndGivenBackByTheLast)
{
    {
        const COwnerLock first(m_file);
        const int64_t byte = thisProcess().lock;
        {
            const COwnerLock second(m_file);
            EXPECT_EQ(thisProcess().lock, byte);
        }
        EXPECT_EQ(thisProcess().lock, byte);
        EXPECT_TRUE(isAlive(owner())) << "the file stayed open";
    }
    EXPECT_EQ(thisProcess().lock, 0);
}

TEST_F(COwnerLockTest, WhoLooksSeesTheOthersAndTakesNone)
{
    const COwnerLock look(m_file, COwnerLock::EUse::LOOK);
    EXPECT_EQ(thisProcess().lock, 0);
    EXPECT_TRUE(isAlive(owner()));
    {
        const COwnerLock own(m_file);
        EXPECT_NE(thisProcess().lock, 0);
    }
    endChild();
    EXPECT_FALSE(isAlive(owner()));
}

TEST_F(COwnerLockTest, WhoLooksMakesNoFile)
{
    const std::string none = m_file + ".none";
    const COwnerLock look(none, COwnerLock::EUse::LOOK);
    EXPECT_NE(access(none.c_str(), F_OK), 0);
}

TEST_F(COwnerLockTest, ALockThatCannotBeHadIsNone)
{
    const COwnerLock lock("/nowhere/at/all");
    EXPECT_EQ(thisProcess().lock, 0);
    EXPECT_TRUE(isAlive(thisProcess()));
    EXPECT_TRUE(isAlive(owner())) << "who cannot be asked for counts as alive";
}

}  // namespace fictl
