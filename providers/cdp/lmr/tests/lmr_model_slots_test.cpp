// The order of the model's operations in their tables, which callers built against other headers rely on: two slots for
// the destructor, three for the count, then the operations of the class, then those that the appliance's classes
// append.

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_consistencygroup.h"

namespace cdpfi {
namespace {

/// Place of an operation behind the count's, from 1; the compilers of this system keep it in the pointer.
template <class Member>
int orderOf(Member member)
{
    constexpr int BEFORE = 2 + 3;
    struct SPointer
    {
        std::intptr_t place;  // 1 + offset in the table
        std::intptr_t adjustment;
    } pointer;
    static_assert(sizeof member == sizeof pointer);
    std::memcpy(&pointer, &member, sizeof pointer);
    EXPECT_EQ(0, pointer.adjustment);
    EXPECT_EQ(1, pointer.place % static_cast<std::intptr_t>(sizeof(void*)));
    return static_cast<int>((pointer.place - 1) / static_cast<std::intptr_t>(sizeof(void*))) - BEFORE + 1;
}

template <class... Members>
void expectOrder(Members... members)
{
    std::vector<int> expected(sizeof...(members));
    std::iota(expected.begin(), expected.end(), 1);
    EXPECT_EQ(expected, (std::vector<int>{orderOf(members)...}));
}

TEST(ModelSlots, CountComesFirstInEachClass)
{
    using obzx_pdk_4_4::CFiRefCount;
    EXPECT_EQ(-2, orderOf(&CFiRefCount::increment));
    EXPECT_EQ(-1, orderOf(&CFiRefCount::decrement));
    EXPECT_EQ(0, orderOf(&CFiRefCount::getCount));
}

TEST(ModelSlots, Appliance)
{
    expectOrder(&CBaseAppliance::initialize, &CBaseAppliance::getName, &CBaseAppliance::getVolumeList,
                &CBaseAppliance::getTimeImageList, &CBaseAppliance::getConsistencyGroupList,
                &CBaseAppliance::manageStorage, &CBaseAppliance::getHostList, &CBaseAppliance::findLun,
                &CBaseAppliance::getInterposeNodePrefix, &CBaseAppliance::getSplitName,
                &CBaseAppliance::getApplianceType, &CBaseAppliance::getVersion, &CBaseAppliance::getApplianceName,
                &CBaseAppliance::getFims, &CBaseAppliance::getFimList, &CBaseAppliance::interpose,
                &CBaseAppliance::verify, &CBaseAppliance::getAssociatedConsistencyGroup,
                &CBaseAppliance::getConsistencyGroup, &CBaseAppliance::importDevicePath);
    EXPECT_EQ(21, orderOf(&CLMRAppliance::getConsistencyGroupNameList));
    EXPECT_EQ(22, orderOf(&CLMRAppliance::generateHostList));
    EXPECT_EQ(23, orderOf(&CLMRAppliance::generateHostNameList));
}

TEST(ModelSlots, ConsistencyGroup)
{
    using CGroup = CBaseConsistencyGroup;
    expectOrder(&CGroup::getDeviceList, &CGroup::addDevice, &CGroup::getVolList, &CGroup::insertCheckPoint,
                &CGroup::enumerateCheckPoint, &CGroup::createCheckPoint, &CGroup::createTimeImage,
                &CGroup::restoreCurrentStore, &CGroup::deleteTimeImage, &CGroup::deleteCheckPoint, &CGroup::setName,
                &CGroup::setAppliance, &CGroup::getName, &CGroup::populateTimeImageInformation,
                &CGroup::getAssociatedTimeImage, &CGroup::getTimeImage, &CGroup::getTimeImageFromCheckPoint,
                &CGroup::mapHost, &CGroup::unmapHost, &CGroup::getTimeImageList);
    EXPECT_EQ(21, orderOf(&CLMRConsistencyGroup::createTimeImageObject));
}

TEST(ModelSlots, TimeImage)
{
    expectOrder(&CBaseTimeImage::addDeviceEntry, &CBaseTimeImage::mapHost, &CBaseTimeImage::unmapHost,
                &CBaseTimeImage::setApplianceName, &CBaseTimeImage::getName, &CBaseTimeImage::getTargetDeviceMap,
                &CBaseTimeImage::setConsistencyGroup);
}

TEST(ModelSlots, Host)
{
    expectOrder(&CBaseHost::showHostDetail, &CBaseHost::getConsGroupList, &CBaseHost::getName,
                &CBaseHost::getPortNumber, &CBaseHost::addPortNumber, &CBaseHost::removePort);
}

TEST(ModelSlots, Volume)
{
    expectOrder(&CBaseVolume::setName, &CBaseVolume::getName, &CBaseVolume::getSerNo, &CBaseVolume::getConsGroupList,
                &CBaseVolume::getSize);
}

}  // namespace
}  // namespace cdpfi
