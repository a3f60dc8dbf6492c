// Many tool processes at once on one store.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "appliance/tests/test_support.h"

namespace lumora::test {
namespace {

using Processes = std::vector<std::unique_ptr<CProcess>>;

constexpr int MANY = 8;

TEST(Concurrency, ManyShellsMakeAndRemoveAtOnce)
{
    const CDemoStore demo;
    Processes makers;
    for (int number = 0; number < MANY; ++number) {
        const std::string name = std::to_string(number);
        makers.push_back(std::make_unique<CProcess>(
            lmshCommand(),
            script("create annotation \"A" + name + "\" \"cg1\"\ncommit\ncreate timeimage \"T" + name +
                   "\" \"cg1\"\nuse annotation \"A" + name +
                   "\"\nadd permission \"backup\"\ncommit\nshow timeimage \"T" + name + "\" \"cg1\""),
            demo.root("prod").string()));
    }
    for (const auto& maker : makers) {
        const SResult result = maker->wait();
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
        EXPECT_EQ(result.out.size(), 13U);
    }
    EXPECT_EQ(demo.lmsh("list timeimages \"cg1\"").out.size(), static_cast<size_t>(MANY));
    Processes removers;
    for (int number = 0; number < MANY; ++number) {
        const std::string name = std::to_string(number);
        removers.push_back(std::make_unique<CProcess>(
            lmshCommand(),
            script("delete timeimage \"T" + name + "\" \"cg1\"\ndelete annotation \"A" + name + "\" \"cg1\""),
            demo.root("prod").string()));
    }
    for (const auto& remover : removers) {
        const SResult result = remover->wait();
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
    EXPECT_EQ(entriesIn(demo.home() / "annotations"), 0U);
    EXPECT_EQ(entriesIn(demo.home() / "images"), 0U);
}

TEST(Concurrency, OnlyOneOfSeveralMakesTheSameAnnotation)
{
    const CDemoStore demo;
    Processes makers;
    for (int number = 0; number < MANY; ++number) {
        makers.push_back(std::make_unique<CProcess>(lmshCommand(), script("create annotation \"A\" \"cg1\"\ncommit"),
                                                    demo.root("prod").string()));
    }
    int made = 0;
    for (const auto& maker : makers) {
        const SResult result = maker->wait();
        made += result.status == 0 ? 1 : 0;
        if (result.status != 0) {
            EXPECT_EQ(result.status, 4);
            EXPECT_THAT(result.err, testing::ElementsAre("lmsh: annotation \"A\" exists already in group \"cg1\""));
        }
    }
    EXPECT_EQ(made, 1);
    EXPECT_EQ(entriesIn(demo.home() / "annotations"), 1U);
}

TEST(Concurrency, SeveralProcessesMakeTheStoreAtOnce)
{
    const CTemporaryFolder folder;
    Processes makers;
    for (int number = 0; number < MANY; ++number) {
        std::vector<std::string> command = lmadmCommand();
        command.insert(command.end(), {"--store", (folder.path() / "store").string(), "appliance", "create",
                                       "a" + std::to_string(number)});
        makers.push_back(std::make_unique<CProcess>(command, ""));
    }
    for (const auto& maker : makers) {
        const SResult result = maker->wait();
        EXPECT_EQ(result.status, 0) << testing::PrintToString(result.err);
    }
}

// Each write puts one letter over the whole of a LUN, so a time image with two letters was cut through a write.
TEST(Concurrency, AnAnnotationNeverCutsThroughAWrite)
{
    const CDemoStore demo;
    Processes writers;
    for (const char letter : std::string("ABCDEFGH")) {
        std::vector<std::string> command = lmadmCommand();
        command.insert(command.end(), {"--store", demo.store().string(), "write", "lun1", "--offset", "0", "--pattern",
                                       std::string(1, letter)});
        writers.push_back(std::make_unique<CProcess>(command, ""));
    }
    for (int number = 0; number < 4; ++number) {
        demo.createAnnotation("A" + std::to_string(number));
    }
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->wait().status, 0);
    }
    for (const auto& entry : std::filesystem::directory_iterator(demo.home() / "annotations")) {
        const std::string content = contentOf(entry.path() / "lun1");
        EXPECT_EQ(content, std::string(content.size(), content.front()));
    }
}

}  // namespace

}  // namespace lumora::test
