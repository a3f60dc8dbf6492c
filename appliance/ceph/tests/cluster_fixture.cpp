#include "appliance/ceph/tests/cluster_fixture.h"

#include <poll.h>
#include <rbd/librbd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "appliance/ceph/open_image.h"
#include "base/child_start.h"
#include "base/file_write.h"
#include "base/poll_until.h"

namespace lumora::test {
namespace fs = std::filesystem;

namespace {

void runScript(const std::string& command, const fs::path& folder)
{
    const std::string line = std::string(CLUSTER_SCRIPT) + " " + command + " --folder " + folder.string();
    if (std::system(line.c_str()) != 0) throw std::runtime_error(line + " fails");
}

// The cluster of this run: the one whose folder CDPFI_CLUSTER names, else one of its own.
class CClusterOfRun : public testing::Environment
{
  public:
    void SetUp() override
    {
        if (const char* const given = std::getenv("CDPFI_CLUSTER")) {
            g_folder = given;
            return;
        }
        m_own = std::make_unique<base_test::CTemporaryFolder>();
        g_folder = *m_own / "cluster";
        runScript("up", g_folder);
    }
    void TearDown() override
    {
        if (m_own != nullptr) runScript("remove", g_folder);
    }

    static fs::path g_folder;

  private:
    std::unique_ptr<base_test::CTemporaryFolder> m_own;
};

fs::path CClusterOfRun::g_folder;
testing::Environment* const g_environment = testing::AddGlobalTestEnvironment(new CClusterOfRun);

// One that no other test has, nor this one when it is repeated.
std::string testName()
{
    static int count = 0;
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test->name()) + "-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
}

}  // namespace

CClientProcess::CClientProcess(const SCephSetup& setup, const std::vector<std::string>& words)
    : m_process(start(setup, words))
{
}

CClientProcess::~CClientProcess()
{
    kill();
}

pid_t CClientProcess::start(const SCephSetup& setup, const std::vector<std::string>& words)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socket");
    m_socket = base::CFileDescriptor(ends[0]);
    const base::CFileDescriptor other(ends[1]);
    base::SChildStart start;
    start.programs = {CEPH_CLIENT_PATH};
    start.words = {CEPH_CLIENT_PATH, setup.configuration.string(), setup.user, setup.clients.string()};
    start.words.insert(start.words.end(), words.begin(), words.end());
    start.input = other.get();
    start.output = other.get();
    start.errors = STDERR_FILENO;
    pid_t pid = -1;
    if (base::startChild(start, pid) != 0) throw std::runtime_error("cannot start " CEPH_CLIENT_PATH);
    return pid;
}

void CClientProcess::say(const std::string& line) const
{
    base::writeWhole(m_socket.get(), line + "\n");
}

std::string CClientProcess::answer()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    size_t length = 0;
    while ((length = m_received.find('\n')) == std::string::npos) {
        pollfd ready[] = {{m_socket.get(), POLLIN, 0}};
        char bytes[256];
        if (base::pollUntil(ready, end) <= 0) return "no answer";
        const ssize_t count = ::read(m_socket.get(), bytes, sizeof(bytes));
        if (count <= 0) return "no answer: the client has ended";
        m_received.append(bytes, static_cast<size_t>(count));
    }
    const std::string line = m_received.substr(0, length);
    m_received.erase(0, length + 1);
    return line;
}

void CClientProcess::kill()
{
    m_process.kill();
    wait();
}

int CClientProcess::wait()
{
    while (!m_process.hasEnded()) {
        pollfd ended[] = {{m_process.descriptor(), POLLIN, 0}};
        base::pollUntil(ended, m_process.lookAt());
    }
    return m_process.exitStatus().exit;
}

CClusterTest::CClusterTest()
    : m_prefix(testName()),
      m_setup{CClusterOfRun::g_folder / "ceph.conf", "appliance", m_folder / "clients"},
      m_cluster(m_setup),
      m_pool(m_cluster, "images"),
      m_images(m_pool),
      m_groups(m_pool),
      m_imports(m_pool),
      m_catalog{"catalog", m_prefix + ".db"}
{
}

std::string CClusterTest::makeGroup()
{
    const std::string group = own("group");
    m_groups.make(group);
    for (const char* const name : {"a", "b"}) {
        m_images.make(own(name), uint64_t{8} << 20U);
        m_groups.add(group, own(name));
    }
    return group;
}

std::string CClusterTest::bytesOf(const std::string& image, size_t size) const
{
    const COpenImage open(m_pool, image);
    return readFrom(open.handle(), size);
}

void runCluster(const std::string& command)
{
    runScript(command, CClusterOfRun::g_folder);
}

void expectRefusal(EStatus status, const std::string& text, const std::function<void()>& step)
{
    try {
        step();
        ADD_FAILURE() << "nothing is refused, in place of: " << text;
    } catch (const EApplianceError& error) {
        EXPECT_EQ(error.what(), text);
        EXPECT_EQ(error.status(), status) << text;
    }
}

std::chrono::milliseconds timeOf(const std::function<void()>& step)
{
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

}  // namespace lumora::test
