// What fictl doctor says of files on this host: rights, its own configuration, traces and the catalog.
#include <sys/stat.h>

#include <csignal>

#include "base/sqlite.h"
#include "host/tests/doctor_fixture.h"

namespace fs = std::filesystem;

namespace {

TEST_F(CDoctorTest, WhatAnybodyCanChangeIsAWarning)
{
    fs::permissions(m_list, fs::perms(0666));
    expectComplaint("WARN configuration " + m_list + " can be changed by anybody (mode 0666); next: chmod o-w " +
                    m_list);
    fs::permissions(m_list, fs::perms(0644));
    fs::permissions(m_tool, fs::perms(0777));
    expectComplaint("WARN tool " + m_tool + " can be changed by anybody (mode 0777); next: chmod o-w " + m_tool);
}

TEST_F(CDoctorTest, AJobThatAnybodyCanChangeIsAWarning)
{
    const std::string folder = m_root + "/etc/qz/jobs";
    fs::create_directory(folder);
    base_test::writeFile(folder + "/db.env", "");
    fs::permissions(folder + "/db.env", fs::perms(0644));
    EXPECT_TRUE(complaints().empty());
    fs::permissions(folder + "/db.env", fs::perms(0666));
    expectComplaint("WARN jobs " + folder + "/db.env can be changed by anybody (mode 0666); next: chmod o-w " + folder +
                    "/db.env");
    fs::permissions(folder + "/db.env", fs::perms(0600));
    fs::permissions(folder, fs::perms(0777));
    expectComplaint("WARN jobs " + folder + " can be changed by anybody (mode 0777); next: chmod o-w " + folder);
}

TEST_F(CDoctorTest, FictlsOwnConfigurationMustBeAFile)
{
    const std::string file = m_root + "/etc/qz/fictl.conf";
    base_test::writeFile(file, "[RECEIVE]\n");
    EXPECT_TRUE(complaints().empty());
    fs::permissions(file, fs::perms(0666));
    expectComplaint("WARN configuration " + file + " can be changed by anybody (mode 0666); next: chmod o-w " + file);
    fs::remove(file);
    fs::create_directory(file);
    expectComplaint(
        "FAIL " + file +
        ": is not read, so nothing that it sets holds; next: make it a regular file that this user can read");
}

TEST_F(CDoctorTest, ATemporaryFolderThatIsNotThereIsTold)
{
    setenv("TMPDIR", (m_root + "/nosuch").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    expectComplaint("FAIL temporary folder " + m_root +
                    "/nosuch: no file can be made: No such file or directory; next: name a folder that this user can "
                    "write to in the environment variable TMPDIR");
    unsetenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
}

TEST_F(CDoctorTest, ATraceFileThatIsNoneIsAWarning)
{
    const std::string file = m_root + "/var/log/qz/x.log";
    fs::create_directory(file);
    expectComplaint("WARN trace file " + file +
                    " is no regular file; next: make it a regular file that this user can write to");
}

TEST_F(CDoctorTest, ATraceFileThatOnlyGrowsIsAWarning)
{
    const std::string file = m_root + "/var/log/qz/x.log";
    base_test::writeFile(file, std::string(201, 'x'));
    expectComplaint(
        "WARN trace file " + file +
        " has 201 bytes, and should be exchanged at 100; next: see that its folder can be written to, so that "
        "a new one can be begun");
}

TEST_F(CDoctorTest, ATraceFolderThatCannotBeMadeIsAWarning)
{
    fs::remove_all(m_root + "/var");
    fs::create_directories(m_root + "/var");
    base_test::writeFile(m_root + "/var/log", "");
    const std::string folder = m_root + "/var/log/qz";
    expectComplaint("WARN folder of the trace file " + folder + ": " + m_root +
                    "/var/log is no folder; next: mkdir -p " + folder + " && chown " + std::to_string(geteuid()) + " " +
                    folder);
}

TEST_F(CDoctorTest, ACatalogFolderThatOthersCanWriteToIsAWarning)
{
    ASSERT_EQ(fictl({"snapshot", "delete", "none"}).exit, 3);  // makes a catalog
    const std::string folder = m_root + "/var/lib/qz";
    fs::permissions(folder, fs::perms(0777));
    expectComplaint("WARN folder of the catalog " + folder + " can be written to by others; next: chmod 700 " + folder);
}

TEST_F(CDoctorTest, ACatalogThatOthersCanReadIsAWarning)
{
    ASSERT_EQ(fictl({"snapshot", "delete", "none"}).exit, 3);  // makes a catalog
    fs::permissions(catalog(), fs::perms(0644));
    expectComplaint("WARN catalog " + catalog() + " can be read or written by others; next: chmod 600 " + catalog());
}

TEST_F(CDoctorTest, ACatalogThatIsNoFileIsTold)
{
    fs::create_directories(catalog());
    expectComplaint("FAIL catalog " + catalog() + " is no regular file; next: move it away");
}

TEST_F(CDoctorTest, ADamagedCatalogIsTold)
{
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(fictl({"snapshot", "create", "snapshot-" + std::to_string(i), "/dev/fake1"}).exit, 0);
        if (i == 0) i = 37;
    }
    std::string content = base_test::contentOf(catalog());
    ASSERT_GT(content.size(), 4 * 4096U);
    for (size_t page = 1; page * 4096 < content.size(); ++page) {
        content.replace(page * 4096, 64, std::string(64, '\x55'));
    }
    base_test::writeFile(catalog(), content);
    const std::vector<std::string> lines = complaints();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL catalog " + catalog() + " ")) << lines[0];
    EXPECT_NE(lines[0].find("; next: keep a copy of the file, move it away"), std::string::npos) << lines[0];
}

TEST_F(CDoctorTest, AFileThatIsNoCatalogIsToldAndLeftAlone)
{
    fs::create_directories(m_root + "/var/lib/qz");
    fs::permissions(m_root + "/var/lib/qz", fs::perms(0700));
    base_test::writeFile(
        catalog(), "something of somebody else's, long enough to be looked at as a header, and more than that...");
    fs::permissions(catalog(), fs::perms(0600));
    const std::string before = base_test::contentOf(catalog());
    expectComplaint(
        "FAIL catalog " + catalog() +
        " cannot be read: file is not a database; next: keep a copy of the file, move it away, and look up what "
        "the appliances hold");
    EXPECT_EQ(base_test::contentOf(catalog()), before);
}

TEST_F(CDoctorTest, ACatalogOfAnotherLayoutIsTold)
{
    ASSERT_EQ(fictl({"snapshot", "delete", "none"}).exit, 3);  // makes a catalog
    base::CSqliteDatabase(catalog(), SQLITE_OPEN_READWRITE, std::chrono::seconds(20))
        .execute("PRAGMA user_version = 99");
    const std::vector<std::string> lines = complaints();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("FAIL catalog " + catalog() + ": not a catalog of this fictl (layout 99, "))
        << lines[0];
}

TEST_F(CDoctorTest, AnInterruptedSnapshotIsAWarning)
{
    arm("make:g1 killed\n");
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "undo it"}).exit,
              1000 + SIGKILL);
    arm("");
    EXPECT_EQ(
        complaints(),
        (std::vector<std::string>{
            "WARN snapshot \"s\": the application may still be frozen; next: run its thaw command if it is: undo it",
            "WARN snapshot \"s\" is interrupted; next: fictl snapshot show s"}));
}

}  // namespace
