#include "base/file_sync.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <filesystem>

#include "base/tests/temporary_folder.h"

namespace {

TEST(SyncFolder, OneThatIsThereIsWaitedForAndOneThatIsNotIsToldOf)
{
    const base_test::CTemporaryFolder folder;
    EXPECT_TRUE(base::syncFolder(folder.path().c_str()));
    errno = 0;
    EXPECT_FALSE(base::syncFolder((folder.path() / "none").c_str()));
    EXPECT_EQ(errno, ENOENT);
}

TEST(SyncFolder, OneThatMayBeWrittenAndNotReadIsWaitedForToo)
{
    const base_test::CTemporaryFolder folder;
    const std::filesystem::path inbox = folder.path() / "inbox";
    ASSERT_EQ(::mkdir(inbox.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(inbox.c_str(), 0333), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t NOBODY = 65534;
        const bool isReady = ::chdir(inbox.c_str()) == 0 && (::geteuid() != 0 || ::setuid(NOBODY) == 0) &&
                             ::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) < 0;
        ::_exit(isReady && base::syncFolder(".") ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace
