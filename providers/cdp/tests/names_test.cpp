#include "providers/cdp/cdp_names.h"

#include <gtest/gtest.h>

#include "base/tests/name_corpus.h"
#include "providers/cdp/cdp_identities.h"

namespace cdpfi {

TEST(Names, TheCheckPointOfAProcessEndsInItsId)
{
    EXPECT_EQ(CString("KSV_Check_Point_4711"), checkPointNameOf(4711));
}

TEST(Names, ACheckPointAndItsTimeImageShareTheSuffix)
{
    EXPECT_EQ(CString("KSV_Time_Image_77"), timeImageOfCheckPoint("KSV_Check_Point_77"));
    EXPECT_EQ(CString("KSV_Check_Point_20240101"), checkPointOfTimeImage("KSV_Time_Image_20240101"));
}

TEST(Names, TheSuffixIsWhatFollowsTheLengthOfThePrefixWhateverStandsThere)
{
    EXPECT_EQ(CString("KSV_Time_Image_q"), timeImageOfCheckPoint("0123456789abcdefq"));
    EXPECT_EQ(CString("KSV_Check_Point_fq"), checkPointOfTimeImage("0123456789abcdefq"));
}

TEST(Names, ANameNoLongerThanThePrefixHasAnEmptySuffix)
{
    EXPECT_EQ(CString("KSV_Time_Image_"), timeImageOfCheckPoint("KSV_Check_Point_"));
    EXPECT_EQ(CString("KSV_Time_Image_"), timeImageOfCheckPoint(""));
    EXPECT_EQ(CString("KSV_Check_Point_"), checkPointOfTimeImage(""));
    EXPECT_EQ(CString("KSV_Check_Point_"), checkPointOfTimeImage("short"));
}

TEST(Names, ATargetDeviceNameCarriesTheLunAndTheCheckPoint)
{
    const CString name = targetDeviceName("<cdpfi>", "S1", "KSV_Check_Point_7");
    EXPECT_EQ(CString("<cdpfi><DeviceID>S1<DeviceID/><Annotation>KSV_Check_Point_7<Annotation/>"), name);
    const STargetDevice target = parseTargetDevice(bytesOf(name));
    EXPECT_EQ(CString("S1"), target.m_source);
    EXPECT_EQ(CString("KSV_Check_Point_7"), target.m_checkPoint);
}

TEST(Names, ATextWithoutTagsIsReadWithTheSameArithmeticAsAState)
{
    const STargetDevice target = parseTargetDevice("0123456789abcdef");
    EXPECT_EQ(CString("9abcdef"), target.m_source);    // from the length of <DeviceID> - 1 on
    EXPECT_EQ(CString("bcdef"), target.m_checkPoint);  // from the length of <Annotation> - 1 on
}

TEST(Names, ASerialIsReadBackFromATargetDeviceName)
{
    for (const base_test::SCorpusName& serial : base_test::namesFor(base_test::SERIAL)) {
        const CString name = targetDeviceName("<cdpfi>", serial.name, "KSV_Check_Point_7");
        const STargetDevice target = parseTargetDevice(bytesOf(name));
        EXPECT_EQ(serial.name, bytesOf(target.m_source)) << serial.what;
        EXPECT_EQ(CString("KSV_Check_Point_7"), target.m_checkPoint) << serial.what;
        const CIdentityPtr identity = newIdentity(name);
        EXPECT_EQ(bytesOf(name), identity->name) << serial.what;
    }
}

}  // namespace cdpfi
