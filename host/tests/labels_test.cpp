// What can be a label, and which labels a filter means.
#include "host/src/catalog/labels.h"

#include <gtest/gtest.h>

#include "host/src/output/error.h"

namespace fictl {

namespace {

std::string refusal(const std::vector<std::string>& texts)
{
    try {
        return "taken: " + labelsText(parseLabels(texts));
    } catch (const EFictl& error) {
        EXPECT_EQ(error.exit(), EExit::USAGE);
        return error.what();
    }
}

TEST(CLabelsTest, AreAKeyAndAValueEach)
{
    EXPECT_EQ(parseLabels({"tier=gold", "example.com/job-1=a=b, c", "urgent="}),
              (Labels{{"tier", "gold"}, {"example.com/job-1", "a=b, c"}, {"urgent", ""}}));
    EXPECT_EQ(labelsText({{"b", "2"}, {"a", "1"}}), "a=1,b=2");
    EXPECT_EQ(labelsText({}), "");
}

TEST(CLabelsTest, ThatAreNoneAreRefused)
{
    EXPECT_EQ(refusal({"tier"}), "label \"tier\" has no value");
    EXPECT_EQ(refusal({"a=1", "a=2"}), "label \"a\" is given twice");
    for (const std::string key : {"", "-a", ".a", "a b", "a\n", "\xc3\xa4"}) {
        EXPECT_NE(refusal({key + "=1"}).find("cannot be a label's key"), std::string::npos) << key;
    }
    EXPECT_NE(refusal({std::string(65, 'a') + "=1"}).find("cannot be a label's key"), std::string::npos);
    EXPECT_EQ(refusal({std::string(64, 'a') + "=1"}), "taken: " + std::string(64, 'a') + "=1");
    for (const std::string& value : {std::string(257, 'v'), std::string("a\nb"), std::string("\xff")}) {
        EXPECT_EQ(refusal({"a=" + value}), "the value of label \"a\" is too long, or holds what cannot be shown");
    }
    EXPECT_EQ(refusal({"a=" + std::string(256, 'v')}), "taken: a=" + std::string(256, 'v'));
}

TEST(CLabelsTest, AreOfABoundedNumber)
{
    std::vector<std::string> texts;
    for (size_t i = 0; i < MOST_LABELS; ++i) {
        texts.push_back("k" + std::to_string(i) + "=v");
    }
    EXPECT_EQ(parseLabels(texts).size(), MOST_LABELS);
    texts.emplace_back("more=v");
    EXPECT_EQ(refusal(texts), "a snapshot has at most 64 labels, and these would be 65");
}

TEST(CLabelsTest, AreMeantByTheirKeyOrByTheirValueToo)
{
    const Labels labels = {{"tier", "gold"}, {"urgent", ""}};
    const auto isMeant = [&](const std::vector<std::string>& filters) {
        return matchesAll(labels, parseLabelFilters(filters));
    };
    EXPECT_TRUE(isMeant({}));
    EXPECT_TRUE(isMeant({"tier"}));
    EXPECT_TRUE(isMeant({"tier=gold", "urgent="}));
    EXPECT_FALSE(isMeant({"tier=gol"}));
    EXPECT_FALSE(isMeant({"tier", "job"}));
    EXPECT_FALSE(isMeant({"tier="}));
    EXPECT_THROW(parseLabelFilters({"a b"}), EFictl);
}

TEST(CNoteTest, IsOneLineThatCanBeShown)
{
    EXPECT_TRUE(isNote("before the upgrade, as agreed with \xc3\x84nne"));
    EXPECT_TRUE(isNote(std::string(1024, 'n')));
    EXPECT_FALSE(isNote(std::string(1025, 'n')));
    EXPECT_FALSE(isNote("two\nlines"));
    EXPECT_FALSE(isNote("\xff"));
}

}  // namespace

}  // namespace fictl
