// The workload's log and what the check makes of images: exact prefixes and everything that is none.
#include "appliance/core/content/workload.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "appliance/core/conventions/error.h"
#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr uint64_t SECTORS = 8;

class Workload : public testing::Test
{
  protected:
    Workload() : m_log(m_folder.path() / "log", {{"a", SECTORS * WORKLOAD_SECTOR}, {"b", SECTORS * WORKLOAD_SECTOR}})
    {
        m_content["a"] = m_content["b"] = std::string(SECTORS * WORKLOAD_SECTOR, '\0');
    }

    uint64_t write(size_t lun, uint64_t sector, uint64_t count)
    {
        const uint64_t number = m_log.enter({lun, sector, count});
        const std::string name = lun == 0 ? "a" : "b";
        for (uint64_t i = 0; i < count; ++i) {
            m_content[name].replace((sector + i) * WORKLOAD_SECTOR, WORKLOAD_SECTOR,
                                    workloadContent(number, name, sector + i));
        }
        return number;
    }
    // Keeps the present content of a LUN as its image.
    void image(const std::string& lun) const { writeFile(m_folder.path() / lun, m_content.at(lun)); }
    uint64_t prefix() const
    {
        return findPrefix(readWorkload(m_folder.path() / "log"),
                          {{"a", m_folder.path() / "a"}, {"b", m_folder.path() / "b"}});
    }
    std::string refusal(EStatus status) const
    {
        try {
            prefix();
        } catch (const EApplianceError& error) {
            EXPECT_EQ(error.status(), status) << error.what();
            return error.what();
        }
        return "accepted";
    }

    CTemporaryFolder m_folder;
    CWorkloadLog m_log;
    std::map<std::string, std::string> m_content;
};

TEST_F(Workload, ImagesOfEveryMomentAreItsPrefix)
{
    image("a");
    image("b");
    EXPECT_EQ(prefix(), 0U);
    uint64_t expected = 0;
    for (const SWorkloadWrite& each : {SWorkloadWrite{0, 0, 3}, {1, 2, 2}, {0, 1, 1}, {1, 0, 8}, {0, 7, 1}}) {
        write(each.lun, each.sector, each.count);
        image("a");
        image("b");
        EXPECT_EQ(prefix(), ++expected);
    }
}

TEST_F(Workload, LaterWritesToTheLogChangeNothing)
{
    write(0, 0, 1);
    image("a");
    image("b");
    write(1, 0, 1);
    EXPECT_EQ(prefix(), 1U);
}

TEST_F(Workload, ImagesOfDifferentMomentsAreNoPrefix)
{
    image("a");
    write(0, 4, 2);
    write(1, 4, 2);
    image("b");
    EXPECT_EQ(refusal(EStatus::UNEXPECTED),
              "the images are no prefix of the log: up to write 2, sector 4 of LUN \"a\" is of write 1, its image says "
              "0");
}

TEST_F(Workload, AWriteThatIsMissingHalfIsNoPrefix)
{
    write(0, 4, 2);
    const std::string half = m_content["a"].substr(0, 5 * WORKLOAD_SECTOR) + std::string(3 * WORKLOAD_SECTOR, '\0');
    writeFile(m_folder.path() / "a", half);
    image("b");
    EXPECT_THAT(refusal(EStatus::UNEXPECTED), HasSubstr("sector 5 of LUN \"a\" is of write 1, its image says 0"));
}

TEST_F(Workload, AWriteThatWasUndoneIsNoPrefix)
{
    write(0, 0, 1);
    image("a");
    write(0, 0, 1);
    write(1, 0, 1);
    image("b");
    EXPECT_THAT(refusal(EStatus::UNEXPECTED), HasSubstr("sector 0 of LUN \"a\" is of write 2, its image says 1"));
}

TEST_F(Workload, OneWrongByteIsNoPrefix)
{
    write(0, 0, 8);
    image("b");
    for (const size_t at : {size_t{9}, size_t{511}, SECTORS * WORKLOAD_SECTOR - 1}) {
        std::string content = m_content["a"];
        content[at] = static_cast<char>(content[at] ^ 1);
        writeFile(m_folder.path() / "a", content);
        EXPECT_THAT(refusal(EStatus::UNEXPECTED), HasSubstr("is of write 1, its image says 1"));
    }
}

TEST_F(Workload, ContentOfAnotherPlaceIsNoPrefix)
{
    write(0, 0, 2);
    std::string content = m_content["a"];
    content.replace(WORKLOAD_SECTOR, WORKLOAD_SECTOR, content.substr(0, WORKLOAD_SECTOR));
    writeFile(m_folder.path() / "a", content);
    image("b");
    EXPECT_THAT(refusal(EStatus::UNEXPECTED), HasSubstr("sector 1 of LUN \"a\""));
}

TEST_F(Workload, AWriteThatIsNotInTheLogIsNoPrefix)
{
    std::string content(SECTORS * WORKLOAD_SECTOR, '\0');
    content.replace(0, WORKLOAD_SECTOR, workloadContent(5, "a", 0));
    writeFile(m_folder.path() / "a", content);
    image("b");
    EXPECT_EQ(refusal(EStatus::UNEXPECTED), "the images are no prefix of the log: write 5 is not in it, which has 0");
}

TEST_F(Workload, ImagesHaveToBeThoseOfTheLog)
{
    image("a");
    writeFile(m_folder.path() / "b", "short");
    EXPECT_THAT(refusal(EStatus::MALFORMED), HasSubstr("has not the 4096 bytes of LUN \"b\""));
    const SWorkload workload = readWorkload(m_folder.path() / "log");
    EXPECT_THROW(findPrefix(workload, {{"a", m_folder.path() / "a"}}), EApplianceError);
}

TEST_F(Workload, AnUnfinishedLineOfTheLogDoesNotCount)
{
    write(0, 0, 1);
    writeFile(m_folder.path() / "log", contentOf(m_folder.path() / "log") + "0 1");
    EXPECT_EQ(readWorkload(m_folder.path() / "log").writes.size(), 1U);
}

TEST_F(Workload, WhatIsNoLogIsRefused)
{
    for (const char* text : {"", "what\n", "lun a\n", "0 0 1\n", "lun a 512\n1 0 1\n", "lun a 512\n0 1 1\n",
                             "lun a 512\n0 18446744073709551615 2\n"}) {
        writeFile(m_folder.path() / "log", text);
        EXPECT_THROW(readWorkload(m_folder.path() / "log"), EApplianceError) << text;
    }
    EXPECT_THROW(readWorkload(m_folder.path()), EApplianceError);
    EXPECT_THROW(CWorkloadLog(m_folder.path() / "log", {}), EApplianceError);
}

TEST(LmadmWorkload, WritesUntilItIsToldToStopAndAnAnnotationHoldsAPrefix)
{
    const CDemoStore demo;
    const std::string log = (demo.folder() / "log").string();
    std::vector<std::string> command = lmadmCommand();
    command.insert(command.end(), {"--store", demo.store().string(), "workload", "run", "cg1", "--log", log});
    CProcess writers(command, "");
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(log) && contentOf(log).size() > 200; }));
    demo.createAnnotation("A");
    writers.kill();
    EXPECT_EQ(writers.wait().status, 128 + SIGKILL);
    const auto content = std::filesystem::directory_iterator(demo.home() / "annotations")->path().string();
    const SResult check =
        demo.lmadm({"workload", "check", "--log", log, "lun1=" + content + "/lun1", "lun2=" + content + "/lun2"});
    EXPECT_EQ(check.status, 0) << testing::PrintToString(check.err);
    EXPECT_THAT(check.out, ElementsAre(HasSubstr("prefix: "), HasSubstr("writes: ")));
}

TEST(LmadmWorkload, RefusesLunsThatHoldSomething)
{
    const CDemoStore demo;
    demo.lmadm({"write", "lun2", "--offset", "262143", "--pattern", "x"});
    const SResult result = demo.lmadm({"workload", "run", "cg1", "--log", (demo.folder() / "log").string()});
    EXPECT_EQ(result.status, 5);
    EXPECT_THAT(result.err, ElementsAre("lmadm: LUN \"lun2\" does not read as zeros, as a workload's LUNs must at "
                                        "first; remove what uses it first"));
    EXPECT_FALSE(std::filesystem::exists(demo.folder() / "log"));
}

TEST(LmadmWorkload, SaysWhatIsWrongWithTheLog)
{
    const CDemoStore demo;
    const std::string log = (demo.folder() / "log").string();
    SResult result = demo.lmadm({"workload", "check", "--log", log, "lun1=x"});
    EXPECT_EQ(result.status, 6);
    EXPECT_THAT(result.err, ElementsAre("lmadm: cannot open " + log +
                                        ": No such file or directory; check free space and access, then repeat the "
                                        "command"));
    writeFile(log, "lun lun1\n");
    result = demo.lmadm({"workload", "check", "--log", log, "lun1=x"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, ElementsAre("lmadm: file \"" + log +
                                        "\" is no log of a workload: line 1 is not understood; see lmadm --help"));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they take address space as they like
TEST(LmadmWorkload, EndsInOrderWhenNotAllWritersCanBeStarted)
{
    const CDemoStore demo;
    const std::string command = "ulimit -v 200000; exec '" + lmadmCommand().front() + "' --store " +
                                demo.store().string() + " workload run cg1 --writers 64 --log " +
                                (demo.folder() / "log").string();
    CProcess process({"/bin/sh", "-c", command}, "");
    const SResult result = process.wait();
    EXPECT_THAT(result.status, AnyOf(1, 6));  // a thread found no memory, or what runs on it
    EXPECT_THAT(result.err, ElementsAre(StartsWith("lmadm: ")));
}
#endif

}  // namespace

}  // namespace lumora::test
