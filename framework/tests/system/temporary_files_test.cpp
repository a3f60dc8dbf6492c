#include "framework/src/system/temporary_files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "framework/tests/support/little_memory.h"
#include "framework/tests/support/scratch.h"

namespace {

namespace fs = std::filesystem;
using namespace obzx_pdk_4_4;

class TemporaryFiles : public obzx_test::CScratch
{
  protected:
    // Mark of a process that has ended and was collected.
    static std::string markOfAnother()
    {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        const pid_t pid = ::fork();
        if (pid == 0) {
            const std::string mark = temporaryFileMark();
            ::_exit(::write(ends[1], mark.data(), mark.size()) == static_cast<ssize_t>(mark.size()) ? 0 : 1);
        }
        EXPECT_EQ(::waitpid(pid, nullptr, 0), pid);
        char text[200];
        const ssize_t count = ::read(ends[0], text, sizeof text);
        ::close(ends[0]);
        ::close(ends[1]);
        return {text, static_cast<size_t>(std::max<ssize_t>(count, 0))};
    }
    std::string place(const std::string& name) const
    {
        obzx_test::writeFile(root() + "/" + name, "script");
        return root() + "/" + name;
    }
    void look() const { removeLeftTemporaryFiles(root(), "job"); }
};

TEST_F(TemporaryFiles, OfAProcessThatIsGoneAreRemoved)
{
    const std::string left = place("job" + markOfAnother() + "aB3dE9");
    look();
    EXPECT_FALSE(fs::exists(left));
}

TEST_F(TemporaryFiles, OfALivingProcessStay)
{
    const std::string own = place("job" + temporaryFileMark() + "aB3dE9");
    look();
    EXPECT_TRUE(fs::exists(own));
}

TEST_F(TemporaryFiles, OfAnIdThatIsUsedAgainAreRemoved)
{
    std::string mark = temporaryFileMark();
    mark.insert(mark.size() - 1, "1");  // the same id with another start
    const std::string left = place("job" + mark + "aB3dE9");
    look();
    EXPECT_FALSE(fs::exists(left));
}

TEST_F(TemporaryFiles, OfOtherKindsStay)
{
    const std::string mark = markOfAnother();
    const std::string elsewhere = (mark[0] == 'f' ? "0" : "f") + mark.substr(1);
    for (const std::string& name :
         {"other" + mark + "aB3dE9", "job" + elsewhere + "aB3dE9", "job" + mark + "aB3dE", "job" + mark + "aB3dE9x",
          std::string("jobaB3dE9"), std::string("job"), "job" + mark.substr(0, 17) + "x_5_aB3dE9",
          "job" + mark.substr(0, 17) + "999999_0_aB3dE9"}) {
        const std::string file = place(name);
        look();
        EXPECT_TRUE(fs::exists(file)) << name;
    }
    const fs::path folder = root() + "/job" + mark + "f0lder";
    fs::create_directory(folder);
    const fs::path link = root() + "/job" + mark + "l1nk00";
    fs::create_symlink(place("target"), link);
    look();
    EXPECT_TRUE(fs::exists(folder));
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(link)));
}

TEST_F(TemporaryFiles, OfALivingProcessStayWhenItCannotBeLookedAt)
{
    const std::string own = place("job" + temporaryFileMark() + "aB3dE9");
    const std::string folder = root();
    // What lies in the folder can be read, and nothing beside it.
    const int lowest = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(lowest, 0);
    ::close(lowest);
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit one = {static_cast<rlim_t>(lowest) + 1, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &one), 0);
    removeLeftTemporaryFiles(folder, "job");
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_TRUE(fs::exists(own));
}

#if OBZX_TEST_LIMITS_MEMORY
TEST_F(TemporaryFiles, LackOfMemoryIsAnExceptionNotTheEndOfTheHost)
{
    std::string folder = root();  // deep, so that each path in it takes much memory
    for (int i = 0; i < 15; ++i) {
        folder += "/" + std::string(200, 'x');
    }
    for (const char* name : {"/a", "/b", "/c"}) {
        obzx_test::writeFile(folder + name, "");
    }
    obzx_test::runWithLittleMemory([&folder] {
        removeLeftTemporaryFiles(folder, "job");
        return true;
    });
}
#endif

TEST_F(TemporaryFiles, AFolderThatCannotBeReadIsLeftAlone)
{
    EXPECT_NO_THROW(removeLeftTemporaryFiles(root() + "/missing", "job"));
}

}  // namespace
