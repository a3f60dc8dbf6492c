#include "providers/cdp/cdp_privatedata.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "base/tests/name_corpus.h"
#include "framework/include/obzx_runtime.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

namespace {

obz_blob blobOf(const std::string& text)
{
    return {text.size() + 1, const_cast<char*>(text.c_str()), OBZ_ENCODING_STRING};
}

void fill(CCDPPrivateData& data)
{
    data.m_applianceType = "Lumora";
    data.m_applianceName = "server1";
    data.m_serialNo = "ABC123";
    data.m_consistencyGroup = "cg1";
    data.m_timeImage = "KSV_Time_Image_1";
    data.m_checkPointName = "KSV_Check_Point_1";
}

void expectFilled(const CCDPPrivateData& data)
{
    EXPECT_EQ(CString("Lumora"), data.m_applianceType);
    EXPECT_EQ(CString("server1"), data.m_applianceName);
    EXPECT_EQ(CString("ABC123"), data.m_serialNo);
    EXPECT_EQ(CString("cg1"), data.m_consistencyGroup);
    EXPECT_EQ(CString("KSV_Time_Image_1"), data.m_timeImage);
    EXPECT_EQ(CString("KSV_Check_Point_1"), data.m_checkPointName);
}

/// A field, and what it reads from a text in which a tag of it is missing.
struct SField
{
    const char* m_tag;
    CString CCDPPrivateData::*m_value;
    const char* m_withoutTags;  ///< from 26 characters, 0 to 9, a to j and K to P
    const char* m_closeLater;   ///< from 20 characters, 0 to 9 and a to j, and the close tag
    const char* m_closeBefore;  ///< from one character, the close tag, and the same 20
};

constexpr SField FIELDS[] = {
    {"ApplianceType", &CCDPPrivateData::m_applianceType, "efghijKLMNOP", "efghij", "pe>0123456789abcdefghij"},
    {"ApplianceName", &CCDPPrivateData::m_applianceName, "efghijKLMNOP", "efghij", "me>0123456789abcdefghij"},
    {"ConsistencyGroup", &CCDPPrivateData::m_consistencyGroup, "hijKLMNOP", "hij", "up>0123456789abcdefghij"},
    {"TimeImage", &CCDPPrivateData::m_timeImage, "abcdefghijKLMNOP", "abcdefghij", "ge>0123456789abcdefghij"},
    {"CheckPointName", &CCDPPrivateData::m_checkPointName, "fghijKLMNOP", "fghij", "me>0123456789abcdefghij"},
    {"SerialNo", &CCDPPrivateData::m_serialNo, "9abcdefghijKLMNOP", "9abcdefghij", "No>0123456789abcdefghij"},
};

}  // namespace

TEST(PrivateData, StartsWithEmptyFields)
{
    const CCDPPrivateData data(nullptr, true);
    EXPECT_TRUE(data.m_applianceType.is_empty() && data.m_applianceName.is_empty() && data.m_serialNo.is_empty());
    EXPECT_TRUE(data.m_consistencyGroup.is_empty() && data.m_timeImage.is_empty());
    EXPECT_TRUE(data.m_checkPointName.is_empty());
    EXPECT_TRUE(data.getIsAltNode());
}

TEST(PrivateData, WritesTheSixFieldsInTheirOrder)
{
    CCDPPrivateData data(nullptr, false);
    fill(data);
    obz_blob blob{};
    EXPECT_EQ(0, data.getNodeState(&blob));
    const std::string expected =
        "<ApplianceType>Lumora</ApplianceType>\n"
        "<ApplianceName>server1</ApplianceName>\n"
        "<ConsistencyGroup>cg1</ConsistencyGroup>\n"
        "<TimeImage>KSV_Time_Image_1</TimeImage>\n"
        "<CheckPointName>KSV_Check_Point_1</CheckPointName>\n"
        "<SerialNo>ABC123</SerialNo>\n";
    ASSERT_EQ(expected.size() + 1, blob.size);
    EXPECT_EQ(0, std::memcmp(expected.c_str(), blob.data, blob.size));
    EXPECT_EQ(1, blob.encoding);
    obzx_free_buf(blob.data, blob.size);
}

TEST(PrivateData, ARecordOfEmptyFieldsHas182Characters)
{
    const CCDPPrivateData data(nullptr, false);
    obz_blob blob{};
    data.getNodeState(&blob);
    EXPECT_EQ(183u, blob.size);
    EXPECT_STREQ(
        "<ApplianceType></ApplianceType>\n<ApplianceName></ApplianceName>\n<ConsistencyGroup></ConsistencyGroup>\n"
        "<TimeImage></TimeImage>\n<CheckPointName></CheckPointName>\n<SerialNo></SerialNo>\n",
        static_cast<const char*>(blob.data));
    obzx_free_buf(blob.data, blob.size);
}

TEST(PrivateData, AStateComesBackAsItWentOut)
{
    CCDPPrivateData from(nullptr, false);
    fill(from);
    obz_blob blob{};
    from.getNodeState(&blob);
    CCDPPrivateData to(nullptr, false);
    EXPECT_EQ(0, to.setNodeState(&blob));
    expectFilled(to);
    obzx_free_buf(blob.data, blob.size);
}

TEST(PrivateData, AnotherEncodingNoDataOrNoSizeLeavesTheFields)
{
    CCDPPrivateData data(nullptr, false);
    fill(data);
    const std::string text = "<SerialNo>other</SerialNo>";
    obz_blob blob = blobOf(text);
    blob.encoding = 2;
    EXPECT_EQ(0, data.setNodeState(&blob));
    expectFilled(data);
    blob = blobOf(text);
    blob.size = 0;
    EXPECT_EQ(0, data.setNodeState(&blob));
    expectFilled(data);
    blob = {10, nullptr, OBZ_ENCODING_STRING};
    EXPECT_EQ(0, data.setNodeState(&blob));
    expectFilled(data);
}

TEST(PrivateData, FieldsThatTheTextDoesNotNameAreAssignedToo)
{
    CCDPPrivateData data(nullptr, false);
    fill(data);
    const std::string text = "<SerialNo>42</SerialNo>";  // 23 characters
    const obz_blob blob = blobOf(text);
    data.setNodeState(&blob);
    EXPECT_EQ(CString("42"), data.m_serialNo);
    EXPECT_EQ(CString("SerialNo>"), data.m_applianceName);  // from 15 - 1 on
    EXPECT_EQ(CString("SerialNo>"), data.m_applianceType);
    EXPECT_EQ(CString("erialNo>"), data.m_checkPointName);  // from 16 - 1 on
    EXPECT_EQ(CString("42</SerialNo>"), data.m_timeImage);  // from 11 - 1 on
    EXPECT_EQ(CString("ialNo>"), data.m_consistencyGroup);  // from 18 - 1 on
}

TEST(PrivateData, TagsOutOfOrderAreReadAllTheSame)
{
    CCDPPrivateData data(nullptr, false);
    const std::string text =
        "<SerialNo>ABC123</SerialNo><CheckPointName>KSV_Check_Point_1</CheckPointName>"
        "<TimeImage>KSV_Time_Image_1</TimeImage><ConsistencyGroup>cg1</ConsistencyGroup>"
        "<ApplianceName>server1</ApplianceName><ApplianceType>Lumora</ApplianceType>";
    const obz_blob blob = blobOf(text);
    data.setNodeState(&blob);
    expectFilled(data);
}

TEST(PrivateData, TheTextEndsAtItsFirstNul)
{
    CCDPPrivateData data(nullptr, false);
    const std::string text("<SerialNo>42\0</SerialNo>", 24);
    const obz_blob blob = blobOf(text);
    data.setNodeState(&blob);
    EXPECT_EQ(CString("42"), data.m_serialNo);
}

// The blob ends at the end of a page, and the one behind it must not be touched.
TEST(PrivateData, ABlobWithoutANulIsNotReadPastItsSize)
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    auto* pages =
        static_cast<char*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(MAP_FAILED, static_cast<void*>(pages));
    ASSERT_EQ(0, mprotect(pages + page, page, PROT_NONE));
    const std::string text = "<SerialNo>42</SerialNo>";
    char* data = pages + page - text.size();
    std::memcpy(data, text.data(), text.size());
    const obz_blob blob = {text.size(), data, OBZ_ENCODING_STRING};
    CCDPPrivateData record(nullptr, false);
    record.setNodeState(&blob);
    EXPECT_EQ(CString("42"), record.m_serialNo);
    munmap(pages, 2 * page);
}

TEST(PrivateData, ABlobOfOneByteEmptiesEveryField)
{
    for (char byte : {'x', '\0'}) {
        CCDPPrivateData record(nullptr, false);
        fill(record);
        const obz_blob blob = {1, &byte, OBZ_ENCODING_STRING};
        EXPECT_EQ(0, record.setNodeState(&blob));
        for (const SField& field : FIELDS) {
            EXPECT_EQ(CString(""), record.*field.m_value) << field.m_tag;
        }
    }
}

// Worked out by hand: a missing tag stands at 0xFFFFFFFF, so a value without its open tag begins at the length of that
// tag - 1, and one whose close tag stands before that reaches to the end.
TEST(PrivateData, EveryFieldIsReadWithTheWrappedArithmeticOfMissingTags)
{
    for (const SField& field : FIELDS) {
        const std::string open = std::string("<") + field.m_tag + ">";
        const std::string close = std::string("</") + field.m_tag + ">";
        const std::pair<std::string, std::string> cases[] = {
            {open + "value" + close + "rest", "value"},
            {open + "value", "value"},
            {"0123456789abcdefghijKLMNOP", field.m_withoutTags},
            {"0123456789abcdefghij" + close + "rest", field.m_closeLater},
            {"x" + close + "0123456789abcdefghij", field.m_closeBefore},
            {close + open + "value", "value"},
        };
        for (const auto& [text, value] : cases) {
            CCDPPrivateData record(nullptr, false);
            const obz_blob blob = blobOf(text);
            record.setNodeState(&blob);
            EXPECT_EQ(value, std::string(bytesOf(record.*field.m_value))) << text;
        }
    }
}

TEST(PrivateData, AStateOfSixteenMebibytesIsRead)
{
    CCDPPrivateData data(nullptr, false);
    const std::string big(16 * 1024 * 1024, 'x');
    const std::string text = "<TimeImage>" + big + "</TimeImage><SerialNo>42</SerialNo>";
    const obz_blob blob = blobOf(text);
    data.setNodeState(&blob);
    EXPECT_EQ(big.size(), data.m_timeImage.length());
    EXPECT_EQ(CString("42"), data.m_serialNo);
}

TEST(PrivateData, WithoutMemoryForTheBlobNothingIsWrittenToIt)
{
    const CCDPPrivateData data(nullptr, false);
    obz_blob blob = {7, nullptr, 9};
    const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, 0);
    EXPECT_THROW(data.getNodeState(&blob), std::bad_alloc);
    EXPECT_EQ(7u, blob.size);
    EXPECT_EQ(9, blob.encoding);
}

TEST(PrivateData, AGroupsNameIsReadBackUnlessItHoldsATag)
{
    for (const base_test::SCorpusName& group : base_test::nameCorpus()) {
        if (group.unusable.find("a part of a node's state") != std::string::npos) continue;
        CCDPPrivateData written(nullptr, false);
        fill(written);
        written.m_consistencyGroup = CString(group.name.data(), group.name.size());
        obz_blob blob{};
        ASSERT_EQ(OBZ_OK, written.getNodeState(&blob));
        CCDPPrivateData read(nullptr, false);
        EXPECT_EQ(OBZ_OK, read.setNodeState(&blob));
        obzx_free_buf(blob.data, blob.size);
        EXPECT_EQ(group.name, bytesOf(read.m_consistencyGroup)) << group.what;
        read.m_consistencyGroup = "cg1";
        expectFilled(read);
    }
}

}  // namespace cdpfi
