// The appliance model and the embedded appliance agree: every command of the model is sent to the real tools, and every
// answer, refusals included, goes through the real parsers.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/tests/environment_value.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfipluginname.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_consistencygroup.h"
#include "providers/cdp/lmr/lmr_host.h"
#include "tests/site.h"

const ACE_String_Base<char> cfi_pgn_name_tstr("cdpfi");

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiSmartPtr;
using obzx_pdk_4_4::CFiTraceLog;
using obzx_pdk_4_4::CFiTraceLogPtr;

/// One appliance with two groups, seen from its production host through the model.
class Contract : public testing::Test
{
  protected:
    Contract()
    {
        site.addGroup("vault", "payroll", {"data", "journal"});
        site.addGroup("vault", "archive", {"old"});
        site.setUpHosts();
        CFiTraceLogPtr log(new CFiTraceLog());
        log->initialize("cdpfi", "", "", 1, false);
        obzx_set_trace_observer(&Contract::onTrace, this, obzx_pdk_4_4::TRACE_INVALID);
        appliance.acquire(new CLMRAppliance("vault"));
        appliance->registerTraceLog(log);
        appliance->initialize();
    }
    ~Contract() override
    {
        obzx_set_trace_observer(nullptr, nullptr, 0);
        appliance.release();
    }

    static void onTrace(void* user, int32_t, const char*, const char* text)
    {
        static_cast<Contract*>(user)->failures.emplace_back(text);
    }

    CHostPtr hostNamed(const char* name)
    {
        for (const CHostPtr& host : appliance->getHostList()) {
            if (host->getName() == CString(name)) return host;
        }
        ADD_FAILURE() << "no host " << name;
        return {};
    }
    CConsistencyGroupPtr group(const char* name) { return appliance->getConsistencyGroup(name); }
    CString serialOf(const char* lun) { return CString(site.serial("vault", lun).c_str()); }

    /// The appliance refused the last command with these words; told once.
    void expectRefusal(const std::string& words)
    {
        std::string all;
        for (const std::string& line : failures) {
            all += line + "\n";
        }
        EXPECT_NE(all.find(words), std::string::npos) << all;
        failures.clear();
    }
    void expectNoFailure()
    {
        for (const std::string& line : failures) {
            ADD_FAILURE() << line;
        }
        failures.clear();
    }

    CSite site;
    const base_test::CEnvironmentValue m_root{"OBZX_ROOT", site.root("production")};
    CFiSmartPtr<CLMRAppliance> appliance;
    std::vector<std::string> failures;
};

}  // namespace

TEST_F(Contract, InventoryHoldsHostsGroupsAndLuns)
{
    expectNoFailure();
    ASSERT_EQ(appliance->getHostList().size(), 2u);
    ASSERT_EQ(appliance->getConsistencyGroupList().size(), 2u);
    const std::vector<SCDPDeviceInfo> devices = group("payroll")->getDeviceList();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].m_serial, serialOf("data"));
    EXPECT_EQ(devices[1].m_serial, serialOf("journal"));
}

TEST_F(Contract, DiskListingTellsTheSerialBehindEachDevicePath)
{
    EXPECT_EQ(appliance->findLun(site.device("vault", "data").c_str()), serialOf("data"));
    EXPECT_EQ(appliance->getAssociatedConsistencyGroup(site.device("vault", "old").c_str())->getName(),
              CString("archive"));
    expectNoFailure();
}

TEST_F(Contract, CheckpointIsMadeAndDeleted)
{
    EXPECT_EQ(group("payroll")->createCheckPoint("KSV_Check_Point_1"), 0);
    EXPECT_EQ(site.copiesOf("vault", "payroll").size(), 1u);
    group("payroll")->deleteCheckPoint("KSV_Check_Point_1");
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
    expectNoFailure();
}

TEST_F(Contract, TimeImageIsMadeListedShownMappedAndDeleted)
{
    const CConsistencyGroupPtr payroll = group("payroll");
    ASSERT_EQ(payroll->createCheckPoint("KSV_Check_Point_1"), 0);
    const CTimeImagePtr image = payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", hostNamed("backup"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->getTargetDeviceMap().size(), 2u);
    EXPECT_EQ(image->getTargetDeviceMap().count(serialOf("data")), 1u);

    image->setConsistencyGroup(payroll);
    image->mapHost(hostNamed("production"));
    payroll->populateTimeImageInformation();
    EXPECT_EQ(payroll->getTimeImageList().size(), 1u);
    payroll->deleteTimeImage("KSV_Time_Image_1");
    payroll->deleteCheckPoint("KSV_Check_Point_1");
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
    expectNoFailure();
}

TEST_F(Contract, NoTimeImagesAreReadAsNone)
{
    group("payroll")->populateTimeImageInformation();
    EXPECT_TRUE(group("payroll")->getTimeImageList().empty());
    expectNoFailure();
}

TEST_F(Contract, GrantedImageShowsAsADiskAfterDiscovery)
{
    const CConsistencyGroupPtr payroll = group("payroll");
    ASSERT_EQ(payroll->createCheckPoint("KSV_Check_Point_1"), 0);
    const CTimeImagePtr image =
        payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", hostNamed("production"));
    ASSERT_TRUE(image);
    const CString target = image->getTargetDeviceMap()[serialOf("data")];

    CString path;
    ASSERT_TRUE(appliance->importDevicePath(target, path));
    EXPECT_EQ(contentOf(path.c_str()), contentOf(site.device("vault", "data")));
    expectNoFailure();
}

TEST_F(Contract, GroupLevelPermissionIsGrantedAndWithdrawn)
{
    group("payroll")->mapHost(hostNamed("backup"));
    const auto shown = [&] { return site.lmsh("production", "vault", "show cgroup \"payroll\"").out; };
    EXPECT_NE(shown().find("\nbackup"), std::string::npos) << shown();
    group("payroll")->unmapHost(hostNamed("backup"));
    EXPECT_EQ(shown().find("\nbackup"), std::string::npos) << shown();
    expectNoFailure();
}

TEST_F(Contract, RefusalsOfCheckpointsReachTheTrace)
{
    ASSERT_EQ(group("payroll")->createCheckPoint("KSV_Check_Point_1"), 0);
    EXPECT_EQ(group("payroll")->createCheckPoint("KSV_Check_Point_1"), 11);
    expectRefusal("exists already");
    group("payroll")->deleteCheckPoint("KSV_Check_Point_2");
    expectRefusal("annotation \"KSV_Check_Point_2\" does not exist in group \"payroll\"");
}

TEST_F(Contract, CheckpointThatAnImageIsMadeOfIsNotDeletedFirst)
{
    const CConsistencyGroupPtr payroll = group("payroll");
    ASSERT_EQ(payroll->createCheckPoint("KSV_Check_Point_1"), 0);
    ASSERT_TRUE(payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", hostNamed("backup")));
    payroll->deleteCheckPoint("KSV_Check_Point_1");
    EXPECT_FALSE(failures.empty());
    EXPECT_EQ(site.copiesOf("vault", "payroll").size(), 2u);
}

TEST_F(Contract, RefusalsOfTimeImagesReachTheTraceAndMakeNothing)
{
    const CConsistencyGroupPtr payroll = group("payroll");
    EXPECT_FALSE(payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", hostNamed("backup")));
    expectRefusal("annotation \"KSV_Check_Point_1\" does not exist in group \"payroll\"");
    ASSERT_EQ(payroll->createCheckPoint("KSV_Check_Point_1"), 0);
    const CHostPtr stranger(new CLMRHost("stranger"));
    EXPECT_FALSE(payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", stranger));
    expectRefusal("host \"stranger\" does not exist");
    ASSERT_TRUE(payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", hostNamed("backup")));
    EXPECT_FALSE(payroll->createTimeImage("KSV_Time_Image_1", "KSV_Check_Point_1", hostNamed("backup")));
    expectRefusal("exists already");
    payroll->deleteTimeImage("KSV_Time_Image_9");
    expectRefusal("time image \"KSV_Time_Image_9\" does not exist in group \"payroll\"");
    payroll->mapHost(stranger);
    expectRefusal("host \"stranger\" does not exist");
}

TEST_F(Contract, UnknownServerAndGroupAreRefused)
{
    CFiSmartPtr<CLMRAppliance> nobody(new CLMRAppliance("nobody"));
    nobody->registerTraceLog(appliance->traceLog());
    nobody->generateConsistencyGroupNameList();
    expectRefusal("does not exist");
    CFiSmartPtr<CLMRConsistencyGroup> ghost(new CLMRConsistencyGroup());
    ghost->registerTraceLog(appliance->traceLog());
    ghost->setAppliance("vault");
    ghost->setName("ghost");
    EXPECT_EQ(ghost->createCheckPoint("KSV_Check_Point_1"), 11);
    expectRefusal("group \"ghost\" does not exist");
}

}  // namespace cdpfi
