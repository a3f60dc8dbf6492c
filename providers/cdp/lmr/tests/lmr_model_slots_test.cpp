// The order of the model's operations in their tables, which callers built against other headers rely on: two slots for
// the destructor, three for the count, then the operations of the class, then those that the appliance's classes
// append.

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "base/tests/virtual_place.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_consistencygroup.h"

namespace cdpfi {
namespace {

/// Place of an operation behind the count's, from 1.
template <class Member>
int orderOf(Member member)
{
    constexpr int BEFORE = 2 + 3;
    return base_test::placeOf(member) - BEFORE + 1;
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

/// Has one operation more than a time image.
class CLongerTimeImage : public CBaseTimeImage
{
  public:
    virtual void next() {}
};

TEST(ModelSlots, TimeImage)
{
    expectOrder(&CBaseTimeImage::addDeviceEntry, &CBaseTimeImage::mapHost, &CBaseTimeImage::unmapHost,
                &CBaseTimeImage::setApplianceName, &CBaseTimeImage::getName, &CBaseTimeImage::getTargetDeviceMap,
                &CBaseTimeImage::setConsistencyGroup, &CBaseTimeImage::getTargetDevice, &CLongerTimeImage::next);
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
