#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

class CCarryTest : public CFictlTest
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
    }

    /// Forgets the record: from here on this catalog is another host's.
    void becomeAnotherHost() const { ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0); }
};

TEST_F(CCarryTest, AnExportedSnapshotIsReceivedImportedAndDeletedElsewhere)
{
    const SRun exported = fictl({"snapshot", "export", "s"});
    ASSERT_EQ(exported.exit, 0) << exported.err;
    EXPECT_EQ(exported.document()["format"], "fictl-snapshot");
    EXPECT_EQ(exported.document()["version"], 1);
    EXPECT_EQ(fictlJson({"snapshot", "export", "s"}).document(), exported.document());
    const nlohmann::json before = fictlJson({"snapshot", "show", "s"}).document()["snapshot"];
    becomeAnotherHost();
    const SRun received = receive(exported.out);
    ASSERT_EQ(received.exit, 0) << received.err;
    EXPECT_EQ(received.document()["snapshot"]["origin"], "received");
    EXPECT_EQ(fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["devices"], before["devices"]);
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCarryTest, ExportWritesAFileForItsOwnerOnly)
{
    const std::string file = m_root + "/s.json";
    ASSERT_EQ(fictl({"snapshot", "export", "s", "--file", file}).exit, 0);
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
    becomeAnotherHost();
    EXPECT_EQ(fictl({"snapshot", "receive", file}).exit, 0);
}

TEST_F(CCarryTest, ExportReportsAFileThatCannotBeWritten)
{
    const SRun run = fictl({"snapshot", "export", "s", "--file", m_root + "/nosuch/s.json"});
    EXPECT_EQ(run.exit, 14);
    EXPECT_NE(run.err.find("No such file or directory"), std::string::npos) << run.err;
}

TEST_F(CCarryTest, AnExportTakesOverWhatAKilledOneLeft)
{
    const std::string file = m_root + "/s.json";
    base_test::writeFile(file + ".part", std::string(100000, 'x'));
    std::filesystem::permissions(file + ".part", std::filesystem::perms(0600));
    const SRun run = fictl({"snapshot", "export", "s", "--file", file});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(base_test::contentOf(file), fictl({"snapshot", "export", "s"}).out);
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
}

TEST_F(CCarryTest, AnExportKeepsAwayFromWhatOthersPrepared)
{
    const std::string file = m_root + "/s.json";
    const std::string part = file + ".part";
    base_test::writeFile(m_root + "/mine", "precious");
    std::filesystem::permissions(m_root + "/mine", std::filesystem::perms(0600));
    const auto refused = [&](const char* what) {
        EXPECT_EQ(fictl({"snapshot", "export", "s", "--file", file}).exit, 14) << what;
        EXPECT_FALSE(std::filesystem::exists(file)) << what;
        EXPECT_EQ(base_test::contentOf(m_root + "/mine"), "precious") << what;
        std::filesystem::remove(part);
    };
    std::filesystem::create_symlink(m_root + "/mine", part);
    refused("a symbolic link");
    std::filesystem::create_hard_link(m_root + "/mine", part);
    refused("a second name");
    ASSERT_EQ(mkfifo(part.c_str(), 0600), 0);
    refused("a FIFO");
    base_test::writeFile(part, "x");
    std::filesystem::permissions(part, std::filesystem::perms(0666));
    refused("a file that others can write to");
}

TEST_F(CCarryTest, ExportReplacesAFileOnlyWhenItIsToldTo)
{
    const std::string file = m_root + "/s.json";
    base_test::writeFile(file, "precious");
    const SRun refused = fictlJson({"snapshot", "export", "s", "--file", file});
    EXPECT_EQ(refused.exit, 4);
    EXPECT_EQ(refused.document().at("error").at("code"), "exists");
    EXPECT_EQ(refused.err, "fictl: file " + file + " exists already; nothing was written\n" +
                               "  next: give another file, or --force to replace this one\n");
    EXPECT_EQ(base_test::contentOf(file), "precious");
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
    ASSERT_EQ(fictl({"snapshot", "export", "s", "--file", file, "--force"}).exit, 0);
    EXPECT_EQ(base_test::contentOf(file), fictl({"snapshot", "export", "s"}).out);
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
}

TEST_F(CCarryTest, ExportNeverReplacesWhatIsNoFile)
{
    const std::string link = m_root + "/link";
    std::filesystem::create_symlink("/dev/stdout", link);
    EXPECT_EQ(fictl({"snapshot", "export", "s", "--file", link}).exit, 4);
    EXPECT_EQ(fictl({"snapshot", "export", "s", "--file", link, "--force"}).exit, 14);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    const SRun folder = fictl({"snapshot", "export", "s", "--file", m_root + "/tmp", "--force"});
    EXPECT_EQ(folder.exit, 14);
    EXPECT_EQ(folder.err, "fictl: " + m_root + "/tmp is not a regular file, so --force does not replace it\n" +
                              "  next: give another file\n");
}

TEST_F(CCarryTest, TwoExportsToOneFileDoNotMeet)
{
    const std::string file = m_root + "/s.json";
    const int other = open((file + ".part").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    const SRun run = fictl({"snapshot", "export", "s", "--file", file});
    EXPECT_EQ(run.exit, 14);
    EXPECT_NE(run.err.find("cannot create " + file + ".part: "), std::string::npos) << run.err;
    close(other);
    EXPECT_EQ(fictl({"snapshot", "export", "s", "--file", file}).exit, 0);
}

TEST_F(CCarryTest, ReceiveRefusesANameThatIsTaken)
{
    const SRun exported = fictl({"snapshot", "export", "s"});
    const SRun received = receive(exported.out);
    EXPECT_EQ(received.exit, 4);
    EXPECT_NE(received.err.find("snapshot \"s\" is in the catalog already (complete)"), std::string::npos);
}

TEST_F(CCarryTest, ReceiveRefusesWhatIsNoRecordAndEntersNothing)
{
    becomeAnotherHost();
    const SRun received = run({"--output", "json", "snapshot", "receive", "-"}, "{}");
    EXPECT_EQ(received.exit, 13);
    EXPECT_EQ(received.document()["error"]["code"], "bad-record");
    EXPECT_EQ(run({"snapshot", "receive"}, std::string(3 * 1024 * 1024, ' ')).exit, 13);
    EXPECT_EQ(run({"snapshot", "receive", m_root + "/nosuch"}).exit, 14);
    EXPECT_EQ(run({"snapshot", "receive", m_root}).exit, 14);
    EXPECT_TRUE(fictlJson({"snapshot", "list"}).document()["snapshots"].empty());
}

TEST_F(CCarryTest, DeletingOnBothHostsLeavesNoRecordOnEither)
{
    const SRun exported = fictl({"snapshot", "export", "s"});
    becomeAnotherHost();
    ASSERT_EQ(receive(exported.out).exit, 0);
    for (const std::string& object : objects()) {
        std::filesystem::remove(fake("objects/" + object));  // the other host's deletion
    }
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "");
}

}  // namespace
