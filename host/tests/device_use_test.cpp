#include "host/src/devices/device_use.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

namespace fictl {
namespace {

/// A file, and a child that uses it in some way until the test ends.
class CDeviceUseTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        m_path = testing::TempDir() + "device-use." + std::to_string(getpid());
        std::ofstream(m_path) << std::string(8192, 'x');
    }
    void TearDown() override
    {
        if (m_child > 0) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, 0);
        }
        unlink(m_path.c_str());
    }

    /// Runs the use in a child and returns once it is in effect.
    template <class Use>
    void startUse(Use use)
    {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        m_child = fork();
        if (m_child == 0) {
            use();
            const ssize_t told = write(ends[1], "x", 1);
            while (told == 1) {
                pause();
            }
            _exit(1);
        }
        close(ends[1]);
        char byte = 0;
        ASSERT_EQ(read(ends[0], &byte, 1), 1);
        close(ends[0]);
    }

    static Uses usesAt(const std::string& path) { return usesOf({path}).front(); }

    Uses openInChild() const { return {"open in process " + std::to_string(m_child) + " (fictl_unit_test)"}; }

    std::string m_path;
    pid_t m_child = 0;
};

TEST_F(CDeviceUseTest, NobodyUsesWhatNobodyHasOpen)
{
    EXPECT_EQ(usesAt(m_path), Uses());
    EXPECT_EQ(usesAt(m_path + ".nosuch"), Uses());
    EXPECT_EQ(usesAt(""), Uses());
}

TEST_F(CDeviceUseTest, TheProcessItselfDoesNotCount)
{
    const int own = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(usesAt(m_path), Uses());
    close(own);
}

TEST_F(CDeviceUseTest, NamesAProcessThatHasItOpen)
{
    startUse([this] { return open(m_path.c_str(), O_RDONLY); });
    EXPECT_EQ(usesAt(m_path), openInChild());
    const std::string link = m_path + ".link";
    ASSERT_EQ(symlink(m_path.c_str(), link.c_str()), 0);
    EXPECT_EQ(usesAt(link), openInChild());
    unlink(link.c_str());
}

TEST_F(CDeviceUseTest, ManyPathsAreLookedAtInOneGoAndToldApart)
{
    const std::string other = m_path + ".other";
    std::ofstream(other) << "nobody's";
    startUse([this] { return open(m_path.c_str(), O_RDONLY); });
    EXPECT_EQ(usesOf({other, m_path, m_path + ".nosuch", m_path}),
              (std::vector<Uses>{Uses(), openInChild(), Uses(), openInChild()}));
    EXPECT_EQ(usesOf({}), std::vector<Uses>());
    unlink(other.c_str());
}

TEST_F(CDeviceUseTest, NamesAProcessThatHasMappedItAndClosedIt)
{
    startUse([this] {
        const int file = open(m_path.c_str(), O_RDONLY);
        mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0);
        close(file);
    });
    EXPECT_EQ(usesAt(m_path), openInChild());
}

TEST_F(CDeviceUseTest, AnotherFileOfTheSameNameIsAnotherFile)
{
    startUse([this] { return open(m_path.c_str(), O_RDONLY); });
    unlink(m_path.c_str());
    std::ofstream(m_path) << "new";
    EXPECT_EQ(usesAt(m_path), Uses());
}

}  // namespace
}  // namespace fictl
