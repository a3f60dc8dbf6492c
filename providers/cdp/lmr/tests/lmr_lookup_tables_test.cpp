// The tables behind the look-ups of devices and LUNs.

#include <algorithm>
#include <map>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "providers/cdp/lmr/index/lmr_lun_table.h"
#include "providers/cdp/lmr/index/lmr_text_blocks.h"

namespace cdpfi {
namespace {

struct SNumber
{
    const std::string* text = nullptr;
};
struct SNumberKeys
{
    static std::string_view keyOf(const SNumber& number) { return *number.text; }
};

template <bool FILTERED>
void expectWhatWasAddedAndNothingElse()
{
    std::vector<std::string> texts;
    for (int i = 0; i < 5000; ++i) {
        texts.push_back("text" + std::to_string(i));
    }
    CLMRHashTable<SNumber, SNumberKeys, FILTERED> table{SNumberKeys()};
    EXPECT_EQ(nullptr, table.find("text0"));
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(nullptr, table.find(texts[i]));
        table.findOrAdd(texts[i], [&] { return SNumber{&texts[i]}; });
    }
    for (const std::string& text : texts) {
        ASSERT_NE(nullptr, table.find(text));
        EXPECT_EQ(&text, table.find(text)->text);
    }
    EXPECT_EQ(nullptr, table.find("text5000"));
    EXPECT_EQ(nullptr, table.find(""));
    table.clear();
    EXPECT_EQ(nullptr, table.find("text0"));
}

TEST(HashTable, FindsWhatWasAddedAndNothingElse)
{
    expectWhatWasAddedAndNothingElse<false>();
}

TEST(HashTable, FindsTheSameWithAFilter)
{
    expectWhatWasAddedAndNothingElse<true>();
}

TEST(TextBlocks, KeepsTextsWhereTheyAreWithAndWithoutRoomMadeForThem)
{
    CLMRTextBlocks blocks;
    blocks.reserve(CLMRTextBlocks::roomFor("first") + CLMRTextBlocks::roomFor(""));
    const std::string_view kept[] = {blocks.keep("first"), blocks.keep(""), blocks.keep("a third without room"),
                                     blocks.keep("fourth")};
    const std::string_view texts[] = {"first", "", "a third without room", "fourth"};
    for (size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(texts[i], kept[i]);
        EXPECT_EQ('\0', kept[i].data()[kept[i].size()]);
    }
}

TEST(LunTable, FirstPathIsTheFirstInTheOrderOfTheBytes)
{
    CLMRLunTable table;
    for (const char* path : {"\xff", "b", "aa", "a", "B", ""}) {
        table.set(path, "S");
        EXPECT_STREQ(path, table.firstPathOf("S")->c_str());
    }
    for (const char* path : {"a", "aa", "b", "\xff"}) {
        table.set(path, "S");
        EXPECT_STREQ("", table.firstPathOf("S")->c_str());
    }
}

TEST(LunTable, TextsMayHoldAnyByte)
{
    CLMRLunTable table;
    table.set(std::string_view("a\0b", 3), std::string_view("S\0T", 3));
    table.set("a", "S");
    EXPECT_EQ(3U, table.serialOf(CString("a\0b", 3)).length());
    EXPECT_EQ(3U, table.firstPathOf(CString("S\0T", 3))->length());
    EXPECT_STREQ("a", table.firstPathOf("S")->c_str());
}

TEST(LunTable, LookUpsAnswerWhatAWalkAnswers)
{
    std::mt19937 random(42);
    const auto draw = [&](unsigned range) { return static_cast<unsigned>(random() % range); };
    for (int round = 0; round < 40; ++round) {
        const unsigned paths = 1 + draw(40);
        const unsigned serials = 1 + draw(20);
        CLMRLunTable table;
        std::map<std::string, std::string> model;
        for (int step = 0; step < 300; ++step) {
            const std::string path = "/dev/" + std::to_string(draw(paths));
            const std::string serial = draw(8) == 0 ? "" : "S" + std::to_string(draw(serials));
            const unsigned action = draw(40);
            if (action == 0) {
                table.clear();
                model.clear();
            } else if (action < 10) {
                EXPECT_EQ(model[path], table.serialOf(path.c_str()).c_str());
            } else {
                table.set(path, serial);
                model[path] = serial;
            }
            const CString* found = table.firstPathOf(serial.c_str());
            const auto walked =
                std::find_if(model.begin(), model.end(), [&](const auto& entry) { return entry.second == serial; });
            const bool expected = walked != model.end() && !serial.empty();
            ASSERT_EQ(expected, found != nullptr);
            if (expected) {
                EXPECT_EQ(walked->first, found->c_str());
            }
        }
        for (const auto& [path, serial] : model) {
            EXPECT_EQ(serial, table.serialOf(path.c_str()).c_str());
        }
    }
}

}  // namespace
}  // namespace cdpfi
